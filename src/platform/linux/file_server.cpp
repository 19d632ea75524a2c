#include "platform/linux/file_server.hpp"

#include <signal.h>
#include <sys/inotify.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <system_error>
#include <thread>
#include <tuple>

#include "platform/linux/file_message.hpp"
#include "platform/linux/linux_files.hpp"
#include "platform/linux/message_socket.hpp"
#include "platform/linux/system_error.hpp"

namespace vantorel {
namespace {

constexpr std::uint64_t readPiece = 256 << 10;

/// What was opened and not let go of yet. Any thread.
class OpenThings {
 public:
  template <class Thing>
  std::uint64_t add(std::shared_ptr<Thing> thing) {
    const std::scoped_lock lock(mutex_);
    all<Thing>().emplace(++last_, std::move(thing));
    return last_;
  }
  std::shared_ptr<FileContent> content(std::uint64_t number) {
    const std::scoped_lock lock(mutex_);
    const auto found = contents_.find(number);
    return found == contents_.end() ? nullptr : found->second;
  }
  void letGo(std::uint64_t number) {
    std::unique_lock lock(mutex_);
    const auto gone =
        std::tuple(folders_.extract(number), contents_.extract(number), locks_.extract(number));
    lock.unlock();
    // They are closed here, which may hang.
  }

 private:
  template <class Thing>
  std::map<std::uint64_t, std::shared_ptr<Thing>>& all() {
    if constexpr (std::is_same_v<Thing, FolderHandle>) return folders_;
    if constexpr (std::is_same_v<Thing, FileContent>) return contents_;
    if constexpr (std::is_same_v<Thing, FileLock>) return locks_;
  }

  std::mutex mutex_;
  std::uint64_t last_ = 0;
  std::map<std::uint64_t, std::shared_ptr<FolderHandle>> folders_;
  std::map<std::uint64_t, std::shared_ptr<FileContent>> contents_;
  std::map<std::uint64_t, std::shared_ptr<FileLock>> locks_;
};

template <class Parameter>
using Kept = std::conditional_t<std::is_same_v<std::decay_t<Parameter>, std::string_view>,
                                std::string, std::decay_t<Parameter>>;

/// Whether a look may find it made after it has failed.
bool isChange(FileRequest what) {
  switch (what) {
    case FileRequest::makeFolder:
    case FileRequest::create:
    case FileRequest::replace:
    case FileRequest::replaceWithParts:
    case FileRequest::makeOwnerOnly:
    case FileRequest::moveNew:
    case FileRequest::linkNew:
    case FileRequest::copyNew:
    case FileRequest::remove:
    case FileRequest::setAttribute:
    case FileRequest::removeAttribute: return true;
    default: return false;
  }
}

/// Whoever asked has gone, and counts on nothing any more.
struct RequesterGone {};

/// Answers the requests of one connection.
class Conversation {
 public:
  Conversation(MessageSocket socket, std::shared_ptr<OpenThings> things, long requester)
      : socket_(std::move(socket)),
        things_(std::move(things)),
        files_([this] { progress(); }, requester) {}

  void keepGoing() {
    try {
      progress();
      while (auto request = socket_.receive()) {
        if (!answer(*request)) return;
      }
    } catch (const RequesterGone&) {
    } catch (const std::bad_alloc&) {
      // The connection ends, which says it.
    }
  }

 private:
  void progress() {
    if (!socket_.send("")) throw RequesterGone();
  }

  bool send(const auto& result) {
    MessageWriter writer;
    writer(result);
    return socket_.send(writer.take()).has_value();
  }

  /// Sends the number of what was opened; nobody can let go of it when that fails.
  template <class Thing>
  bool sendOpened(Result<Thing> thing) {
    if (!thing) return send(Result<std::uint64_t>(std::unexpected(thing.error())));
    const std::uint64_t number = things_->add(std::shared_ptr(std::move(*thing)));
    const bool sent = send(Result<std::uint64_t>(number));
    if (!sent) things_->letGo(number);
    return sent;
  }

  template <class Answer, class... Parameters>
  bool call(MessageReader& reader, Answer (Files::*function)(Parameters...)) {
    std::tuple<Kept<Parameters>...> arguments;
    std::apply([&](auto&... each) { reader(each...); }, arguments);
    if (!reader.isWhole()) return false;
    return send(
        std::apply([&](auto&... each) { return (static_cast<Files&>(files_).*function)(each...); },
                   arguments));
  }
  template <class Answer, class... Parameters>
  bool call(MessageReader& reader, Answer (Files::*function)(Parameters...) const) {
    std::tuple<Kept<Parameters>...> arguments;
    std::apply([&](auto&... each) { reader(each...); }, arguments);
    if (!reader.isWhole()) return false;
    return send(std::apply(
        [&](auto&... each) { return (static_cast<const Files&>(files_).*function)(each...); },
        arguments));
  }

