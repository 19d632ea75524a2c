#include "platform/linux/remote_files.hpp"

#include <fmt/format.h>
#include <sys/inotify.h>

#include <algorithm>
#include <charconv>
#include <deque>
#include <utility>

#include "platform/linux/file_message.hpp"
#include "platform/linux/file_server.hpp"
#include "platform/linux/mount_table.hpp"
#include "platform/linux/remote_mounts.hpp"
#include "platform/linux/system_error.hpp"

namespace vantorel {
namespace {

using IfSilent = FileServerProcess::IfSilent;

/// In bytes. A server that needs longer than for a look to send so much is taken for silent.
constexpr std::uint64_t smallFile = std::uint64_t{16} << 20;

/// The process in "/proc/1234/fd/5/..."; 0 in every other path.
pid_t processNamedIn(const Path& path) {
  constexpr std::string_view start = "/proc/";
  const std::string_view text = path.native();
  if (!text.starts_with(start)) return 0;
  pid_t process = 0;
  const char* const begin = text.data() + start.size();
  const auto [end, error] = std::from_chars(begin, text.data() + text.size(), process);
  const bool isOpenFile =
      error == std::errc() && std::string_view(end, text.end()).starts_with("/fd/");
  return isOpenFile ? process : 0;
}

}  // namespace

struct RemoteFiles::Patience {
  std::chrono::nanoseconds silence;
  IfSilent ifSilent;

  template <class Value, class... Arguments>
  Result<Value> ask(FileServerProcess& server, FileRequest what,
                    const Arguments&... arguments) const {
    return askWith<Value>(server, -1, what, arguments...);
  }

  template <class Value, class... Arguments>
  Result<Value> askWith(FileServerProcess& server, int descriptor, FileRequest what,
                        const Arguments&... arguments) const {
    MessageWriter request;
    request(what, arguments...);
    const std::string bytes = VT_TRY(server.ask(request.take(), silence, ifSilent, descriptor));
    MessageReader reader(bytes);
    Result<Value> answer;
    reader(answer);
    if (!reader.isWhole()) return failed(FailureKind::other, "its answer was cut short");
    return answer;
  }
};

RemoteFiles::Patience RemoteFiles::look() const { return {bounds_.look, IfSilent::giveUp}; }
RemoteFiles::Patience RemoteFiles::longLook() const { return {bounds_.change, IfSilent::giveUp}; }
RemoteFiles::Patience RemoteFiles::change() const { return {bounds_.change, IfSilent::stop}; }

namespace {

/// Something that a process has open for us.
class Served {
 public:
  Served(std::shared_ptr<FileServerProcess> server, std::uint64_t number)
      : server_(std::move(server)), number_(number) {}
  Served(const Served&) = delete;
  Served& operator=(const Served&) = delete;
  ~Served() {
    MessageWriter request;
    request(FileRequest::letGo, number_);
    server_->notify(request.take());
  }

  [[nodiscard]] FileServerProcess& server() const { return *server_; }
  [[nodiscard]] std::uint64_t number() const { return number_; }

 private:
  std::shared_ptr<FileServerProcess> server_;
  std::uint64_t number_;
};

class RemoteFolder final : public FolderHandle {
 public:
  RemoteFolder(std::shared_ptr<FileServerProcess> server, ServedFolder folder)
      : served_(std::move(server), folder.number), path_(std::move(folder.path)) {}

  [[nodiscard]] Path path() const override { return path_; }

 private:
  Served served_;
  Path path_;
};

template <class Patience>
class RemoteContent final : public FileContent {
 public:
  RemoteContent(std::shared_ptr<FileServerProcess> server, std::uint64_t number, Patience look,
                Patience longLook)
      : served_(std::move(server), number), look_(look), longLook_(longLook) {}

  [[nodiscard]] Result<FileStatus> status() const override {
    return look_.template ask<FileStatus>(served_.server(), FileRequest::contentStatus,
                                          served_.number());
  }
  [[nodiscard]] Result<std::string> read(std::uint64_t offset,
                                         std::uint64_t length) const override {
    return longLook_.template ask<std::string>(served_.server(), FileRequest::contentRead,
                                               served_.number(), offset, length);
  }

  /// Its number in that process; 0 when another one has it, or the disks of this machine.
  static std::uint64_t numberIn(const FileServerProcess* server, const FileContent* content) {
    const auto* const remote = dynamic_cast<const RemoteContent*>(content);
    return remote != nullptr && &remote->served_.server() == server ? remote->served_.number() : 0;
  }
  static bool isOne(const FileContent* content) {
    return dynamic_cast<const RemoteContent*>(content) != nullptr;
  }

