#include "platform/linux/inotify_watcher.hpp"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <set>
#include <utility>

namespace vantorel {
namespace {

constexpr std::uint32_t wanted = IN_CLOSE_WRITE | IN_CREATE | IN_MOVED_FROM | IN_MOVED_TO |
                                 IN_DELETE | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

std::optional<FolderEvent::Kind> kindOf(std::uint32_t mask) {
  if (mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT | IN_IGNORED)) {
    return FolderEvent::Kind::folderGone;
  }
  if (mask & (IN_DELETE | IN_MOVED_FROM)) return FolderEvent::Kind::disappeared;
  if (mask & IN_CLOSE_WRITE) return FolderEvent::Kind::changed;
  if (mask & (IN_MOVED_TO | IN_CREATE)) return FolderEvent::Kind::appeared;
  return std::nullopt;
}

struct Sink {
  std::shared_ptr<TaskRunner> runner;
  std::function<void(const FolderEvent&)> onEvent;
  bool ended = false;  // touched on `runner` alone
};

void deliver(const std::shared_ptr<Sink>& sink, FolderEvent event) {
  sink->runner->post([sink, event = std::move(event)] {
    if (!sink->ended) sink->onEvent(event);
  });
}

}  // namespace

/// Who wants to hear of which folder. Shared by the watcher, its thread and the watches, any of
/// which may go first.
class InotifyWatcher::Sinks {
 public:
  explicit Sinks(AddWatch addWatch) : addWatch_(std::move(addWatch)) {}

  FileDescriptor queue{::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)};

  Result<int> add(const Path& folder, const std::shared_ptr<Sink>& sink) {
    // The folder may be slow to answer, for which nobody else waits. The same folder has the same
    // number for everybody: meanwhile none is given up, and no event is thrown away.
    std::unique_lock lock(mutex_);
    ++adding_;
    lock.unlock();
    const auto number = addWatch_(queue.number(), folder, wanted);
    lock.lock();
    if (number) byNumber_.emplace(*number, sink);
    for (const auto& [from, event] : early_) {
      if (number && from == *number) deliver(sink, event);
    }
    if (--adding_ == 0) {
      early_.clear();
      for (const int left : std::exchange(left_, {})) {
        if (!byNumber_.contains(left)) ::inotify_rm_watch(queue.number(), left);
      }
    }
    if (!number && number.error().kind == FailureKind::noSpace) {
      return failed(FailureKind::tooLarge, "the system's folder watches are used up");
    }
    return number;
  }

  void remove(int number, const std::shared_ptr<Sink>& sink) {
    const std::lock_guard lock(mutex_);
    const auto [begin, end] = byNumber_.equal_range(number);
    for (auto found = begin; found != end; ++found) {
      if (found->second != sink) continue;
      byNumber_.erase(found);
      if (!byNumber_.contains(number)) giveUp(number);
      return;
    }
  }

  void notify(int number, const FolderEvent& event) {
    const std::lock_guard lock(mutex_);
    const bool isGone = event.kind == FolderEvent::Kind::folderGone;
    if (adding_ > 0 && !byNumber_.contains(number)) early_.emplace_back(number, event);
    for (auto [found, end] = byNumber_.equal_range(number); found != end;) {
      deliver(found->second, event);
      found = isGone ? byNumber_.erase(found) : std::next(found);
    }
    // A folder that was moved would go on being watched under the path it had.
    if (isGone) giveUp(number);
  }

  void notifyAll(const FolderEvent& event) {
    const std::lock_guard lock(mutex_);
    for (const auto& [number, sink] : byNumber_) deliver(sink, event);
  }

 private:
  void giveUp(int number) {
    if (adding_ > 0) {
      left_.insert(number);
    } else {
      ::inotify_rm_watch(queue.number(), number);
    }
  }

  AddWatch addWatch_;
  std::mutex mutex_;
  std::multimap<int, std::shared_ptr<Sink>> byNumber_;
  int adding_ = 0;
  std::set<int> left_;                              // to be given up when nothing is added
  std::vector<std::pair<int, FolderEvent>> early_;  // of folders that are being added
};

class InotifyWatcher::Watch final : public FolderWatch {
 public:
  Watch(std::shared_ptr<Sinks> sinks, int number, std::shared_ptr<Sink> sink)
      : sinks_(std::move(sinks)), number_(number), sink_(std::move(sink)) {}
  ~Watch() override {
    sink_->ended = true;
    sinks_->remove(number_, sink_);
  }

 private:
  std::shared_ptr<Sinks> sinks_;
  int number_;
  std::shared_ptr<Sink> sink_;
};

InotifyWatcher::InotifyWatcher(AddWatch addWatch)
    : sinks_(std::make_shared<Sinks>(std::move(addWatch))), stop_(::eventfd(0, EFD_CLOEXEC)) {
  if (!sinks_->queue.isOpen() || !stop_.isOpen()) return;
  thread_ = std::jthread([sinks = sinks_, stop = stop_.number()] {
    alignas(inotify_event) std::array<char, 16384> buffer;
    while (true) {
      std::array<pollfd, 2> waits{{{sinks->queue.number(), POLLIN, 0}, {stop, POLLIN, 0}}};
      if (::poll(waits.data(), waits.size(), -1) == -1 && errno != EINTR) return;
      if (waits[1].revents != 0) return;
      const ssize_t got = ::read(sinks->queue.number(), buffer.data(), buffer.size());
      for (ssize_t at = 0; at < got;) {
        inotify_event event{};
        std::memcpy(&event, buffer.data() + at, sizeof event);
        const char* const name = buffer.data() + at + sizeof event;
        at += static_cast<ssize_t>(sizeof event + event.len);
        if (event.mask & IN_Q_OVERFLOW) {
          sinks->notifyAll({.kind = FolderEvent::Kind::overflowed});
        } else if (const auto kind = kindOf(event.mask)) {
          sinks->notify(event.wd,
                        {*kind, event.len > 0 ? std::string(name) : std::string(), event.cookie});
        }
      }
    }
  });
}

InotifyWatcher::~InotifyWatcher() {
  if (!thread_.joinable()) return;
  const std::uint64_t one = 1;
  while (::write(stop_.number(), &one, sizeof one) == -1 && errno == EINTR) {
  }
}

Result<std::unique_ptr<FolderWatch>> InotifyWatcher::watch(
    const Path& folder, std::shared_ptr<TaskRunner> runner,
    std::function<void(const FolderEvent&)> onEvent) {
  if (!thread_.joinable()) {
    return failed(FailureKind::unsupported, "the system cannot watch folders");
  }
  auto sink = std::make_shared<Sink>(Sink{std::move(runner), std::move(onEvent)});
  const int number = VT_TRY(sinks_->add(folder, sink));
  return std::make_unique<Watch>(sinks_, number, std::move(sink));
}

}  // namespace vantorel