  bool answer(std::string_view request) {
    MessageReader reader(request);
    FileRequest what{};
    reader(what);
    std::optional<LostRepliesAreSilence> change;
    if (isChange(what)) change.emplace();
    switch (what) {
      case FileRequest::read: return call(reader, &Files::read);
      case FileRequest::status: return call(reader, &Files::status);
      case FileRequest::list: return call(reader, &Files::list);
      case FileRequest::resolved: return call(reader, &Files::resolved);
      case FileRequest::location: return call(reader, &Files::location);
      case FileRequest::hold: return hold(pathIn(reader));
      case FileRequest::makeFolder: return call(reader, &Files::makeFolder);
      case FileRequest::create: return call(reader, &Files::create);
      case FileRequest::replace: return call(reader, &Files::replace);
      case FileRequest::open: return sendOpened(files_.open(pathIn(reader)));
      case FileRequest::replaceWithParts: return replaceWithParts(reader);
      case FileRequest::makeOwnerOnly: return call(reader, &Files::makeOwnerOnly);
      case FileRequest::moveNew: return call(reader, &Files::moveNew);
      case FileRequest::linkNew: return call(reader, &Files::linkNew);
      case FileRequest::copyNew: return call(reader, &Files::copyNew);
      case FileRequest::remove: return call(reader, &Files::remove);
      case FileRequest::flushFolder: return call(reader, &Files::flushFolder);
      case FileRequest::flushFiles: {
        std::vector<Path> paths;
        reader(paths);
        return reader.isWhole() && send(files_.flushFiles(paths));
      }
      case FileRequest::checkWritable: return call(reader, &Files::checkWritable);
      case FileRequest::attribute: return call(reader, &Files::attribute);
      case FileRequest::setAttribute: return call(reader, &Files::setAttribute);
      case FileRequest::removeAttribute: return call(reader, &Files::removeAttribute);
      case FileRequest::lock: return sendOpened(files_.lock(pathIn(reader)));
      case FileRequest::lockHolder:
        return send(Result<std::optional<long>>(lockHolder(pathIn(reader))));
      case FileRequest::contentStatus: {
        const auto content = contentIn(reader);
        return content != nullptr && send(content->status());
      }
      case FileRequest::contentRead: return readContent(reader);
      case FileRequest::watch: return watch(reader);
      case FileRequest::letGo: {
        std::uint64_t number = 0;
        reader(number);
        things_->letGo(number);
        return true;
      }
    }
    return false;
  }

  static Path pathIn(MessageReader& reader) {
    Path path;
    reader(path);
    return path;
  }

  std::shared_ptr<FileContent> contentIn(MessageReader& reader) {
    std::uint64_t number = 0;
    reader(number);
    return things_->content(number);
  }

  bool hold(const Path& path) {
    auto folder = files_.hold(path);
    if (!folder) return send(Result<ServedFolder>(std::unexpected(folder.error())));
    const Path name = (*folder)->path();
    const std::uint64_t number = things_->add(std::shared_ptr(std::move(*folder)));
    const bool sent = send(Result<ServedFolder>(ServedFolder{number, name}));
    if (!sent) things_->letGo(number);
    return sent;
  }

  bool replaceWithParts(MessageReader& reader) {
    Path path;
    Privacy privacy{};
    std::vector<ServedPart> served;
    reader(path, privacy, served);
    if (!reader.isWhole()) return false;
    std::vector<ContentPart> parts;
    std::vector<std::shared_ptr<FileContent>> contents;
    for (const ServedPart& part : served) {
      if (part.content == 0) {
        parts.push_back({.bytes = part.bytes});
        continue;
      }
      contents.push_back(things_->content(part.content));
      if (contents.back() == nullptr) return false;
      parts.push_back(
          {.source = contents.back().get(), .offset = part.offset, .length = part.length});
    }
    // Who asks for this has been asked before.
    const auto mayReplace = [] { return Result<void>(); };
    return sendOpened(files_.replaceWithParts(path, parts, privacy, mayReplace));
  }

  bool readContent(MessageReader& reader) {
    const auto content = contentIn(reader);
    std::uint64_t offset = 0;
    std::uint64_t length = 0;
    reader(offset, length);
    if (content == nullptr || !reader.isWhole()) return false;
    if (length <= readPiece) return send(content->read(offset, length));
    std::string bytes;
    while (bytes.size() < length) {
      const auto piece =
          content->read(offset + bytes.size(), std::min(length - bytes.size(), readPiece));
      if (!piece) return send(piece);
      bytes += *piece;
      progress();
    }
    return send(Result<std::string>(std::move(bytes)));
  }

  bool watch(MessageReader& reader) {
    Path folder;
    std::uint32_t events = 0;
    reader(folder, events);
    const auto queue = socket_.receiveDescriptor();
    if (!queue) return false;
    const int number = ::inotify_add_watch(queue->number(), folder.c_str(), events);
    if (number == -1) return send(Result<int>(lastSystemFailure()));
    return send(Result<int>(number));
  }

  MessageSocket socket_;
  std::shared_ptr<OpenThings> things_;
  LinuxFiles files_;
};

}  // namespace

void serveFiles() {
  ::prctl(PR_SET_NAME, "vantorel-files");
  // A terminal's or session's end is for the one who asks to act on.
  for (const int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGPIPE}) ::signal(signal, SIG_IGN);
  const long requester = ::getppid();
  if (::chdir("/") != 0) std::_Exit(1);
  MessageSocket control{FileDescriptor(STDIN_FILENO)};
  const auto things = std::make_shared<OpenThings>();
  while (auto connection = control.receiveDescriptor()) {
    try {
      std::thread([socket = MessageSocket(std::move(*connection)), things, requester]() mutable {
        Conversation(std::move(socket), things, requester).keepGoing();
      }).detach();
    } catch (const std::system_error&) {
      continue;  // whoever asks sees the connection end
    }
  }
  std::_Exit(0);
}

}  // namespace vantorel
