#include "library/file_reach.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace vantorel {
namespace {

/// The folders in which desktops mount disks that come and go: nothing else lies there.
constexpr std::array mountBases{"/media", "/run/media"};

/// True when `folder` lies where disks are mounted and none is mounted there now. The folder itself
/// may exist: an empty mount point looks like a folder whose files were all deleted.
bool isUnmounted(const Files& files, const Path& folder) {
  for (const Path base : mountBases) {
    const auto parts = std::ranges::mismatch(base, folder);
    if (parts.in1 != base.end() || parts.in2 == folder.end()) continue;
    const auto baseStatus = files.status(base);
    if (!baseStatus) return true;
    Path at = base;
    for (auto part = parts.in2; part != folder.end(); ++part) {
      at /= *part;
      const auto status = files.status(at);
      if (!status) return true;
      if (status->device != baseStatus->device) return false;
    }
    return true;
  }
  return false;
}

bool isEmptyFolder(const Files& files, const Path& folder) {
  const auto items = files.list(folder);
  return items && items->empty();
}

bool isFileThere(const Files& files, const Path& path) {
  const auto status = files.status(path);
  return status && status->type != FileType::link;
}

FileReach reachOf(const Files& files, const Path& path, const FileIdentity* seen) {
  if (isFileThere(files, path)) return FileReach::there;
  return FolderView(files, path.parent_path()).reachOf(path.filename(), seen);
}

const FileIdentity* held(const BoxedOptional<FileIdentity>& identity) {
  return identity ? &*identity : nullptr;
}

const FileIdentity* lastSeenOfOriginal(const ScreenshotEntry& entry) {
  if (entry.originalIdentity) return held(entry.originalIdentity);
  const bool isBeside = folderOf(*entry.originalPath) == folderOf(entry.path);
  return isBeside ? held(entry.fileIdentity) : nullptr;
}

/// Where the disk was mounted: "/home/me/disk" when it had "/shots" for "/home/me/disk/shots".
Path mountPointOf(const Path& folder, const FileIdentity& seen) {
  Path point = folder;
  Path inside = seen.folder;
  while (inside.has_relative_path() && inside.filename() == point.filename()) {
    inside = inside.parent_path();
    point = point.parent_path();
  }
  return point;
}

}  // namespace

std::string_view folderOf(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? std::string_view() : path.substr(0, slash);
}

const FileIdentity* lastSeenIn(std::string_view folder, const EntryList& entries) {
  while (folder.ends_with('/')) folder.remove_suffix(1);
  for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
    if ((*entry)->fileIdentity && folderOf((*entry)->path) == folder) {
      return held((*entry)->fileIdentity);
    }
  }
  return nullptr;
}

bool isUnmounted(const Files& files, const Path& folder, const FileIdentity& seen) {
  const auto now = files.location(folder);
  if (!now || now->volume == seen.volume) {
    return now && now->folder != seen.folder && isEmptyFolder(files, folder);
  }
  const Path point = mountPointOf(folder, seen);
  // The system itself may have moved to another disk.
  if (!point.has_relative_path()) return false;
  const auto there = files.location(point);
  const auto above = files.location(point.parent_path());
  return there && above && there->volume == above->volume;
}

std::string diskNameOf(const ScreenshotEntry& entry) {
  if (!entry.fileIdentity) return {};
  return mountPointOf(folderOf(entry.path), *entry.fileIdentity).filename().string();
}

bool isDiskAway(const Files& files, Path folder, const std::optional<std::string>& volume) {
  if (!volume) return false;
  for (;; folder = folder.parent_path()) {
    if (const auto location = files.location(folder)) return location->volume != *volume;
    if (!folder.has_relative_path()) return false;
  }
}

FolderView::FolderView(const Files& files, Path folder)
    : files_(files), folder_(std::move(folder)) {
  auto handle = files_.hold(folder_);
  if (!handle) {
    failure_ = handle.error().kind;
    return;
  }
  handle_ = *std::move(handle);
  if (auto location = files_.location(handle_->path())) location_ = *std::move(location);
  if (const auto status = statusOfFolder(files_, handle_->path())) {
    // Some file systems use all 64 bits, which numbers in JSON do not keep.
    number_ = static_cast<std::int64_t>(status->inode & ((std::uint64_t{1} << 53) - 1));
  }
}

Result<FileStatus> FolderView::status(const Path& name) const {
  if (!handle_) return failed(failure_, "its folder could not be opened");
  return files_.status(handle_->path() / name);
}

Result<std::vector<FolderItem>> FolderView::list() const {
  if (!handle_) return failed(failure_, "the folder could not be opened");
  return files_.list(handle_->path());
}

FileReach FolderView::reachOfFolder(const FileIdentity* seen) const {
  switch (failure_) {
    case FailureKind::denied: return FileReach::folderDenied;
    case FailureKind::unreachable: return FileReach::folderUnreachable;
    case FailureKind::notFound: break;
    default: return FileReach::unknown;
  }
  const bool isAway =
      seen != nullptr ? isDiskAway(files_, folder_, seen->volume) : isUnmounted(files_, folder_);
  return isAway ? FileReach::folderUnreachable : FileReach::folderGone;
}

