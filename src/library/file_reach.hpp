#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "library/records/screenshot_entry.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Whether an entry's file can be got at, and if not, what is in the way.
enum class FileReach {
  there,
  fileGone,           ///< its folder is there, the file is not
  linkBroken,         ///< it is a link that leads nowhere now
  folderReplaced,     ///< it is not in its folder, which is another one of that name by now
  folderGone,         ///< its folder no longer exists
  folderUnreachable,  ///< its folder is on a disk that is not connected or does not answer
  folderDenied,       ///< its folder may not be opened
  unknown,            ///< it could not be looked up
};

/// Where the file of an entry is: the one place that tells a deleted file from one whose disk is
/// away. A missing file counts as gone only when it was last seen in this very folder of this very
/// file system: one that was put there from a backup may lack what the user still has. Of an entry
/// that does not know yet where that was, also when the folder holds anything at all, for the empty
/// one may be a mount point. Blocks for as long as the disk takes.
[[nodiscard]] FileReach reachOf(const Files& files, const ScreenshotEntry& entry);

/// The same for the entry's original (`there` when it has none).
[[nodiscard]] FileReach reachOfOriginal(const Files& files, const ScreenshotEntry& entry);

/// The same for a file of which nothing is known but its name: gone when its folder is there.
[[nodiscard]] FileReach reachOf(const Files& files, const Path& path);

/// Whether a file that was last seen there may be put there again; `fileGone` is no obstacle.
[[nodiscard]] FileReach reachOfPlace(const Files& files, const Path& path,
                                     const BoxedOptional<FileIdentity>& seen);

/// The folder of a path that an entry has.
[[nodiscard]] std::string_view folderOf(std::string_view path);

/// What the newest of these entries that lies in the folder remembers of it; null when none does.
[[nodiscard]] const FileIdentity* lastSeenIn(std::string_view folder, const EntryList& entries);

/// What is said of a folder that `isUnmounted`.
inline constexpr const char* notConnectedReason = "its disk is not connected";

/// Whether a disk was mounted at the folder, or above it, when a file was last `seen` there, and
/// nothing is now: what is put there would be hidden when the disk comes back. Blocks.
[[nodiscard]] bool isUnmounted(const Files& files, const Path& folder, const FileIdentity& seen);

/// Whether the folder's name leads to another disk now than the one with this `volume` (as
/// `FolderLocation`), on which a file was noted in it: what is missing there may be on that one
/// still. False of a volume that was not known. Blocks.
[[nodiscard]] bool isDiskAway(const Files& files, Path folder,
                              const std::optional<std::string>& volume);

/// A folder that is looked at for several files. What is asked of it is asked of the folder that it
/// was at first, whatever is mounted or unmounted meanwhile. Blocks; any thread, one at a time.
class FolderView {
 public:
  FolderView(const Files& files, Path folder);

  /// Nothing when it cannot be reached.
  [[nodiscard]] const std::optional<FolderLocation>& location() const { return location_; }

  [[nodiscard]] Result<FileStatus> status(const Path& name) const;
  [[nodiscard]] Result<std::vector<FolderItem>> list() const;

  /// Where the file `name` is that was last `seen` there, or of which nothing is known.
  [[nodiscard]] FileReach reachOf(const Path& name, const FileIdentity* seen) const;

  /// The same for the file of an entry, which has to be in this folder.
  [[nodiscard]] FileReach reachOf(const ScreenshotEntry& entry) const;

  /// The same for its original.
  [[nodiscard]] FileReach reachOfOriginal(const ScreenshotEntry& entry) const;

  /// What an entry remembers of the file `name`; nothing when it is not there, or is a link that
  /// leads nowhere.
  [[nodiscard]] std::optional<FileIdentity> identify(const Path& name) const;

 private:
  [[nodiscard]] FileReach reachOfFolder(const FileIdentity* seen) const;
  [[nodiscard]] FileReach reachOfFound(const Path& name, const FileStatus& status) const;
  [[nodiscard]] bool isEmpty() const;

  const Files& files_;
  Path folder_;
  std::unique_ptr<FolderHandle> handle_;
  std::optional<FolderLocation> location_;
  std::optional<std::int64_t> number_;
  FailureKind failure_ = FailureKind::other;  ///< without a handle
  mutable std::optional<bool> isEmpty_;       ///< once it was asked
};

/// What an entry remembers of its file; nothing when it is not there.
[[nodiscard]] std::optional<FileIdentity> identifyFile(const Files& files, const Path& path);

/// What a folder is, behind a symbolic link as well: files are looked for there.
[[nodiscard]] Result<FileStatus> statusOfFolder(const Files& files, const Path& folder);

/// A folder on a file system; another one under the same name has another identity. Good for as
/// long as the program runs.
using FolderIdentity = std::pair<std::uint64_t, std::uint64_t>;

/// Nothing when the folder cannot be reached.
[[nodiscard]] std::optional<FolderIdentity> identityOf(const Files& files, const Path& folder);

/// The name of the disk that an entry's file is on, by where it was mounted when the file was last
/// seen: "Stick" for "/media/me/Stick/shots". Empty when that is the system's own disk, or is not
/// known. Does not look.
[[nodiscard]] std::string diskNameOf(const ScreenshotEntry& entry);

/// Whether the file is missing from where disks and permissions are as they were.
[[nodiscard]] constexpr bool isMissing(FileReach reach) {
  return reach == FileReach::fileGone || reach == FileReach::folderReplaced;
}

/// Why the file cannot be used, told to the user after the entry's name; empty where it is there or
/// missing.
[[nodiscard]] std::string_view sentence(FileReach reach);

}  // namespace vantorel
