#include "capture/staging_folder.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <set>

#include "base/log.hpp"

namespace vantorel {
namespace {

constexpr std::string_view prefix = "vantorel-";
constexpr std::string_view extension = ".png";
constexpr std::string_view temporarySuffix = ".partial";
constexpr std::string_view recordSuffix = ".json";
constexpr std::string_view lockSuffix = ".lock";
constexpr std::uint64_t recordLimit = std::uint64_t{64} * 1024;

Path withSuffix(Path path, std::string_view suffix) {
  path += suffix;
  return path;
}

Path recordFile(const Path& path) { return withSuffix(path, recordSuffix); }

/// The milliseconds in "vantorel-<milliseconds>.png".
std::optional<std::int64_t> millisecondsIn(std::string_view name) {
  if (!name.starts_with(prefix) || !name.ends_with(extension)) return std::nullopt;
  name.remove_prefix(prefix.size());
  name.remove_suffix(extension.size());
  std::int64_t milliseconds = 0;
  const char* const end = name.data() + name.size();
  const auto [stop, error] = std::from_chars(name.data(), end, milliseconds);
  if (error != std::errc{} || stop != end) return std::nullopt;
  return milliseconds;
}

}  // namespace

bool mayBeOfThisRun(double capturedAt, double begun) {
  constexpr double longestSweep = 60;
  return capturedAt >= begun && capturedAt < begun + longestSweep;
}

StagingFolder::StagingFolder(std::shared_ptr<Files> files, Path folder)
    : files_(std::move(files)), folder_(std::move(folder)) {}

Path StagingFolder::pathAt(std::int64_t milliseconds) const {
  return folder_ / fmt::format("{}{}{}", prefix, milliseconds, extension);
}

/// Takes everything of this name, for as long as this process lives at most. Nobody can be told
/// from anybody else where the file system keeps no locks.
Result<std::unique_ptr<FileLock>> StagingFolder::lock(const Path& path) {
  return files_->lock(withSuffix(path, lockSuffix));
}

Result<StagedCapture> StagingFolder::stage(std::string_view png, double capturedAt,
                                           StagedCaptureRecord record) {
  VT_TRY(files_->makeFolder(folder_, Privacy::ownerOnly));
  const std::string recordText = json::toText(record);
  for (auto milliseconds = static_cast<std::int64_t>(std::floor(capturedAt * 1000));;
       ++milliseconds) {
    const Path path = pathAt(milliseconds);
    const auto held = lock(path);
    if (!held && held.error().kind == FailureKind::busy) continue;
    if (!held && held.error().kind != FailureKind::unsupported) {
      return std::unexpected(held.error());
    }
    const auto put = stageAs(path, png, recordText);
    if (held) removeSpare(withSuffix(path, lockSuffix));
    if (put)
      return StagedCapture{path, static_cast<double>(milliseconds) / 1000, std::move(record)};
    if (put.error().kind != FailureKind::exists) return std::unexpected(put.error());
  }
}

Result<void> StagingFolder::stageAs(const Path& path, std::string_view png,
                                    std::string_view record) {
  if (files_->status(path)) return failed(FailureKind::exists, "the name is taken");
  // The folder is closed to others; the file keeps the user's usual mode, for filing may give this
  // very file its final name.
  const Path temporary = withSuffix(path, temporarySuffix);
  VT_TRY(files_->create(temporary, png, Privacy::byUmask, Durability::flushed));
  const auto publish = [&]() -> Result<void> {
    auto put = files_->setAttribute(temporary, StagedCaptureRecord::attributeName, record);
    // Before the picture gets its name: a picture without a record would never be found again.
    if (!put && put.error().kind == FailureKind::unsupported) {
      put = files_->create(recordFile(path), record, Privacy::ownerOnly, Durability::flushed);
    }
    VT_TRY(std::move(put));
    return files_->moveNew(temporary, path);
  };
  auto published = publish();
  if (!published) removeSpare(temporary);
  return published;
}

void StagingFolder::removeSpare(const Path& path) {
  if (const auto removed = files_->remove(path);
      !removed && removed.error().kind != FailureKind::notFound) {
    logWarning("Staging", "{} could not be removed: {}", path.filename().string(),
               removed.error().reason);
  }
}

Result<void> StagingFolder::putRecord(const Path& path, const StagedCaptureRecord& record) {
  const std::string text = json::toText(record);
  auto put = files_->setAttribute(path, StagedCaptureRecord::attributeName, text);
  if (put || put.error().kind != FailureKind::unsupported) return put;
  return files_->replace(recordFile(path), text, Privacy::ownerOnly);
}

Result<StagedCaptureRecord> StagingFolder::record(const Path& path) const {
  auto text = files_->attribute(path, StagedCaptureRecord::attributeName);
  if (!text) text = files_->read(recordFile(path), recordLimit);
  if (!text) return std::unexpected(text.error());
  auto record = json::fromText<StagedCaptureRecord>(*text);
  // A record that cannot be read still says that this is a staged capture.
  return record ? std::move(*record) : StagedCaptureRecord{};
}

Result<std::string> StagingFolder::read(const StagedCapture& staged) const {
  return files_->read(staged.path);
}

Result<void> StagingFolder::update(const StagedCapture& staged) {
  return putRecord(staged.path, staged.record);
}

Result<std::vector<StagedCapture>> StagingFolder::staged() const {
  const auto items = files_->list(folder_);
  if (!items && items.error().kind == FailureKind::notFound) return std::vector<StagedCapture>{};
  if (!items) return std::unexpected(items.error());
  std::vector<StagedCapture> found;
  for (const FolderItem& item : *items) {
    if (item.type != FileType::regular || !item.name.ends_with(extension)) continue;
    const Path path = folder_ / item.name;
    auto read = record(path);
    if (!read) continue;
    const auto milliseconds = millisecondsIn(item.name);
    const auto status = files_->status(path);
    if (!milliseconds && !status) continue;
    const double capturedAt =
        milliseconds ? static_cast<double>(*milliseconds) / 1000 : status->modified;
    found.push_back({path, capturedAt, std::move(*read)});
  }
  std::ranges::sort(found, {}, &StagedCapture::capturedAt);
  return found;
}

std::vector<Path> StagingFolder::filesElsewhere(const RedactedOriginals& originals) const {
  std::vector<Path> paths;
  const auto captures = staged();
  if (!captures) return paths;
  for (const StagedCapture& one : *captures) {
    if (one.record.filedPath) paths.emplace_back(*one.record.filedPath);
    if (!one.record.entryID) continue;
    paths.push_back(originals.original(*one.record.entryID));
    paths.push_back(originals.shapesFile(*one.record.entryID));
  }
  return paths;
}

Result<void> StagingFolder::removeRecord(const Path& path) {
  const auto tolerated = [](const Result<void>& result) {
    return result || result.error().kind == FailureKind::notFound ||
           result.error().kind == FailureKind::unsupported;
  };
  if (const auto removed = files_->removeAttribute(path, StagedCaptureRecord::attributeName);
      !tolerated(removed)) {
    return removed;
  }
  // Elsewhere a file of that name is somebody else's.
  if (path.parent_path() != folder_) return {};
  if (const auto removed = files_->remove(recordFile(path)); !tolerated(removed)) return removed;
  return {};
}

Result<void> StagingFolder::discard(const StagedCapture& staged) {
  if (const auto removed = files_->remove(staged.path);
      !removed && removed.error().kind != FailureKind::notFound) {
    return removed;
  }
  // Last, for a picture that outlives its record would be lost.
  if (const auto removed = files_->remove(recordFile(staged.path));
      !removed && removed.error().kind != FailureKind::notFound) {
    return removed;
  }
  return {};
}

void StagingFolder::removeLeftovers() {
  const auto items = files_->list(folder_);
  if (!items) return;
  std::set<std::int64_t> left;
  for (const FolderItem& item : *items) {
    std::string_view name = item.name;
    for (const std::string_view suffix : {temporarySuffix, recordSuffix, lockSuffix}) {
      if (!name.ends_with(suffix)) continue;
      name.remove_suffix(suffix.size());
      if (const auto milliseconds = millisecondsIn(name)) left.insert(*milliseconds);
      break;
    }
  }
  for (const std::int64_t milliseconds : left) {
    const Path path = pathAt(milliseconds);
    // Whoever is staging it has it; a process that has ended has nothing.
    const auto held = lock(path);
    if (!held) continue;
    removeSpare(withSuffix(path, temporarySuffix));
    if (!files_->status(path)) removeSpare(recordFile(path));
    removeSpare(withSuffix(path, lockSuffix));
  }
}

}  // namespace vantorel