FileReach FolderView::reachOfFound(const Path& name, const FileStatus& status) const {
  if (status.type != FileType::link) return FileReach::there;
  const auto place = files_.resolved(handle_->path() / name);
  if (place) return FileReach::there;
  switch (place.error().kind) {
    case FailureKind::denied: return FileReach::folderDenied;
    case FailureKind::unreachable: return FileReach::folderUnreachable;
    default: return FileReach::linkBroken;
  }
}

FileReach FolderView::reachOf(const Path& name, const FileIdentity* seen) const {
  if (!handle_) return reachOfFolder(seen);
  const auto found = status(name);
  if (found) return reachOfFound(name, *found);
  switch (found.error().kind) {
    case FailureKind::denied: return FileReach::folderDenied;
    case FailureKind::unreachable: return FileReach::folderUnreachable;
    case FailureKind::notFound: break;
    default: return FileReach::unknown;
  }
  if (seen == nullptr) {
    return isUnmounted(files_, folder_) ? FileReach::folderUnreachable : FileReach::fileGone;
  }
  if (!location_) return FileReach::unknown;
  const bool isSame = location_->volume == seen->volume && location_->folder == seen->folder;
  if (!isSame) return FileReach::folderUnreachable;
  const bool isReplaced = seen->folderFile && number_ && seen->folderFile != number_;
  return isReplaced ? FileReach::folderReplaced : FileReach::fileGone;
}

std::optional<FileIdentity> FolderView::identify(const Path& name) const {
  if (!location_) return std::nullopt;
  const auto found = status(name);
  if (!found || reachOfFound(name, *found) == FileReach::linkBroken) return std::nullopt;
  return FileIdentity{.volume = location_->volume,
                      .folder = location_->folder,
                      .file = static_cast<std::int64_t>(found->inode),
                      .size = static_cast<std::int64_t>(found->size),
                      .modified = found->modified,
                      .folderFile = number_,
                      .extra = {}};
}

FileReach FolderView::reachOf(const ScreenshotEntry& entry) const {
  const FileReach reach = reachOf(Path(entry.path).filename(), held(entry.fileIdentity));
  if (reach != FileReach::fileGone || entry.fileIdentity) return reach;
  return isEmpty() ? FileReach::folderUnreachable : reach;
}

bool FolderView::isEmpty() const {
  // Listing a large folder takes long, and thousands of entries may miss their files in it.
  if (!isEmpty_) isEmpty_ = isEmptyFolder(files_, handle_->path());
  return *isEmpty_;
}

FileReach reachOf(const Files& files, const ScreenshotEntry& entry) {
  // Mostly it is there, and that costs one call.
  if (isFileThere(files, entry.path)) return FileReach::there;
  return FolderView(files, Path(entry.path).parent_path()).reachOf(entry);
}

FileReach FolderView::reachOfOriginal(const ScreenshotEntry& entry) const {
  return reachOf(Path(*entry.originalPath).filename(), lastSeenOfOriginal(entry));
}

FileReach reachOf(const Files& files, const Path& path) { return reachOf(files, path, nullptr); }

FileReach reachOfOriginal(const Files& files, const ScreenshotEntry& entry) {
  if (!entry.originalPath) return FileReach::there;
  return reachOf(files, *entry.originalPath, lastSeenOfOriginal(entry));
}

FileReach reachOfPlace(const Files& files, const Path& path,
                       const BoxedOptional<FileIdentity>& seen) {
  return FolderView(files, path.parent_path()).reachOf(path.filename(), held(seen));
}

std::optional<FileIdentity> identifyFile(const Files& files, const Path& path) {
  return FolderView(files, path.parent_path()).identify(path.filename());
}

Result<FileStatus> statusOfFolder(const Files& files, const Path& folder) {
  auto status = files.status(folder);
  // What is asked for inside a folder is asked for behind the link.
  if (status && status->type == FileType::link) return files.status(folder / ".");
  return status;
}

std::optional<FolderIdentity> identityOf(const Files& files, const Path& folder) {
  const auto status = statusOfFolder(files, folder);
  if (!status) return std::nullopt;
  return FolderIdentity{status->device, status->inode};
}

std::string_view sentence(FileReach reach) {
  switch (reach) {
    case FileReach::there:
    case FileReach::fileGone:
    case FileReach::folderReplaced: return "";
    case FileReach::linkBroken: return "it is a link to a file that isn't there.";
    case FileReach::folderGone:
      return "the folder it was in no longer exists. Use Remove from History to take it out of "
             "Vantorel.";
    case FileReach::folderUnreachable:
      return "the folder it's in can't be reached. Reconnect it, or use Remove from History.";
    case FileReach::folderDenied:
      return "Vantorel isn't allowed to open the folder it's in. Allow access in System Settings, "
             "then try again.";
    case FileReach::unknown: return "the file could not be looked up";
  }
  std::unreachable();
}

}  // namespace vantorel
