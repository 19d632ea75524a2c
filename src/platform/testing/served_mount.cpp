#include "platform/testing/served_mount.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <linux/fuse.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <system_error>
#include <utility>

#include "base/check.hpp"

namespace vantorel {
namespace {

template <class Record>
std::string bytesOf(const Record& record) {
  return {reinterpret_cast<const char*>(&record), sizeof record};
}

template <class Record>
Record recordAt(std::string_view bytes, std::size_t offset = sizeof(fuse_in_header)) {
  Record record{};
  std::memcpy(&record, bytes.data() + offset, sizeof record);
  return record;
}

/// A name behind a record.
const char* textAt(const std::string& question, std::size_t behind) {
  return question.data() + sizeof(fuse_in_header) + behind;
}

fuse_attr attributesOf(const struct stat& found, std::uint64_t number) {
  return {.ino = number,
          .size = static_cast<std::uint64_t>(found.st_size),
          .blocks = static_cast<std::uint64_t>(found.st_blocks),
          .atime = static_cast<std::uint64_t>(found.st_atim.tv_sec),
          .mtime = static_cast<std::uint64_t>(found.st_mtim.tv_sec),
          .ctime = static_cast<std::uint64_t>(found.st_ctim.tv_sec),
          .atimensec = static_cast<std::uint32_t>(found.st_atim.tv_nsec),
          .mtimensec = static_cast<std::uint32_t>(found.st_mtim.tv_nsec),
          .ctimensec = static_cast<std::uint32_t>(found.st_ctim.tv_nsec),
          .mode = found.st_mode,
          .nlink = static_cast<std::uint32_t>(found.st_nlink),
          .uid = found.st_uid,
          .gid = found.st_gid,
          .rdev = 0,
          .blksize = 4096,
          .flags = 0};
}

}  // namespace

ServedMount::ServedMount(std::filesystem::path folder, const std::filesystem::path& served)
    : folder_(std::move(folder)),
      channel_(::open("/dev/fuse", O_RDWR | O_CLOEXEC)),
      wake_(::eventfd(0, EFD_CLOEXEC)),
      nodes_{{FUSE_ROOT_ID, served.string()}} {
  std::filesystem::create_directories(folder_);
  std::filesystem::create_directories(served);
  const std::string options = fmt::format("fd={},rootmode=40000,user_id=0,group_id=0", channel_);
  isMounted_ = ::mount("server:/share", folder_.c_str(), "fuse.served", MS_NOSUID | MS_NODEV,
                       options.c_str()) == 0;
  if (!isMounted_) throw std::system_error(errno, std::generic_category(), "mount");
  thread_ = std::jthread([this] { serve(); });
}

void ServedMount::hang() { hangInReadsFrom(0); }

void ServedMount::hangInReadsFrom(std::uint64_t offset) {
  const std::scoped_lock lock(mutex_);
  hangsFrom_ = offset;
}

void ServedMount::slowDown(std::chrono::milliseconds delay) {
  const std::scoped_lock lock(mutex_);
  delay_ = delay;
}

void ServedMount::loseReplies(int error) {
  const std::scoped_lock lock(mutex_);
  lostReply_ = error;
}

void ServedMount::renamePlainly() {
  const std::scoped_lock lock(mutex_);
  renamesPlainly_ = true;
}

void ServedMount::raiseNumbers(std::uint64_t by) { raisedBy_ = by; }

void ServedMount::answer() {
  hangInReadsFrom(UINT64_MAX);
  VT_CHECK(::eventfd_write(wake_, 1) == 0);
}

void ServedMount::end() {
  if (!std::exchange(isMounted_, false)) return;
  {
    const std::scoped_lock lock(mutex_);
    isEnding_ = true;
  }
  VT_CHECK(::eventfd_write(wake_, 1) == 0);
  thread_.join();
  ::close(channel_);
  ::close(wake_);
  VT_CHECK(::umount2(folder_.c_str(), MNT_DETACH) == 0);
}

void ServedMount::serve() {
  std::string buffer(256 << 10, '\0');
  while (true) {
    std::array<pollfd, 2> waits{{{channel_, POLLIN, 0}, {wake_, POLLIN, 0}}};
    if (::poll(waits.data(), waits.size(), -1) == -1) continue;
    if (waits[1].revents != 0) {
      eventfd_t count = 0;
      (void)::eventfd_read(wake_, &count);
      const std::scoped_lock lock(mutex_);
      if (isEnding_) return;
      if (hangsFrom_ == UINT64_MAX) {
        for (const Question& question : std::exchange(unanswered_, {})) reply(question);
      }
    }
    if (waits[0].revents == 0) continue;
    const ssize_t size = ::read(channel_, buffer.data(), buffer.size());
    if (size <= 0) continue;
    const Question question = buffer.substr(0, static_cast<std::size_t>(size));
    if (isHungIn(question)) {
      unanswered_.push_back(question);
    } else {
      reply(question);
    }
  }
}

bool ServedMount::isHungIn(const Question& question) {
  const auto header = recordAt<fuse_in_header>(question, 0);
  const std::scoped_lock lock(mutex_);
  if (header.opcode == FUSE_INIT) return false;
  if (hangsFrom_ == 0) return true;
  return header.opcode == FUSE_READ && recordAt<fuse_read_in>(question).offset >= hangsFrom_;
}

void ServedMount::reply(const Question& question) {
  const auto header = recordAt<fuse_in_header>(question, 0);
  if (header.opcode == FUSE_FORGET || header.opcode == FUSE_BATCH_FORGET ||
      header.opcode == FUSE_INTERRUPT) {
    return;
  }
  Reply reply = replyTo(question);
  const std::uint32_t what = header.opcode;
  if (reply.error == 0 && (what == FUSE_UNLINK || what == FUSE_RENAME || what == FUSE_RENAME2)) {
    const std::scoped_lock lock(mutex_);
    reply.error = lostReply_;
  }
  const fuse_out_header answer{
      .len = static_cast<std::uint32_t>(sizeof answer + reply.bytes.size()),
      .error = -reply.error,
      .unique = header.unique};
  const std::string bytes = bytesOf(answer) + reply.bytes;
  (void)!::write(channel_, bytes.data(), bytes.size());
}

std::uint64_t ServedMount::nodeOf(const std::string& path) {
  for (const auto& [node, known] : nodes_) {
    if (known == path) return node;
  }
  const std::uint64_t node = nodes_.rbegin()->first + 1;
  nodes_.emplace(node, path);
  return node;
}

ServedMount::Reply ServedMount::entryOf(const std::string& path) {
  struct stat found{};
  if (::lstat(path.c_str(), &found) != 0) return {errno};
  fuse_entry_out entry{};
  entry.nodeid = nodeOf(path);
  entry.attr = attributesOf(found, found.st_ino + raisedBy_);
  return {0, bytesOf(entry)};
}

ServedMount::Reply ServedMount::replyTo(const Question& question) {
  const auto header = recordAt<fuse_in_header>(question, 0);
  const std::string path = header.opcode == FUSE_INIT ? "" : pathOf(header.nodeid);
  const auto inside = [&](const char* name) { return path + "/" + name; };
  const auto outcome = [](int returned) { return Reply{returned < 0 ? errno : 0}; };
  const auto opened = [](int file) {
    if (file < 0) return Reply{errno};
    fuse_open_out open{};
    open.fh = static_cast<std::uint64_t>(file);
    return Reply{0, bytesOf(open)};
  };
  const auto attributes = [&](std::optional<std::uint64_t> file = {}) {
    struct stat found{};
    const int answer =
        file ? ::fstat(static_cast<int>(*file), &found) : ::lstat(path.c_str(), &found);
    if (answer != 0) return Reply{errno};
    fuse_attr_out out{};
    out.attr = attributesOf(found, found.st_ino + raisedBy_);
    return Reply{0, bytesOf(out)};
  };
  switch (header.opcode) {
    case FUSE_INIT: {
      fuse_init_out out{};
      out.major = FUSE_KERNEL_VERSION;
      out.minor = 31;
      out.max_readahead = recordAt<fuse_init_in>(question).max_readahead;
      out.max_write = 128 << 10;
      out.flags = FUSE_BIG_WRITES;
      return {0, bytesOf(out)};
    }
    case FUSE_LOOKUP: return entryOf(inside(textAt(question, 0)));
    case FUSE_GETATTR: {
      const auto wanted = recordAt<fuse_getattr_in>(question);
      if (wanted.getattr_flags & FUSE_GETATTR_FH) return attributes(wanted.fh);
      return attributes();
    }
    case FUSE_SETATTR: {
      const auto wanted = recordAt<fuse_setattr_in>(question);
      if (wanted.valid & FATTR_MODE) (void)!::chmod(path.c_str(), wanted.mode);
      if (wanted.valid & FATTR_SIZE)
        (void)!::truncate(path.c_str(), static_cast<off_t>(wanted.size));
      if (wanted.valid & FATTR_MTIME) {
        const std::array<timespec, 2> times{
            {{static_cast<time_t>(wanted.atime), wanted.atimensec},
             {static_cast<time_t>(wanted.mtime), wanted.mtimensec}}};
        ::utimensat(AT_FDCWD, path.c_str(), times.data(), 0);
      }
      return attributes();
    }
    case FUSE_MKDIR: {
      const std::string made = inside(textAt(question, sizeof(fuse_mkdir_in)));
      if (::mkdir(made.c_str(), recordAt<fuse_mkdir_in>(question).mode) != 0) return {errno};
      return entryOf(made);
    }
    case FUSE_UNLINK: return outcome(::unlink(inside(textAt(question, 0)).c_str()));
    case FUSE_RMDIR: return outcome(::rmdir(inside(textAt(question, 0)).c_str()));
    case FUSE_RENAME:
    case FUSE_RENAME2: {
      const bool hasFlags = header.opcode == FUSE_RENAME2;
      if (const std::scoped_lock lock(mutex_); hasFlags && renamesPlainly_) return {ENOSYS};
      fuse_rename2_in where{};
      std::memcpy(&where, textAt(question, 0), hasFlags ? sizeof where : sizeof(fuse_rename_in));
      const char* const name = textAt(question, hasFlags ? sizeof where : sizeof(fuse_rename_in));
      const std::string from = inside(name);
      const std::string to = pathOf(where.newdir) + "/" + (name + std::strlen(name) + 1);
      const unsigned flags = hasFlags ? where.flags : 0;
      if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), flags) != 0) {
        return {errno};
      }
      // Who has it open goes on asking for it.
      for (auto& [node, known] : nodes_) {
        if (known == to) known += " (replaced)";
      }
      for (auto& [node, known] : nodes_) {
        if (known == from || known.starts_with(from + "/")) known.replace(0, from.size(), to);
      }
      return {};
    }
    case FUSE_OPEN:
      return opened(::open(path.c_str(),
                           static_cast<int>(recordAt<fuse_open_in>(question).flags) | O_CLOEXEC));
    case FUSE_CREATE: {
      const auto how = recordAt<fuse_create_in>(question);
      const std::string made = inside(textAt(question, sizeof how));
      Reply open =
          opened(::open(made.c_str(), static_cast<int>(how.flags) | O_CREAT | O_CLOEXEC, how.mode));
      if (open.error != 0) return open;
      return {0, entryOf(made).bytes + open.bytes};
    }
    case FUSE_READ: {
      const auto what = recordAt<fuse_read_in>(question);
      std::this_thread::sleep_for(delay_);
      std::string bytes(what.size, '\0');
      const ssize_t got = ::pread(static_cast<int>(what.fh), bytes.data(), bytes.size(),
                                  static_cast<off_t>(what.offset));
      if (got < 0) return {errno};
      bytes.resize(static_cast<std::size_t>(got));
      return {0, bytes};
    }
    case FUSE_WRITE: {
      const auto what = recordAt<fuse_write_in>(question);
      std::this_thread::sleep_for(delay_);
      fuse_write_out out{};
      const ssize_t written = ::pwrite(static_cast<int>(what.fh), textAt(question, sizeof what),
                                       what.size, static_cast<off_t>(what.offset));
      if (written < 0) return {errno};
      out.size = static_cast<std::uint32_t>(written);
      return {0, bytesOf(out)};
    }
    case FUSE_OPENDIR:
    case FUSE_RELEASEDIR:
    case FUSE_FLUSH:
    case FUSE_FSYNC:
    case FUSE_FSYNCDIR:
      if (header.opcode == FUSE_OPENDIR) return {0, bytesOf(fuse_open_out{})};
      return {};
    case FUSE_RELEASE:
      return outcome(::close(static_cast<int>(recordAt<fuse_release_in>(question).fh)));
    case FUSE_READDIR: {
      const auto what = recordAt<fuse_read_in>(question);
      std::string items;
      std::uint64_t place = 0;
      for (const auto& item : std::filesystem::directory_iterator(path)) {
        if (++place <= what.offset) continue;
        const std::string name = item.path().filename();
        struct stat found{};
        ::lstat(item.path().c_str(), &found);
        const fuse_dirent head{.ino = found.st_ino,
                               .off = place,
                               .namelen = static_cast<std::uint32_t>(name.size()),
                               .type = IFTODT(found.st_mode)};
        std::string entry(reinterpret_cast<const char*>(&head), FUSE_NAME_OFFSET);
        entry += name;
        entry.resize(FUSE_DIRENT_ALIGN(entry.size()));
        if (items.size() + entry.size() > what.size) break;
        items += entry;
      }
      return {0, items};
    }
    case FUSE_STATFS: {
      struct statvfs found{};
      if (::statvfs(path.c_str(), &found) != 0) return {errno};
      fuse_statfs_out out{};
      out.st.blocks = found.f_blocks;
      out.st.bfree = found.f_bfree;
      out.st.bavail = found.f_bavail;
      out.st.bsize = static_cast<std::uint32_t>(found.f_bsize);
      out.st.frsize = static_cast<std::uint32_t>(found.f_frsize);
      out.st.namelen = 255;
      return {0, bytesOf(out)};
    }
    default: return {ENOSYS};
  }
}

}  // namespace vantorel
