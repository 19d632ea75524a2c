#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.hpp"

namespace vantorel {

using Path = std::filesystem::path;

enum class FileType { regular, folder, link, other };

struct FileStatus {
  FileType type = FileType::other;
  std::uint64_t size = 0;    ///< bytes
  double modified = 0;       ///< seconds since 1970-01-01 UTC
  std::uint64_t device = 0;  ///< the file system the file is on
  std::uint64_t inode = 0;   ///< the file on it; kept by a rename, shared by hard links
  std::uint32_t mode = 0;    ///< permission bits
  std::uint32_t owner = 0;   ///< user id
  bool operator==(const FileStatus&) const = default;
};

struct FolderItem {
  std::string name;
  FileType type = FileType::other;
};

/// Where a folder lies, in words that mean the same after the system has started anew: another file
/// system under the same name has another volume, and a folder that was mounted there from
/// elsewhere (a bind mount) another path.
struct FolderLocation {
  std::string volume;  ///< the file system: by its own identity, or by its server and share
  std::string folder;  ///< absolute path on that file system, wherever it is mounted
  bool operator==(const FolderLocation&) const = default;
};

/// A folder held open. Any thread.
class FolderHandle {
 public:
  virtual ~FolderHandle() = default;

  /// Leads to this very folder for as long as the handle lives, even when its file system is
  /// unmounted or another one is mounted over its name meanwhile.
  [[nodiscard]] virtual Path path() const = 0;
};

/// Who may read what is created.
enum class Privacy {
  ownerOnly,  ///< 0600 files, 0700 folders, whatever the umask
  byUmask,    ///< as the user's umask says
};

/// Whether an answer means "safe against a power cut" or only "visible to other programs".
enum class Durability { flushed, visible };

/// Held while the object lives; given up by the kernel when the process ends, however it ends.
class FileLock {
 public:
  virtual ~FileLock() = default;
};

/// An open regular file. Goes on being the same file when its name is given to another one or is
/// taken away. Any thread.
class FileContent {
 public:
  virtual ~FileContent() = default;

  /// As it is now: when `size` and `modified` are what they were, so are the bytes.
  [[nodiscard]] virtual Result<FileStatus> status() const = 0;

  /// Exactly these bytes; fails when the file has become shorter.
  [[nodiscard]] virtual Result<std::string> read(std::uint64_t offset,
                                                 std::uint64_t length) const = 0;
};

/// A part of a file to be written: bytes, or a run of an open file.
struct ContentPart {
  std::string_view bytes{};
  const FileContent* source{};  ///< when set, `length` bytes of it from `offset` on
  std::uint64_t offset{};
  std::uint64_t length{};
};

/// What making a file readable by its owner alone came to.
enum class Tightening {
  absent,
  alreadyOwnerOnly,
  madeOwnerOnly,
  link,  ///< a symbolic link is never followed or changed
};

/// The file system. Calls block: not on the main runner, except for small files at start-up. Any
/// thread; two calls on one path are not ordered. Failures carry the kinds `notFound`, `exists`,
/// `denied`, `noSpace`, `readOnly`, `unsupported` or `other`.
class Files {
 public:
  virtual ~Files() = default;

  /// The whole file; `tooLarge` when it has more than `limit` bytes.
  [[nodiscard]] virtual Result<std::string> read(const Path& path,
                                                 std::uint64_t limit = UINT64_MAX) const = 0;

  /// What `path` itself is; a symbolic link is not followed.
  [[nodiscard]] virtual Result<FileStatus> status(const Path& path) const = 0;

  /// Everything directly inside a folder, in no order.
  [[nodiscard]] virtual Result<std::vector<FolderItem>> list(const Path& folder) const = 0;

  /// The absolute path of what `path` leads to, with all symbolic links followed. `notFound` when
  /// it leads nowhere.
  [[nodiscard]] virtual Result<Path> resolved(const Path& path) const = 0;

  /// Where a folder lies, behind symbolic links as well. Fails with `notFound` when there is none.
  [[nodiscard]] virtual Result<FolderLocation> location(const Path& folder) const = 0;

  /// Opens a folder, so that what is done in it cannot end up in another one of that name.
  [[nodiscard]] virtual Result<std::unique_ptr<FolderHandle>> hold(const Path& folder) const = 0;

  /// Creates the folder and those above it; fine when it is there already.
  [[nodiscard]] virtual Result<void> makeFolder(const Path& folder, Privacy privacy) = 0;

