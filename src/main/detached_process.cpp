#include "main/detached_process.hpp"

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

namespace vantorel {

Result<void> startDetached(const std::vector<std::string>& arguments, int descriptor) {
  std::vector<std::string> words{"vantorel"};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);

  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  for (const int standard : {STDIN_FILENO, STDOUT_FILENO}) {
    if (descriptor >= 0) {
      posix_spawn_file_actions_adddup2(&files, descriptor, standard);
    } else {
      posix_spawn_file_actions_addopen(&files, standard, "/dev/null", O_RDWR, 0);
    }
  }
  posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_RDWR, 0);
  posix_spawnattr_t how;
  posix_spawnattr_init(&how);
  posix_spawnattr_setflags(&how, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK);
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_setsigmask(&how, &none);
  pid_t child = 0;
  const int error = posix_spawn(&child, "/proc/self/exe", &files, &how, argv.data(), environ);
  posix_spawnattr_destroy(&how);
  posix_spawn_file_actions_destroy(&files);
  if (error != 0) return failed(FailureKind::other, std::strerror(error));
  return {};
}

}  // namespace vantorel