 private:
  Served served_;
  Patience look_;
  Patience longLook_;
};

}  // namespace

/// A lock, by whichever process has it for us now.
struct RemoteFiles::HeldLock {
  explicit HeldLock(Path lockPath) : path(std::move(lockPath)) {}

  const Path path;
  std::mutex mutex;
  std::unique_ptr<Served> served;  // null once it was given up
};

class RemoteFiles::RemoteLock final : public FileLock {
 public:
  explicit RemoteLock(std::shared_ptr<HeldLock> held) : held_(std::move(held)) {}
  ~RemoteLock() override {
    const std::scoped_lock lock(held_->mutex);
    held_->served.reset();
  }

 private:
  std::shared_ptr<HeldLock> held_;
};

struct RemoteFiles::Mount {
  std::mutex mutex;
  Server server;
  std::vector<std::weak_ptr<HeldLock>> locks;
};

RemoteFiles::RemoteFiles() : RemoteFiles(Bounds()) {}

RemoteFiles::RemoteFiles(Bounds bounds)
    : RemoteFiles({"/proc/self/exe", std::string(fileServerArgument)}, bounds) {}

RemoteFiles::RemoteFiles(std::vector<std::string> command, Bounds bounds)
    : command_(std::move(command)), bounds_(bounds) {}

RemoteFiles::~RemoteFiles() = default;

std::shared_ptr<RemoteFiles::Mount> RemoteFiles::mountFor(const Path& path) const {
  const auto remote = remoteMountOnTheWayTo(path);
  if (!remote) return nullptr;
  const std::scoped_lock lock(mutex_);
  auto& mount = mounts_[remote->id];
  if (!mount) {
    mount = std::make_shared<Mount>();
    // Those that were unmounted come never again.
    std::erase_if(mounts_, [id = remote->id, mounts = mountsNow()](const auto& other) {
      return other.first != id && !findMount(*mounts, other.first);
    });
  }
  return mounts_[remote->id];
}

/// The process for a mount, with the locks that this program has there.
Result<RemoteFiles::Server> RemoteFiles::serverOf(Mount& mount) const {
  const std::scoped_lock lock(mount.mutex);
  if (mount.server && mount.server->isServing()) return mount.server;
  if (mount.server && !mount.server->hasEnded()) return serverSilence();
  Server server = VT_TRY(FileServerProcess::start(command_));
  {
    const std::scoped_lock all(mutex_);
    std::erase_if(servers_, [](const auto& other) { return other.expired(); });
    servers_.push_back(server);
  }
  mount.server = server;
  std::erase_if(mount.locks, [](const auto& held) { return held.expired(); });
  for (const auto& weak : mount.locks) {
    const auto held = weak.lock();
    if (!held) continue;
    const auto taken = look().ask<std::uint64_t>(*server, FileRequest::lock, held->path);
    if (!taken) {
      server->stop();
      return failed(FailureKind::unreachable,
                    fmt::format("it did not answer, and {} could not be locked again: {}",
                                held->path.string(), taken.error().reason));
    }
    auto served = std::make_unique<Served>(server, *taken);
    const std::scoped_lock mine(held->mutex);
    if (held->served) held->served = std::move(served);
  }
  return server;
}

Result<RemoteFiles::Server> RemoteFiles::serverFor(const Path& path) const {
  if (const pid_t process = processNamedIn(path); process != 0) {
    const std::scoped_lock lock(mutex_);
    for (const auto& weak : servers_) {
      auto server = weak.lock();
      if (!server || server->process() != process) continue;
      if (!server->isServing()) return serverSilence();
      return server;
    }
  }
  const auto mount = mountFor(path);
  if (!mount) return Server();
  return serverOf(*mount);
}

Result<RemoteFiles::Server> RemoteFiles::serverFor(const Path& from, const Path& to) const {
  Server ofFrom = VT_TRY(serverFor(from));
  Server ofTo = VT_TRY(serverFor(to));
  if (!ofTo || ofTo == ofFrom) return ofFrom;
  // Whoever does not answer is found out by a process of its own.
  if (ofFrom) {
    const auto found = look().ask<FileStatus>(*ofFrom, FileRequest::status, from.parent_path());
    if (!found && found.error().kind == FailureKind::unreachable) {
      return std::unexpected(found.error());
    }
  }
  return ofTo;
}

Result<std::string> RemoteFiles::read(const Path& path, std::uint64_t limit) const {
  const Server server = VT_TRY(serverFor(path));
  if (!server) return local_.read(path, limit);
  // A large file is waited for as contents are; of one that is not answered nobody knows how large
  // it is.
  if (limit > smallFile) VT_TRY(look().ask<FileStatus>(*server, FileRequest::status, path));
  const Patience patience = limit > smallFile ? longLook() : look();
  return patience.ask<std::string>(*server, FileRequest::read, path, limit);
}

Result<FileStatus> RemoteFiles::status(const Path& path) const {
  const Server server = VT_TRY(serverFor(path));
  if (!server) return local_.status(path);
  return look().ask<FileStatus>(*server, FileRequest::status, path);
}

Result<std::vector<FolderItem>> RemoteFiles::list(const Path& folder) const {
  const Server server = VT_TRY(serverFor(folder));
  if (!server) return local_.list(folder);
  return longLook().ask<std::vector<FolderItem>>(*server, FileRequest::list, folder);
}

Result<Path> RemoteFiles::resolved(const Path& path) const {
  const Server server = VT_TRY(serverFor(path));
  if (!server) return local_.resolved(path);
  return look().ask<Path>(*server, FileRequest::resolved, path);
}

Result<FolderLocation> RemoteFiles::location(const Path& folder) const {
  const Server server = VT_TRY(serverFor(folder));
  if (!server) return local_.location(folder);
  return look().ask<FolderLocation>(*server, FileRequest::location, folder);
}

Result<std::unique_ptr<FolderHandle>> RemoteFiles::hold(const Path& folder) const {
  const Server server = VT_TRY(serverFor(folder));
  if (!server) return local_.hold(folder);
  return std::make_unique<RemoteFolder>(
      server, VT_TRY(look().ask<ServedFolder>(*server, FileRequest::hold, folder)));
}

Result<void> RemoteFiles::makeFolder(const Path& folder, Privacy privacy) {
  const Server server = VT_TRY(serverFor(folder));
  if (!server) return local_.makeFolder(folder, privacy);
  return change().ask<void>(*server, FileRequest::makeFolder, folder, privacy);
}

Result<void> RemoteFiles::create(const Path& path, std::string_view bytes, Privacy privacy,
                                 Durability durability) {
  const Server server = VT_TRY(serverFor(path));
  if (!server) return local_.create(path, bytes, privacy, durability);
  return change().ask<void>(*server, FileRequest::create, path, bytes, privacy, durability);
}

Result<void> RemoteFiles::replace(const Path& path, std::string_view bytes, Privacy privacy) {
  const Server server = VT_TRY(serverFor(path));
  if (!server) return local_.replace(path, bytes, privacy);
  return change().ask<void>(*server, FileRequest::replace, path, bytes, privacy);
}

Result<std::shared_ptr<FileContent>> RemoteFiles::open(const Path& path) const {
  const Server server = VT_TRY(serverFor(path));
  if (!server) return local_.open(path);
  const auto number = VT_TRY(look().ask<std::uint64_t>(*server, FileRequest::open, path));
  return std::make_shared<RemoteContent<Patience>>(server, number, look(), longLook());
}

Result<std::shared_ptr<FileContent>> RemoteFiles::replaceWithParts(
    const Path& path, std::span<const ContentPart> parts, Privacy privacy,
    const std::function<Result<void>()>& mayReplace) {
  using Content = RemoteContent<Patience>;
  const Server server = VT_TRY(serverFor(path));
  if (!server) {
    std::vector<ContentPart> local(parts.begin(), parts.end());
    std::deque<std::string> fetched;
    for (ContentPart& part : local) {
      if (!Content::isOne(part.source)) continue;
      part = {.bytes = fetched.emplace_back(VT_TRY(part.source->read(part.offset, part.length)))};
    }
    return local_.replaceWithParts(path, local, privacy, mayReplace);
  }
  std::vector<ServedPart> served;
  for (const ContentPart& part : parts) {
    const std::uint64_t number = Content::numberIn(server.get(), part.source);
    if (number != 0) {
      served.push_back({.content = number, .offset = part.offset, .length = part.length});
    } else if (part.source != nullptr) {
      served.push_back({.bytes = VT_TRY(part.source->read(part.offset, part.length))});
    } else {
      served.push_back({.bytes = std::string(part.bytes)});
    }
  }
  VT_TRY(mayReplace());
  const auto number = VT_TRY(
      change().ask<std::uint64_t>(*server, FileRequest::replaceWithParts, path, privacy, served));
  return std::make_shared<Content>(server, number, look(), longLook());
}

Result<Tightening> RemoteFiles::makeOwnerOnly(const Path& path) {
  const Server server = VT_TRY(serverFor(path));
  if (!server) return local_.makeOwnerOnly(path);
  return change().ask<Tightening>(*server, FileRequest::makeOwnerOnly, path);
}

Result<void> RemoteFiles::moveNew(const Path& from, const Path& to) {
  const Server server = VT_TRY(serverFor(from, to));
  if (!server) return local_.moveNew(from, to);
  return change().ask<void>(*server, FileRequest::moveNew, from, to);
}

Result<void> RemoteFiles::linkNew(const Path& from, const Path& to) {
  const Server server = VT_TRY(serverFor(from, to));
  if (!server) return local_.linkNew(from, to);
  return change().ask<void>(*server, FileRequest::linkNew, from, to);
}

Result<void> RemoteFiles::copyNew(const Path& from, const Path& to) {
  const Server server = VT_TRY(serverFor(from, to));
  if (!server) return local_.copyNew(from, to);
  return change().ask<void>(*server, FileRequest::copyNew, from, to);
}

Result<void> RemoteFiles::remove(const Path& path) {
  const Server server = VT_TRY(serverFor(path));
  if (!server) return local_.remove(path);
  return change().ask<void>(*server, FileRequest::remove, path);
}

Result<void> RemoteFiles::flushFolder(const Path& folder) {
  const Server server = VT_TRY(serverFor(folder));
  if (!server) return local_.flushFolder(folder);
  return change().ask<void>(*server, FileRequest::flushFolder, folder);
}

Result<void> RemoteFiles::flushFiles(std::span<const Path> files) {
  if (files.empty()) return {};
  const Server server = VT_TRY(serverFor(files.front()));
  if (!server) return local_.flushFiles(files);
  return change().ask<void>(*server, FileRequest::flushFiles,
                            std::vector<Path>(files.begin(), files.end()));
}

Result<void> RemoteFiles::checkWritable(const Path& folder) const {
  const Server server = VT_TRY(serverFor(folder));
  if (!server) return local_.checkWritable(folder);
  return change().ask<void>(*server, FileRequest::checkWritable, folder);
}

Result<std::string> RemoteFiles::attribute(const Path& path, std::string_view name) const {
  const Server server = VT_TRY(serverFor(path));
  if (!server) return local_.attribute(path, name);
  return look().ask<std::string>(*server, FileRequest::attribute, path, name);
}

Result<void> RemoteFiles::setAttribute(const Path& path, std::string_view name,
                                       std::string_view value) {
  const Server server = VT_TRY(serverFor(path));
  if (!server) return local_.setAttribute(path, name, value);
  return change().ask<void>(*server, FileRequest::setAttribute, path, name, value);
}

Result<void> RemoteFiles::removeAttribute(const Path& path, std::string_view name) {
  const Server server = VT_TRY(serverFor(path));
  if (!server) return local_.removeAttribute(path, name);
  return change().ask<void>(*server, FileRequest::removeAttribute, path, name);
}

Result<std::unique_ptr<FileLock>> RemoteFiles::lock(const Path& path) {
  const auto mount = mountFor(path);
  if (!mount) return local_.lock(path);
  const Server server = VT_TRY(serverOf(*mount));
  const auto number = VT_TRY(look().ask<std::uint64_t>(*server, FileRequest::lock, path));
  const auto held = std::make_shared<HeldLock>(path);
  held->served = std::make_unique<Served>(server, number);
  const std::scoped_lock lock(mount->mutex);
  mount->locks.push_back(held);
  return std::make_unique<RemoteLock>(held);
}

std::optional<long> RemoteFiles::lockHolder(const Path& path) const {
  const auto server = serverFor(path);
  if (!server) return std::nullopt;
  if (!*server) return vantorel::lockHolder(path);
  const auto holder = look().ask<std::optional<long>>(**server, FileRequest::lockHolder, path);
  return holder ? *holder : std::nullopt;
}

Result<int> RemoteFiles::watch(int queue, const Path& folder, std::uint32_t events) const {
  const Server server = VT_TRY(serverFor(folder));
  if (server) return look().askWith<int>(*server, queue, FileRequest::watch, folder, events);
  const int number = ::inotify_add_watch(queue, folder.c_str(), events);
  if (number == -1) return lastSystemFailure();
  return number;
}

}  // namespace vantorel