  /// Writes a new file; `exists` when there is one of that name. On any failure nothing is left
  /// under `path`.
  [[nodiscard]] virtual Result<void> create(const Path& path, std::string_view bytes,
                                            Privacy privacy, Durability durability) = 0;

  /// Replaces the content of `path` in one step: a temporary beside it (`stagingOf`),
  /// flushed, then renamed over it. Readers see the old or the new content, whole.
  [[nodiscard]] virtual Result<void> replace(const Path& path, std::string_view bytes,
                                             Privacy privacy) = 0;

  /// Opens a regular file for reading; a symbolic link at its end is not followed.
  [[nodiscard]] virtual Result<std::shared_ptr<FileContent>> open(const Path& path) const = 0;

  /// As `replace`, from parts that are joined without passing through memory where the system can.
  /// Answers the new content. `mayReplace` is asked last of all, right before the rename (or
  /// before the request, where another process serves the file); when it fails, so does this, and
  /// `path` stays as it is.
  [[nodiscard]] virtual Result<std::shared_ptr<FileContent>> replaceWithParts(
      const Path& path, std::span<const ContentPart> parts, Privacy privacy,
      const std::function<Result<void>()>& mayReplace) = 0;

  /// Takes reading and writing by others away from a file.
  [[nodiscard]] virtual Result<Tightening> makeOwnerOnly(const Path& path) = 0;

  /// Renames; `exists` when `to` is there, `unsupported` between file systems.
  [[nodiscard]] virtual Result<void> moveNew(const Path& from, const Path& to) = 0;

  /// Makes `to` a second name of the file `from`; `exists` when `to` is there, `unsupported`
  /// between file systems or where the file system has no hard links.
  [[nodiscard]] virtual Result<void> linkNew(const Path& from, const Path& to) = 0;

  /// Copies the regular file `from` to the new file `to`, on whatever file system: content,
  /// extended attributes where `to`'s file system keeps them, permissions and modification time.
  /// Flushed; `exists` when `to` is there, and on any other failure nothing is left under `to`.
  [[nodiscard]] virtual Result<void> copyNew(const Path& from, const Path& to) = 0;

  /// Removes a file or an empty folder; `notFound` when there is none.
  [[nodiscard]] virtual Result<void> remove(const Path& path) = 0;

  /// Makes renames and removals inside `folder` safe against a power cut. Where that fails they
  /// are made all the same, and everybody sees them: never answer such a change with failure (use
  /// `settleFolder`). Only who is about to destroy what the change was to replace may stop here.
  [[nodiscard]] virtual Result<void> flushFolder(const Path& folder) = 0;

  /// Makes the contents of files in one folder safe against a power cut; one that has gone is none
  /// of them.
  [[nodiscard]] virtual Result<void> flushFiles(std::span<const Path> files) = 0;

  /// Fails when files may not be made in `folder`; leaves no trace in it.
  [[nodiscard]] virtual Result<void> checkWritable(const Path& folder) const = 0;

  /// The extended attribute `name` (without the system's "user." prefix): `notFound` when the file
  /// has none, `unsupported` when the file system keeps none.
  [[nodiscard]] virtual Result<std::string> attribute(const Path& path,
                                                      std::string_view name) const = 0;
  [[nodiscard]] virtual Result<void> setAttribute(const Path& path, std::string_view name,
                                                  std::string_view value) = 0;
  [[nodiscard]] virtual Result<void> removeAttribute(const Path& path, std::string_view name) = 0;

  /// Takes the exclusive lock that the file `path` (created when missing) stands for; `busy` when
  /// another process or holder has it.
  [[nodiscard]] virtual Result<std::unique_ptr<FileLock>> lock(const Path& path) = 0;
};

/// The longest name of a file, in bytes, that the file systems in common use take.
constexpr std::size_t longestFileName = 255;

/// `path` with `suffix` behind its name: a temporary of it, in the same folder. Where that name
/// would be too long it ends earlier, in a digest of the whole.
[[nodiscard]] Path temporaryBeside(const Path& path, std::string_view suffix);

/// What `Files::replace` writes to before it renames.
[[nodiscard]] inline Path stagingOf(const Path& path) { return temporaryBeside(path, ".staging"); }

/// Flushes the folder of changes that were made, and goes on when it can't be: they stay made. Logs
/// that a power cut may take them back.
void settleFolder(Files& files, const Path& folder);

}  // namespace vantorel
