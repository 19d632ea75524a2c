#include "platform/linux/program_output.hpp"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "platform/linux/file_descriptor.hpp"

namespace vantorel {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

std::optional<pid_t> startPrintingTo(int pipe, const std::vector<std::string>& command) {
  std::vector<std::string> words = command;
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&files, pipe, STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawnattr_t how;
  posix_spawnattr_init(&how);
  posix_spawnattr_setflags(&how, POSIX_SPAWN_SETSIGMASK);
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_setsigmask(&how, &none);
  pid_t child = 0;
  const int error =
      posix_spawnp(&child, words.front().c_str(), &files, &how, arguments.data(), environ);
  posix_spawnattr_destroy(&how);
  posix_spawn_file_actions_destroy(&files);
  if (error != 0) return std::nullopt;
  return child;
}

/// Nothing when it takes too long.
std::optional<std::string> readToEnd(int pipe, steady_clock::time_point end) {
  std::string all;
  std::array<char, 4096> some{};
  for (;;) {
    const auto left = std::chrono::duration_cast<milliseconds>(end - steady_clock::now());
    pollfd waiting{pipe, POLLIN, 0};
    const int ready = poll(&waiting, 1, std::max(static_cast<int>(left.count()), 0));
    if (ready == 0) return std::nullopt;
    if (ready < 0 && errno != EINTR) return std::nullopt;
    if (ready < 0) continue;
    const ssize_t got = ::read(pipe, some.data(), some.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return std::nullopt;
    if (got == 0) return all;
    all.append(some.data(), static_cast<std::size_t>(got));
  }
}

}  // namespace

std::optional<std::string> programOutput(const std::vector<std::string>& command,
                                         milliseconds bound) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) return std::nullopt;
  const FileDescriptor from(ends[0]);
  std::optional<FileDescriptor> to(std::in_place, ends[1]);
  const auto child = startPrintingTo(ends[1], command);
  to.reset();
  if (!child) return std::nullopt;
  auto printed = readToEnd(ends[0], steady_clock::now() + bound);
  if (!printed) kill(*child, SIGKILL);
  int status = 0;
  while (waitpid(*child, &status, 0) == -1 && errno == EINTR) {
  }
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) return std::nullopt;
  return printed;
}

}  // namespace vantorel
