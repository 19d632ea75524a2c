#include "capture/staging_folder.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>

#include "base/log.hpp"

namespace vantorel {
namespace {

constexpr std::string_view prefix = "vantorel-";
constexpr std::string_view extension = ".png";
constexpr std::string_view temporarySuffix = ".partial";
constexpr std::string_view recordSuffix = ".json";
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

Result<StagedCapture> StagingFolder::stage(std::string_view png, double capturedAt,
                                           StagedCaptureRecord record) {
  VT_TRY(files_->makeFolder(folder_, Privacy::ownerOnly));
  auto milliseconds = static_cast<std::int64_t>(std::floor(capturedAt * 1000));
  const auto nameAt = [&] {
    return folder_ / fmt::format("{}{}{}", prefix, milliseconds, extension);
  };
  // The folder is closed to others; the file keeps the user's usual mode, for filing may give this
  // very file its final name.
  Path temporary = withSuffix(nameAt(), temporarySuffix);
  for (;;) {
    const auto created = files_->create(temporary, png, Privacy::byUmask, Durability::flushed);
    if (created) break;
    if (created.error().kind != FailureKind::exists) return std::unexpected(created.error());
    ++milliseconds;
    temporary = withSuffix(nameAt(), temporarySuffix);
  }
  const auto abandon = [&](const Failure& failure) -> Result<StagedCapture> {
    if (const auto removed = files_->remove(temporary); !removed) {
      logWarning("Staging", "{} could not be removed: {}", temporary.string(),
                 removed.error().reason);
    }
    return std::unexpected(failure);
  };
  bool recordInFile = false;
  if (const auto put =
          files_->setAttribute(temporary, StagedCaptureRecord::attributeName, json::toText(record));
      !put) {
    if (put.error().kind != FailureKind::unsupported) return abandon(put.error());
    recordInFile = true;
  }
  for (;; ++milliseconds) {
    const Path path = nameAt();
    if (recordInFile) {
      // Before the picture gets its name: a picture without a record would never be found again.
      const auto put = files_->create(recordFile(path), json::toText(record), Privacy::ownerOnly,
                                      Durability::flushed);
      if (!put && put.error().kind == FailureKind::exists) continue;
      if (!put) return abandon(put.error());
    }
    const auto moved = files_->moveNew(temporary, path);
    if (moved) {
      return StagedCapture{path, static_cast<double>(milliseconds) / 1000, std::move(record)};
    }
    if (moved.error().kind != FailureKind::exists) return abandon(moved.error());
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

void StagingFolder::removeLeftovers(double stagedBefore) {
  const auto items = files_->list(folder_);
  if (!items) return;
  for (const FolderItem& item : *items) {
    std::string_view name = item.name;
    const bool isTemporary = name.ends_with(temporarySuffix);
    const bool isRecord = !isTemporary && name.ends_with(recordSuffix);
    if (!isTemporary && !isRecord) continue;
    name.remove_suffix(isTemporary ? temporarySuffix.size() : recordSuffix.size());
    const auto milliseconds = millisecondsIn(name);
    if (!milliseconds || mayBeOfThisRun(static_cast<double>(*milliseconds) / 1000, stagedBefore)) {
      continue;
    }
    if (isRecord && files_->status(folder_ / name)) continue;
    if (const auto removed = files_->remove(folder_ / item.name); !removed) {
      logWarning("Staging", "{} could not be removed: {}", item.name, removed.error().reason);
    }
  }
}

}  // namespace vantorel
