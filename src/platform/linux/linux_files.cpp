#include "platform/linux/linux_files.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <new>
#include <stdexcept>
#include <string>

#include "base/random_id.hpp"
#include "platform/linux/file_descriptor.hpp"
#include "platform/linux/folder_location.hpp"
#include "platform/linux/linux_file_content.hpp"
#include "platform/linux/posix_call.hpp"
#include "platform/linux/system_error.hpp"

namespace vantorel {
namespace {

std::unexpected<Failure> notRegular() {
  return failed(FailureKind::other, "it is not a regular file");
}

/// As the folder itself has it: a server mounted in it that went is not asked.
FileType fileType(const std::filesystem::directory_entry& item) {
  std::error_code gone;
  if (item.is_symlink(gone)) return FileType::link;
  if (item.is_regular_file(gone)) return FileType::regular;
  return item.is_directory(gone) ? FileType::folder : FileType::other;
}

Result<void> flushFile(int file) {
  // Flushing a new file keeps its name too on every file system in common use.
  return resultOf(uninterrupted([&] { return ::fsync(file); }));
}

Result<void> fill(FileDescriptor file, std::string_view bytes, Privacy privacy,
                  Durability durability, const Pieces& pieces) {
  if (privacy == Privacy::ownerOnly) VT_TRY(modeSet(::fchmod(file.number(), 0600)));
  VT_TRY(writeAll(file.number(), bytes, pieces));
  if (durability == Durability::flushed) VT_TRY(flushFile(file.number()));
  // Network file systems report a full disk as late as here.
  return resultOf(::close(file.release()));
}

/// What renameat2 does by itself where the file system knows how. A hard link fails when the name
/// is taken, and a crash between the two steps leaves two whole names; where there are none, an
/// empty file of our own holds the name until it is renamed over.
Result<void> moveNewInSteps(const Path& from, const Path& to) {
  struct stat status{};
  VT_TRY(resultOf(::lstat(from.c_str(), &status)));
  if (S_ISDIR(status.st_mode)) {
    VT_TRY(resultOf(::mkdir(to.c_str(), 0700)));
    if (::rename(from.c_str(), to.c_str()) == 0) return {};
    const int error = errno;
    ::rmdir(to.c_str());
    return systemFailure(error);
  }
  // What fails may have been made, and only its reply was lost.
  const auto hasGone = [&] {
    struct stat left{};
    return ::lstat(from.c_str(), &left) == -1 && errno == ENOENT;
  };
  if (::link(from.c_str(), to.c_str()) == 0) {
    if (::unlink(from.c_str()) == 0) return {};
    const int error = errno;
    if (hasGone()) return {};
    return systemFailure(error);
  }
  // The name may be the file's by now.
  if (errno == EEXIST || errno == EXDEV || mayBeLostReply(errno)) return lastSystemFailure();
  struct stat held{};
  {
    const FileDescriptor holder = VT_TRY(openFile(to, O_WRONLY | O_CREAT | O_EXCL, 0600));
    VT_TRY(resultOf(::fstat(holder.number(), &held)));
  }
  if (::rename(from.c_str(), to.c_str()) == 0) return {};
  const int error = errno;
  // The file may have gone before, behind the back of a mount that still showed it.
  struct stat there{};
  if (hasGone() && ::lstat(to.c_str(), &there) == 0 && there.st_ino != held.st_ino) return {};
  // By the time it is removed, the name may be the file's.
  if (!mayBeLostReply(error)) ::unlink(to.c_str());
  return systemFailure(error);
}

std::string attributeName(std::string_view name) { return "user." + std::string(name); }

std::unexpected<Failure> attributeFailure() {
  if (errno == ENODATA) return failed(FailureKind::notFound, "the file has no such attribute");
  return lastSystemFailure();
}

class LinuxFolderHandle final : public FolderHandle {
 public:
  explicit LinuxFolderHandle(FileDescriptor folder) : folder_(std::move(folder)) {}

