#include "platform/linux/file_server_process.hpp"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

namespace vantorel {
namespace {

/// So many looks may hang before a process is given up that answers others.
constexpr int maximumGivenUp = 8;
/// So many connections are kept for the next request.
constexpr std::size_t maximumIdle = 8;

/// A machine may be so busy that a program needs long to start.
constexpr std::chrono::nanoseconds startBound = std::chrono::seconds(10);

}  // namespace

std::unexpected<Failure> serverSilence() {
  return failed(FailureKind::unreachable, "it does not answer");
}

/// What the thread that waits for the end knows. Outlives the object.
struct FileServerProcess::Life {
  std::mutex mutex;
  bool isStopped = false;
  bool hasEnded = false;

  void waitForEnd(pid_t process) {
    siginfo_t ended{};
    while (::waitid(P_PID, static_cast<id_t>(process), &ended, WEXITED | WNOWAIT) == -1 &&
           errno == EINTR) {
    }
    // From here on the number may go to another process.
    const std::scoped_lock lock(mutex);
    hasEnded = true;
    ::waitpid(process, nullptr, WNOHANG);
  }
};

Result<std::shared_ptr<FileServerProcess>> FileServerProcess::start(
    const std::vector<std::string>& command) {
  auto ends = MessageSocket::makePair();
  if (!ends) return failed(FailureKind::other, std::strerror(errno));
  std::vector<std::string> words = command;
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);

  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_adddup2(&files, ends->second.number(), STDIN_FILENO);
  for (const int standard : {STDOUT_FILENO, STDERR_FILENO}) {
    posix_spawn_file_actions_addopen(&files, standard, "/dev/null", O_RDWR, 0);
  }
  posix_spawn_file_actions_addclosefrom_np(&files, STDERR_FILENO + 1);
  posix_spawnattr_t how;
  posix_spawnattr_init(&how);
  posix_spawnattr_setflags(&how, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK);
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_setsigmask(&how, &none);
  pid_t process = 0;
  const int error = posix_spawn(&process, words[0].c_str(), &files, &how, argv.data(), environ);
  posix_spawnattr_destroy(&how);
  posix_spawn_file_actions_destroy(&files);
  if (error != 0) return failed(FailureKind::other, std::strerror(error));
  return std::make_shared<FileServerProcess>(process, std::move(ends->first));
}

FileServerProcess::FileServerProcess(pid_t process, MessageSocket control)
    : process_(process), life_(std::make_shared<Life>()), control_(std::move(control)) {
  try {
    std::thread([life = life_, process] { life->waitForEnd(process); }).detach();
  } catch (const std::system_error&) {
    // Without a thread nobody hears of its end.
    stop();
  }
}

bool FileServerProcess::isServing() const {
  const std::scoped_lock lock(life_->mutex);
  return !life_->isStopped && !life_->hasEnded;
}

bool FileServerProcess::hasEnded() const {
  const std::scoped_lock lock(life_->mutex);
  return life_->hasEnded;
}

void FileServerProcess::stop() {
  const std::scoped_lock lock(life_->mutex);
  if (!life_->isStopped && !life_->hasEnded) ::kill(process_, SIGKILL);
  life_->isStopped = true;
}

std::optional<FileServerProcess::Connection> FileServerProcess::connection() {
  const std::scoped_lock lock(mutex_);
  if (!idle_.empty()) {
    MessageSocket last = std::move(idle_.back());
    idle_.pop_back();
    return Connection{std::move(last)};
  }
  auto ends = MessageSocket::makePair();
  if (!ends || !control_.sendDescriptor(ends->second.number())) return std::nullopt;
  return Connection{std::move(ends->first), true};
}

void FileServerProcess::giveBack(MessageSocket connection) {
  const std::scoped_lock lock(mutex_);
  lastSign_ = std::chrono::steady_clock::now();
  if (idle_.size() < maximumIdle) idle_.push_back(std::move(connection));
}

Result<std::string> FileServerProcess::ask(std::string_view request, std::chrono::nanoseconds bound,
                                           IfSilent ifSilent, int descriptor) {
  auto last = std::chrono::steady_clock::now();
  auto to = connection();
  if (!to) return serverSilence();
  MessageSocket& socket = to->socket;
  auto sent = socket.send(request, bound);
  if (sent && descriptor != -1) sent = socket.sendDescriptor(descriptor);
  while (sent) {
    // The first sign of a new connection says that the process listens.
    auto received =
        socket.receive(std::exchange(to->isNew, false) ? std::max(bound, startBound) : bound);
    if (received && !received->empty()) {
      giveBack(std::move(socket));
      return *std::move(received);
    }
    if (!received) sent = std::unexpected(received.error());
    const std::scoped_lock lock(mutex_);
    if (sent) lastSign_ = last = std::chrono::steady_clock::now();
  }
  if (sent.error() == MessageSocket::Fault::silence) {
    const std::scoped_lock lock(mutex_);
    const bool othersAreAnswered = lastSign_ > last && ++givenUp_ < maximumGivenUp;
    if (ifSilent == IfSilent::stop || !othersAreAnswered) stop();
  }
  return serverSilence();
}

void FileServerProcess::notify(std::string_view request) {
  if (!isServing()) return;
  auto to = connection();
  if (to && to->socket.send(request, std::chrono::nanoseconds(0)) && !to->isNew) {
    const std::scoped_lock lock(mutex_);
    if (idle_.size() < maximumIdle) idle_.push_back(std::move(to->socket));
  }
}

}  // namespace vantorel
