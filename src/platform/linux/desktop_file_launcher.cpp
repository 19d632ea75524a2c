#include "platform/linux/desktop_file_launcher.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <sdbus-c++/sdbus-c++.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "base/log.hpp"
#include "base/round_trip.hpp"

namespace vantorel {
namespace {

constexpr std::chrono::seconds fileManagerBound{5};
constexpr const char* fileManager = "org.freedesktop.FileManager1";

/// RFC 3986: bytes that are neither unreserved nor a slash become %XX.
std::string uriOf(const Path& file) {
  std::string uri = "file://";
  for (const char c : file.string()) {
    const auto byte = static_cast<unsigned char>(c);
    const bool isPlain = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
                         (byte >= '0' && byte <= '9') || std::string_view("-._~/").contains(c);
    uri += isPlain ? std::string(1, c) : fmt::format("%{:02X}", byte);
  }
  return uri;
}

/// The program found may show the file itself and stay for as long: nobody waits for it.
Result<void> openWithDesktop(const Path& file) {
  std::string name = file.string();
  std::string shell = "sh";
  std::string option = "-c";
  std::string words =
      "command -v xdg-open >/dev/null || exit 127; setsid xdg-open \"$1\" >/dev/null 2>&1 &";
  std::array<char*, 6> argv{shell.data(), option.data(), words.data(),
                            shell.data(), name.data(),   nullptr};
  posix_spawnattr_t how;
  posix_spawnattr_init(&how);
  posix_spawnattr_setflags(&how, POSIX_SPAWN_SETSIGMASK);
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_setsigmask(&how, &none);
  pid_t child = 0;
  const int error = posix_spawn(&child, "/bin/sh", nullptr, &how, argv.data(), environ);
  posix_spawnattr_destroy(&how);
  if (error != 0) return failed(FailureKind::other, std::strerror(error));
  int status = 0;
  while (waitpid(child, &status, 0) == -1 && errno == EINTR) {
  }
  if (WIFEXITED(status) && WEXITSTATUS(status) == 127) {
    return failed(FailureKind::unsupported, "xdg-open is not installed");
  }
  return {};
}

Result<void> showInFileManager(const std::vector<Path>& files) {
  std::vector<std::string> uris;
  uris.reserve(files.size());
  for (const Path& file : files) uris.push_back(uriOf(file));
  try {
    const auto connection = sdbus::createSessionBusConnection();
    sdbus::createProxy(*connection, fileManager, "/org/freedesktop/FileManager1")
        ->callMethod("ShowItems")
        .onInterface(fileManager)
        .withTimeout(fileManagerBound)
        .withArguments(uris, std::string());
    return {};
  } catch (const sdbus::Error& error) {
    logInfo("FileLauncher", "no file manager shows it: {}", error.what());
  }
  return openWithDesktop(files.front().parent_path());
}

}  // namespace

void DesktopFileLauncher::open(const Path& file, Done done) {
  roundTrip(
      *queue_, main_, [file] { return openWithDesktop(file); }, lifetime_.guard(std::move(done)));
}

void DesktopFileLauncher::reveal(const std::vector<Path>& files, Done done) {
  if (files.empty()) return;
  roundTrip(
      *queue_, main_, [files] { return showInFileManager(files); },
      lifetime_.guard(std::move(done)));
}

}  // namespace vantorel