  // By the process's number: another one, asked to do something there, is another "self".
  [[nodiscard]] Path path() const override {
    return fmt::format("/proc/{}/fd/{}", ::getpid(), folder_.number());
  }

 private:
  FileDescriptor folder_;
};

/// The process that has a lock; 0 when that cannot be told.
long processWith(const FileDescriptor& lock) {
  std::array<char, 16> text{};
  const auto length = ::pread(lock.number(), text.data(), text.size() - 1, 0);
  return length > 0 ? std::max(std::strtol(text.data(), nullptr, 10), 0L) : 0;
}

/// Who has a lock: "process 1234 (vantorel)".
std::string holderOf(const FileDescriptor& lock) {
  const long pid = processWith(lock);
  if (pid == 0) return "another process";
  std::string name;
  std::getline(std::ifstream("/proc/" + std::to_string(pid) + "/comm"), name);
  return "process " + std::to_string(pid) + (name.empty() ? "" : " (" + name + ")");
}

class LinuxFileLock final : public FileLock {
 public:
  explicit LinuxFileLock(FileDescriptor file) : file_(std::move(file)) {}

 private:
  FileDescriptor file_;
};

}  // namespace

LinuxFiles::LinuxFiles() : LinuxFiles(nullptr, ::getpid()) {}

LinuxFiles::LinuxFiles(Progress progress, long process)
    : progress_(std::move(progress)), process_(process) {}

Result<std::string> LinuxFiles::read(const Path& path, std::uint64_t limit) const try {
  // Without O_NONBLOCK a pipe somebody left under the name would hold us for ever.
  const FileDescriptor file = VT_TRY(openFile(path, O_RDONLY | O_NONBLOCK));
  struct stat status{};
  VT_TRY(resultOf(::fstat(file.number(), &status)));
  if (S_ISDIR(status.st_mode)) return systemFailure(EISDIR);
  if (!S_ISREG(status.st_mode)) return notRegular();

  const Pieces pieces(progress_);
  std::string bytes;
  // One byte more than expected shows the end of the file in the same call.
  std::size_t room = static_cast<std::size_t>(status.st_size) + 1;
  while (true) {
    if (static_cast<std::uint64_t>(status.st_size) > limit || bytes.size() > limit) {
      return failed(FailureKind::tooLarge, "the file is too large");
    }
    const std::size_t size = bytes.size();
    ssize_t got = 0;
    bytes.resize_and_overwrite(size + room, [&](char* data, std::size_t) {
      const std::size_t most = std::min<std::uint64_t>(room, pieces.most());
      got = uninterrupted([&] { return ::read(file.number(), data + size, most); });
      return size + static_cast<std::size_t>(std::max<ssize_t>(got, 0));
    });
    if (got == -1) return lastSystemFailure();
    if (got == 0) return bytes;
    pieces.gone();
    room = std::max<std::size_t>(room - static_cast<std::size_t>(got), 4096);
  }
} catch (const std::bad_alloc&) {
  return tooLargeForMemory();
} catch (const std::length_error&) {
  return tooLargeForMemory();
}

Result<FileStatus> LinuxFiles::status(const Path& path) const {
  struct stat found{};
  VT_TRY(resultOf(::lstat(path.c_str(), &found)));
  return statusOf(found);
}

Result<std::vector<FolderItem>> LinuxFiles::list(const Path& folder) const {
  std::error_code error;
  std::vector<FolderItem> items;
  std::filesystem::directory_iterator item(folder, error);
  while (!error && item != std::filesystem::directory_iterator()) {
    items.push_back({item->path().filename(), fileType(*item)});
    if (progress_ && items.size() % 64 == 0) progress_();
    item.increment(error);
  }
  if (error) return systemFailure(error.value());
  return items;
}

Result<Path> LinuxFiles::resolved(const Path& path) const {
  std::error_code error;
  Path found = std::filesystem::canonical(path, error);
  if (error) return systemFailure(error.value());
  return found;
}

Result<FolderLocation> LinuxFiles::location(const Path& folder) const {
  return locationOf(VT_TRY(openFile(folder, O_PATH | O_DIRECTORY)));
}

Result<std::unique_ptr<FolderHandle>> LinuxFiles::hold(const Path& folder) const {
  return std::make_unique<LinuxFolderHandle>(VT_TRY(openFile(folder, O_PATH | O_DIRECTORY)));
}

Result<void> LinuxFiles::makeFolder(const Path& folder, Privacy privacy) {
  const mode_t mode = privacy == Privacy::ownerOnly ? 0700 : 0777;
  if (::mkdir(folder.c_str(), mode) == 0) {
    if (privacy == Privacy::byUmask) return {};
    return modeSet(::chmod(folder.c_str(), mode));
  }
  if (errno == EEXIST) {
    struct stat found{};
    if (::stat(folder.c_str(), &found) == 0 && S_ISDIR(found.st_mode)) return {};
    return systemFailure(EEXIST);
  }
  const Path above =
      folder.has_filename() ? folder.parent_path() : folder.parent_path().parent_path();
  // Some file systems say so of a new name in a folder that is there.
  struct stat found{};
  if (errno != ENOENT || above.empty() || above == folder) return lastSystemFailure();
  if (::stat(above.c_str(), &found) == 0) {
    return failed(FailureKind::denied, "no folder can be made in " + above.string());
  }
  VT_TRY(makeFolder(above, privacy));
  return makeFolder(folder, privacy);
}

Result<void> LinuxFiles::create(const Path& path, std::string_view bytes, Privacy privacy,
                                Durability durability) {
  const mode_t mode = privacy == Privacy::ownerOnly ? 0600 : 0666;
  FileDescriptor file = VT_TRY(openFile(path, O_WRONLY | O_CREAT | O_EXCL, mode));
  auto filled = fill(std::move(file), bytes, privacy, durability, Pieces(progress_));
  if (!filled) ::unlink(path.c_str());
  return filled;
}

Result<void> LinuxFiles::replace(const Path& path, std::string_view bytes, Privacy privacy) {
  const Path staging = stagingOf(path);
  // Left by a run that ended in the middle.
  ::unlink(staging.c_str());
  VT_TRY(create(staging, bytes, privacy, Durability::flushed));
  auto renamed = resultOf(::rename(staging.c_str(), path.c_str()));
  if (!renamed) ::unlink(staging.c_str());
  return renamed;
}

Result<std::shared_ptr<FileContent>> LinuxFiles::open(const Path& path) const {
  FileDescriptor file = VT_TRY(openFile(path, O_RDONLY | O_NONBLOCK | O_NOFOLLOW));
  auto content = std::make_shared<LinuxFileContent>(std::move(file));
  if (VT_TRY(content->status()).type != FileType::regular) {
    return notRegular();
  }
  return content;
}

Result<std::shared_ptr<FileContent>> LinuxFiles::replaceWithParts(
    const Path& path, std::span<const ContentPart> parts, Privacy privacy,
    const std::function<Result<void>()>& mayReplace) {
  const Path staging = stagingOf(path);
  // Left by a run that ended in the middle.
  ::unlink(staging.c_str());
  const mode_t mode = privacy == Privacy::ownerOnly ? 0600 : 0666;
  auto content = std::make_shared<LinuxFileContent>(
      VT_TRY(openFile(staging, O_RDWR | O_CREAT | O_EXCL, mode)));
  const auto write = [&]() -> Result<void> {
    if (privacy == Privacy::ownerOnly) VT_TRY(modeSet(::fchmod(content->number(), 0600)));
    VT_TRY(writeParts(content->number(), parts, Pieces(progress_)));
    VT_TRY(flushFile(content->number()));
    VT_TRY(mayReplace());
    return resultOf(::rename(staging.c_str(), path.c_str()));
  };
  if (auto written = write(); !written) {
    ::unlink(staging.c_str());
    return std::unexpected(std::move(written).error());
  }
  return content;
}

Result<Tightening> LinuxFiles::makeOwnerOnly(const Path& path) {
  const auto file = openFile(path, O_RDONLY | O_NONBLOCK | O_NOFOLLOW);
  if (!file && file.error().kind == FailureKind::notFound) return Tightening::absent;
  if (!file) {
    const auto found = status(path);
    if (found && found->type == FileType::link) return Tightening::link;
    return std::unexpected(file.error());
  }
  struct stat found{};
  VT_TRY(resultOf(::fstat(file->number(), &found)));
  if ((found.st_mode & 077U) == 0) return Tightening::alreadyOwnerOnly;
  VT_TRY(resultOf(::fchmod(file->number(), found.st_mode & 0700U)));
  return Tightening::madeOwnerOnly;
}

Result<void> LinuxFiles::moveNew(const Path& from, const Path& to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return {};
  if (errno == EINVAL || errno == ENOSYS) return moveNewInSteps(from, to);
  return lastSystemFailure();
}

Result<void> LinuxFiles::linkNew(const Path& from, const Path& to) {
  if (::link(from.c_str(), to.c_str()) == 0) return {};
  if (errno == EPERM || errno == EMLINK || errno == ENOSYS) return systemFailure(EOPNOTSUPP);
  return lastSystemFailure();
}

Result<void> LinuxFiles::copyNew(const Path& from, const Path& to) {
  const LinuxFileContent source(VT_TRY(openFile(from, O_RDONLY | O_NONBLOCK | O_NOFOLLOW)));
  struct stat status{};
  VT_TRY(resultOf(::fstat(source.number(), &status)));
  if (!S_ISREG(status.st_mode)) return notRegular();
  FileDescriptor copy = VT_TRY(openFile(to, O_WRONLY | O_CREAT | O_EXCL, 0600));
  const auto write = [&]() -> Result<void> {
    VT_TRY(copyRun(copy.number(), source, 0, static_cast<std::uint64_t>(status.st_size),
                   Pieces(progress_)));
    VT_TRY(copyAttributes(source.number(), copy.number()));
    VT_TRY(modeSet(::fchmod(copy.number(), status.st_mode & 0777U)));
    const std::array<timespec, 2> times{status.st_atim, status.st_mtim};
    VT_TRY(modeSet(::futimens(copy.number(), times.data())));
    VT_TRY(flushFile(copy.number()));
    return resultOf(::close(copy.release()));
  };
  auto written = write();
  if (!written) ::unlink(to.c_str());
  return written;
}

Result<void> LinuxFiles::remove(const Path& path) {
  if (::unlink(path.c_str()) == 0) return {};
  if (errno == EISDIR) return resultOf(::rmdir(path.c_str()));
  const int reason = errno;
  // A file system that is read-only says so before it has looked for the file.
  struct stat found{};
  if (reason == EROFS && ::lstat(path.c_str(), &found) == -1) return lastSystemFailure();
  return systemFailure(reason);
}

Result<void> LinuxFiles::checkWritable(const Path& folder) const {
  // Permissions alone do not tell: "/proc" grants them, and a full disk may have room for no file.
  // One without a name is gone whatever happens; not every file system has such.
  FileDescriptor unnamed(::open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600));
  if (unnamed.number() != -1) {
    return fill(std::move(unnamed), "x", Privacy::byUmask, Durability::flushed, Pieces(progress_));
  }
  const Path trial = folder / (".vantorel-" + randomID() + ".partial");
  FileDescriptor file = VT_TRY(openFile(trial, O_WRONLY | O_CREAT | O_EXCL, 0600));
  // At once, for the process may be killed while the disk writes.
  VT_TRY(resultOf(::unlink(trial.c_str())));
  return fill(std::move(file), "x", Privacy::byUmask, Durability::flushed, Pieces(progress_));
}

