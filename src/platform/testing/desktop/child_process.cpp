#include "platform/testing/desktop/child_process.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <thread>
#include <utility>

namespace vantorel {
namespace {

std::string findProgram(const std::string& name) {
  if (name.find('/') != std::string::npos) return name;
  const char* path = std::getenv("PATH");
  std::string rest = path != nullptr ? path : "/usr/bin:/bin";
  for (std::size_t start = 0; start <= rest.size();) {
    const std::size_t end = std::min(rest.find(':', start), rest.size());
    std::string candidate = rest.substr(start, end - start) + "/" + name;
    if (access(candidate.c_str(), X_OK) == 0) return candidate;
    start = end + 1;
  }
  throw std::runtime_error(fmt::format(
      "the program \"{}\" is not installed; packaging/debian-packages.txt lists what tests need",
      name));
}

std::string wholeText(int file) {
  std::string text(static_cast<std::size_t>(lseek(file, 0, SEEK_END)), '\0');
  const ssize_t got = pread(file, text.data(), text.size(), 0);
  text.resize(got < 0 ? 0 : static_cast<std::size_t>(got));
  return text;
}

}  // namespace

ChildProcess::ChildProcess(std::vector<std::string> arguments, const ChildEnvironment& environment)
    : ChildProcess(std::move(arguments), environment, -1) {}

ChildProcess::ChildProcess(std::vector<std::string> arguments, const ChildEnvironment& environment,
                           int descriptor)
    : name_(arguments.at(0)) {
  const std::string program = findProgram(name_);
  std::vector<char*> argv;
  for (auto& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  std::vector<std::string> lines;
  for (const auto& [key, value] : environment) lines.push_back(fmt::format("{}={}", key, value));
  std::vector<char*> envp;
  for (auto& line : lines) envp.push_back(line.data());
  envp.push_back(nullptr);

  outFile_ = memfd_create("child-out", MFD_CLOEXEC);
  errFile_ = memfd_create("child-err", MFD_CLOEXEC);
  const pid_t parent = getpid();
  pid_ = fork();
  if (pid_ < 0) throw std::runtime_error("fork failed");
  if (pid_ == 0) {
    // Only async-signal-safe calls from here on: the parent may have threads.
    setpgid(0, 0);
    // A background job's children are begun with these ignored.
    for (const int ending : {SIGINT, SIGQUIT, SIGHUP}) ::signal(ending, SIG_DFL);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(126);
    const int null = open("/dev/null", O_RDONLY);
    if (descriptor >= 0) dup2(descriptor, 3);
    dup2(null, 0);
    dup2(outFile_, 1);
    dup2(errFile_, 2);
    execve(program.c_str(), argv.data(), envp.data());
    _exit(127);
  }
  setpgid(pid_, pid_);
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept
    : name_(std::move(other.name_)),
      pid_(std::exchange(other.pid_, -1)),
      outFile_(std::exchange(other.outFile_, -1)),
      errFile_(std::exchange(other.errFile_, -1)),
      ended_(other.ended_),
      status_(other.status_) {}

ChildProcess::~ChildProcess() {
  if (pid_ < 0) return;
  kill(-pid_, SIGKILL);
  if (!ended_) reap(true);
  close(outFile_);
  close(errFile_);
}

bool ChildProcess::reap(bool block) {
  int status = 0;
  pid_t got = 0;
  do {
    got = waitpid(pid_, &status, block ? 0 : WNOHANG);
  } while (got < 0 && errno == EINTR);
  if (got == 0) return false;
  ended_ = true;
  status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return true;
}

bool ChildProcess::isRunning() { return !ended_ && !reap(false); }

void ChildProcess::signal(int signal) const {
  kill(pid_, signal);
  // Its other threads go on for a moment.
  siginfo_t stopped{};
  if (signal == SIGSTOP)
    waitid(P_PID, static_cast<id_t>(pid_), &stopped, WSTOPPED | WEXITED | WNOWAIT);
}

ChildOutcome ChildProcess::wait(std::chrono::milliseconds bound) {
  const auto end = std::chrono::steady_clock::now() + bound;
  while (isRunning()) {
    if (std::chrono::steady_clock::now() > end) {
      throw std::runtime_error(fmt::format("\"{}\" did not end within {} ms; it said: {}", name_,
                                           bound.count(), errorText()));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return {status_, wholeText(outFile_), wholeText(errFile_)};
}

void ChildProcess::waitForError(std::string_view text, std::chrono::milliseconds bound) {
  const auto end = std::chrono::steady_clock::now() + bound;
  while (true) {
    const bool canSayMore = isRunning() && std::chrono::steady_clock::now() < end;
    if (errorText().find(text) != std::string::npos) return;
    if (!canSayMore) {
      throw std::runtime_error(
          fmt::format("\"{}\" did not say \"{}\"; it said: {}", name_, text, errorText()));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

std::string ChildProcess::errorText() const { return wholeText(errFile_); }

}  // namespace vantorel
