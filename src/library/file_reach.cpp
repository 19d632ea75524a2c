#include "library/file_reach.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace vantorel {
namespace {

/// The folders under which desktops and people mount disks that come and go.
constexpr std::array mountBases{"/media", "/run/media", "/mnt"};

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

}  // namespace

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

FileReach reachOf(const Files& files, const Path& path) {
  const auto status = files.status(path);
  if (status) return FileReach::there;
  const Path folder = path.parent_path();
  switch (status.error().kind) {
    case FailureKind::denied: return FileReach::folderDenied;
    case FailureKind::unreachable: return FileReach::folderUnreachable;
    case FailureKind::notFound: break;
    default: return FileReach::unknown;
  }
  if (isUnmounted(files, folder)) return FileReach::folderUnreachable;
  const auto folderStatus = statusOfFolder(files, folder);
  if (folderStatus) return FileReach::fileGone;
  return folderStatus.error().kind == FailureKind::notFound ? FileReach::folderGone
                                                            : FileReach::unknown;
}

std::string_view sentence(FileReach reach) {
  switch (reach) {
    case FileReach::there:
    case FileReach::fileGone: return "";
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