Result<void> LinuxFiles::flushFolder(const Path& folder) {
  const FileDescriptor file = VT_TRY(openFile(folder, O_RDONLY | O_DIRECTORY));
  const int flushed = uninterrupted([&] { return ::fsync(file.number()); });
  // Some network file systems have nothing to flush for a folder.
  if (flushed == -1 && errno == EINVAL) return {};
  return resultOf(flushed);
}

Result<void> LinuxFiles::flushFiles(std::span<const Path> files) {
  // One call for a whole file system waits for what other programs wrote there as well, which may
  // be much where it is far away.
  constexpr std::size_t maximumFlushedSingly = 8;
  if (files.size() > maximumFlushedSingly && !progress_) {
    const FileDescriptor folder =
        VT_TRY(openFile(files.front().parent_path(), O_RDONLY | O_DIRECTORY));
    return resultOf(::syncfs(folder.number()));
  }
  for (const Path& path : files) {
    const auto file = openFile(path, O_RDONLY | O_NONBLOCK | O_NOFOLLOW);
    if (!file && file.error().kind == FailureKind::notFound) continue;
    if (!file) return std::unexpected(file.error());
    VT_TRY(flushFile(file->number()));
    Pieces(progress_).gone();
  }
  return {};
}

Result<std::string> LinuxFiles::attribute(const Path& path, std::string_view name) const {
  const std::string fullName = attributeName(name);
  while (true) {
    const ssize_t size = ::lgetxattr(path.c_str(), fullName.c_str(), nullptr, 0);
    if (size == -1) return attributeFailure();
    std::string value(static_cast<std::size_t>(size), '\0');
    const ssize_t got = ::lgetxattr(path.c_str(), fullName.c_str(), value.data(), value.size());
    if (got == -1 && errno == ERANGE) continue;  // it grew in between
    if (got == -1) return attributeFailure();
    value.resize(static_cast<std::size_t>(got));
    return value;
  }
}

