#include "library/file_move.hpp"

#include <algorithm>
#include <cmath>

#include "base/log.hpp"
#include "library/file_reach.hpp"

namespace vantorel {
namespace {

constexpr std::uint64_t stride = std::uint64_t{1} << 20;
constexpr double coarsestTime = 2;  // seconds; FAT

Result<void> addPackage(const Files& files, const Path& folder, FileMeasure& measure) {
  for (const FolderItem& item : VT_TRY(files.list(folder))) {
    const Path path = folder / item.name;
    const FileStatus status = VT_TRY(files.status(path));
    switch (status.type) {
      case FileType::folder: VT_TRY(addPackage(files, path, measure)); break;
      case FileType::regular:
        measure.size += status.size;
        measure.modified = std::max(measure.modified, status.modified);
        measure.fileCount = measure.fileCount.value_or(0) + 1;
        break;
      case FileType::link:
      case FileType::other:
        return failed(FailureKind::unsupported, "it holds something that is no file");
    }
  }
  return {};
}

Result<void> copyTree(Files& files, const Path& from, const Path& to) {
  if (VT_TRY(files.status(from)).type != FileType::folder) return files.copyNew(from, to);
  VT_TRY(files.makeFolder(to, Privacy::byUmask));
  for (const FolderItem& item : VT_TRY(files.list(from))) {
    VT_TRY(copyTree(files, from / item.name, to / item.name));
  }
  return files.flushFolder(to);
}

Result<void> copyWhole(Files& files, const Path& from, const Path& to) {
  VT_TRY(removeFile(files, to));
  const FileMeasure before = VT_TRY(measureFile(files, from));
  VT_TRY(copyTree(files, from, to));
  const bool isWhole = holdsAllOf(files, to, from);
  // Somebody may have written into it while it was read.
  if (!isWhole || !VT_TRY(measureFile(files, from)).isAs(before)) {
    return failed(FailureKind::busy, "it changed while it was copied");
  }
  return {};
}

}  // namespace

bool FileMeasure::isAs(const FileMeasure& other) const {
  return size == other.size && fileCount == other.fileCount &&
         std::abs(modified - other.modified) <= coarsestTime;
}

Result<FileMeasure> measureFile(const Files& files, const Path& path) {
  const FileStatus status = VT_TRY(files.status(path));
  switch (status.type) {
    case FileType::regular: return FileMeasure{status.size, status.modified, std::nullopt};
    case FileType::folder: break;
    case FileType::link: return failed(FailureKind::unsupported, "it is a link");
    case FileType::other: return failed(FailureKind::unsupported, "it is no file");
  }
  FileMeasure measure{.fileCount = 0};
  VT_TRY(addPackage(files, path, measure));
  return measure;
}

bool isOnOtherFileSystem(const Files& files, const Path& one, const Path& other) {
  const auto first = files.status(one);
  const auto second = files.status(other);
  return first && second && first->device != second->device;
}

Result<bool> isSameContent(const Files& files, const Path& one, const Path& other) {
  const auto first = VT_TRY(files.open(one));
  const auto second = VT_TRY(files.open(other));
  const std::uint64_t size = VT_TRY(first->status()).size;
  if (VT_TRY(second->status()).size != size) return false;
  for (std::uint64_t at = 0; at < size; at += stride) {
    const std::uint64_t length = std::min(stride, size - at);
    if (VT_TRY(first->read(at, length)) != VT_TRY(second->read(at, length))) return false;
  }
  return true;
}

bool holdsAllOf(const Files& files, const Path& copy, const Path& original) {
  const auto status = files.status(original);
  if (!status) return status.error().kind == FailureKind::notFound;
  if (status->type != FileType::folder) {
    return isSameContent(files, copy, original).value_or(false);
  }
  const auto items = files.list(original);
  return items && std::ranges::all_of(*items, [&](const FolderItem& item) {
           return holdsAllOf(files, copy / item.name, original / item.name);
         });
}

Result<void> removeFile(Files& files, const Path& path) {
  const auto status = files.status(path);
  if (!status && status.error().kind == FailureKind::notFound) return {};
  if (status && status->type == FileType::folder) {
    for (const FolderItem& item : VT_TRY(files.list(path))) {
      VT_TRY(removeFile(files, path / item.name));
    }
  }
  return files.remove(path);
}

Result<void> removeNotedFile(Files& files, const Path& path,
                             const std::optional<std::string>& volume) {
  auto removed = removeFile(files, path);
  const bool isMissing = removed || removed.error().kind == FailureKind::notFound;
  if (isMissing && isDiskAway(files, path.parent_path(), volume)) {
    return failed(FailureKind::unreachable, notConnectedReason);
  }
  return removed;
}

void removeFileOrWarn(Files& files, const Path& path) {
  if (const auto removed = removeFile(files, path); !removed) {
    logWarning("History", "{} could not be removed: {}", path.string(), removed.error().reason);
  }
}

Result<void> copyFile(Files& files, const Path& from, const Path& to) {
  auto copied = copyWhole(files, from, to);
  if (copied) return copied;
  removeFileOrWarn(files, to);
  return copied;
}

}  // namespace vantorel
