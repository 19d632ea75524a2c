#include "capture/scrolling_spool.hpp"

#include <utility>
#include <vector>

#include "base/log.hpp"

namespace vantorel {

ScrollingSpool::ScrollingSpool(std::shared_ptr<Files> files,
                               std::shared_ptr<const ImageCodec> codec, const Path& sessions,
                               Session session)
    : files_(std::move(files)),
      codec_(std::move(codec)),
      folder_(sessions / session.record.entryID.value()),
      session_(std::move(session)) {}

Result<void> ScrollingSpool::open() {
  if (isOpen_) return {};
  VT_TRY(files_->makeFolder(folder_.parent_path(), Privacy::ownerOnly));
  VT_TRY(files_->makeFolder(folder_, Privacy::ownerOnly));
  auto held = files_->lock(folder_ / ScrollingSpoolIndex::lockName);
  if (held) {
    lock_ = *std::move(held);
  } else if (held.error().kind != FailureKind::unsupported) {
    return std::unexpected(held.error());
  }
  settleFolder(*files_, folder_.parent_path());
  isOpen_ = true;
  return {};
}

Result<std::string> ScrollingSpool::put(const TallStrip& strip) {
  std::string name = SpoolStripName{strip.first, ++serial_}.text();
  const std::string png = VT_TRY(codec_->encode(strip.rows, {.format = ExportFormat::png}));
  VT_TRY(files_->create(folder_ / name, png, Privacy::ownerOnly, Durability::visible));
  width_ = strip.rows.width();
  hasAlpha_ = strip.rows.format() == PixelFormat::bgraPremultiplied;
  return name;
}

Result<void> ScrollingSpool::publish(const TallChanges& changes, const Names& pieces,
                                     const Names& ends) {
  ScrollingSpoolIndex index{.capturedAt = session_.capturedAt,
                            .record = session_.record,
                            .width = width_,
                            .top = changes.top,
                            .bottom = changes.bottom,
                            .hasAlpha = hasAlpha_};
  for (const auto& [piece, name] : pieces) index.strips.push_back(name);
  for (const auto& [piece, name] : ends) index.strips.push_back(name);
  return files_->replace(folder_ / ScrollingSpoolIndex::fileName, json::toText(index),
                         Privacy::ownerOnly);
}

Result<void> ScrollingSpool::write(const TallChanges& changes) {
  if (isOver_ || changes.isEmpty()) return {};
  VT_TRY(open());
  std::vector<Path> added;
  Names pieces = pieces_;
  Names ends = changes.hasEnds ? Names{} : ends_;
  std::erase_if(pieces, [&](const auto& one) { return !changes.then.pieces.contains(one.first); });
  const auto write = [&]() -> Result<void> {
    for (const TallStrip& strip : changes.strips) {
      pieces[strip.piece] = VT_TRY(put(strip));
      added.push_back(folder_ / pieces[strip.piece]);
    }
    for (const TallStrip& strip : changes.ends) {
      ends[strip.first] = VT_TRY(put(strip));
      added.push_back(folder_ / ends[strip.first]);
    }
    VT_TRY(files_->flushFiles(added));
    settleFolder(*files_, folder_);
    return publish(changes, pieces, ends);
  };
  const auto remove = [&](const Path& path) {
    const auto removed = files_->remove(path);
    if (!removed && removed.error().kind != FailureKind::notFound) {
      logWarning("Scrolling", "{} could not be removed: {}", path.string(), removed.error().reason);
    }
  };
  if (auto written = write(); !written) {
    for (const Path& path : added) remove(path);
    return written;
  }
  settleFolder(*files_, folder_);
  const auto removeReplaced = [&](const Names& before, const Names& now) {
    for (const auto& [number, name] : before) {
      const auto kept = now.find(number);
      if (kept == now.end() || kept->second != name) remove(folder_ / name);
    }
  };
  removeReplaced(std::exchange(pieces_, pieces), pieces);
  removeReplaced(std::exchange(ends_, ends), ends);
  return {};
}

void ScrollingSpool::remove() {
  if (!std::exchange(isOver_, true) && isOpen_) removeScrollingSpool(*files_, folder_);
  lock_.reset();
}

void ScrollingSpool::release() {
  isOver_ = true;
  lock_.reset();
}

}  // namespace vantorel