Result<void> LinuxFiles::setAttribute(const Path& path, std::string_view name,
                                      std::string_view value) {
  const std::string fullName = attributeName(name);
  return resultOf(::lsetxattr(path.c_str(), fullName.c_str(), value.data(), value.size(), 0));
}

Result<void> LinuxFiles::removeAttribute(const Path& path, std::string_view name) {
  if (::lremovexattr(path.c_str(), attributeName(name).c_str()) == -1) return attributeFailure();
  return {};
}

Result<std::unique_ptr<FileLock>> LinuxFiles::lock(const Path& path) {
  FileDescriptor file = VT_TRY(openFile(path, O_RDWR | O_CREAT | O_NOFOLLOW, 0600));
  if (uninterrupted([&] { return ::flock(file.number(), LOCK_EX | LOCK_NB); }) == -1) {
    if (errno == EWOULDBLOCK) return failed(FailureKind::busy, holderOf(file));
    if (errno == ENOLCK) return systemFailure(EOPNOTSUPP);
    return lastSystemFailure();
  }
  // Its last holder may have removed it meanwhile: then it stands for nothing any more.
  struct stat ours{};
  struct stat named{};
  VT_TRY(resultOf(::fstat(file.number(), &ours)));
  const int found = ::lstat(path.c_str(), &named);
  if (found == -1 && errno != ENOENT) return lastSystemFailure();
  if (found == -1 || named.st_ino != ours.st_ino || named.st_dev != ours.st_dev) return lock(path);
  // For those who wait.
  const std::string pid = std::to_string(process_);
  if (::ftruncate(file.number(), 0) == 0) (void)!::pwrite(file.number(), pid.data(), pid.size(), 0);
  return std::make_unique<LinuxFileLock>(std::move(file));
}

std::optional<long> lockHolder(const Path& path) {
  const auto file = openFile(path, O_RDONLY | O_NOFOLLOW);
  // Shared, so that whoever asks at the same time is not taken for a holder.
  if (!file || uninterrupted([&] { return ::flock(file->number(), LOCK_SH | LOCK_NB); }) == 0 ||
      errno != EWOULDBLOCK) {
    return std::nullopt;
  }
  const long process = processWith(*file);
  return process > 0 ? std::optional(process) : std::nullopt;
}

}  // namespace vantorel
