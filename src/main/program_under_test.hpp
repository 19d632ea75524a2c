#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "library/history_index_file.hpp"
#include "platform/linux/file_descriptor.hpp"
#include "platform/linux/linux_image_codec.hpp"
#include "platform/testing/desktop/test_client.hpp"
#include "platform/testing/desktop/test_desktop.hpp"

namespace vantorel {

inline std::string readAll(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline std::vector<std::string> namesIn(const std::filesystem::path& folder) {
  std::vector<std::string> names;
  if (!std::filesystem::exists(folder)) return names;
  for (const auto& item : std::filesystem::directory_iterator(folder)) {
    names.push_back(item.path().filename());
  }
  return names;
}

/// A file system of its own, mounted for as long as this lives.
class MountedFolder {
 public:
  MountedFolder(std::filesystem::path folder, const char* options) : folder_(std::move(folder)) {
    std::filesystem::create_directories(folder_);
    mount(options);
  }
  ~MountedFolder() { unmount(); }

  void mount(const char* options) {
    isMounted_ = ::mount("tmpfs", folder_.c_str(), "tmpfs", 0, options) == 0;
    EXPECT_TRUE(isMounted_) << std::strerror(errno);
  }
  void unmount() {
    if (!std::exchange(isMounted_, false)) return;
    EXPECT_EQ(::umount2(folder_.c_str(), MNT_DETACH), 0) << std::strerror(errno);
  }
  [[nodiscard]] const std::filesystem::path& path() const { return folder_; }

 private:
  std::filesystem::path folder_;
  bool isMounted_ = false;
};

/// A PNG as far as its beginning and its end tell, with this text between them.
inline std::string pictureHolding(std::string_view text) {
  using namespace std::string_view_literals;
  return std::string("\x89PNG\r\n\x1A\n\0\0\0\x0D"sv)
      .append(text)
      .append("\0\0\0\0IEND\xAE\x42\x60\x82"sv);
}

/// Hears what happens to the files of some folders, and waits for it.
class FileWatch {
 public:
  explicit FileWatch(const std::vector<std::filesystem::path>& folders)
      : events_(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
    for (const auto& folder : folders) {
      EXPECT_NE(::inotify_add_watch(events_.number(), folder.c_str(),
                                    IN_ALL_EVENTS & ~(IN_ACCESS | IN_OPEN | IN_CLOSE_NOWRITE)),
                -1)
          << folder << ": " << std::strerror(errno);
    }
  }

  /// Asks `condition` now and after each change; false when it does not come to hold.
  [[nodiscard]] bool waitUntil(const std::function<bool()>& condition) {
    while (!condition()) {
      if (next(-1) == 0) return condition();
    }
    return true;
  }

  /// Waits for changes, or for the end of `process`, and answers how many there were; none at its
  /// end, or when nothing happens for twenty seconds.
  [[nodiscard]] std::size_t next(pid_t process) {
    const FileDescriptor handle(
        process < 0 ? -1 : static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
    std::array<pollfd, 2> waited{{{events_.number(), POLLIN, 0}, {handle.number(), POLLIN, 0}}};
    if (::poll(waited.data(), waited.size(), 20'000) <= 0) return 0;
    alignas(inotify_event) std::array<char, 4096> bytes{};
    const auto length = ::read(events_.number(), bytes.data(), bytes.size());
    std::size_t count = 0;
    for (std::ptrdiff_t at = 0; at < length; ++count) {
      const auto* const event =
          reinterpret_cast<const inotify_event*>(&bytes[static_cast<std::size_t>(at)]);
      at += static_cast<std::ptrdiff_t>(sizeof(inotify_event) + event->len);
    }
    return count;
  }

 private:
  FileDescriptor events_;
};

/// The built program on a private desktop, with a library of its own.
class Vantorel {
 public:
  /// Its library has seen the first start, whose window would be in the way.
  explicit Vantorel(TestDesktop& desktop) : desktop_(desktop) {
    std::filesystem::create_directories(root());
    std::ofstream(root() / "settings.json") << R"({"hasCompletedOnboarding":true})";
  }

  [[nodiscard]] std::vector<std::string> command(std::vector<std::string> arguments) const {
    std::vector<std::string> all{VANTOREL_PROGRAM, "--root", root().string()};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return all;
  }

  [[nodiscard]] ChildProcess start(std::vector<std::string> arguments) const {
    return desktop_.start(command(std::move(arguments)));
  }

  [[nodiscard]] ChildOutcome run(std::vector<std::string> arguments) const {
    return start(std::move(arguments)).wait();
  }

  /// Starts the program in the tray and waits until it runs the commands of others.
  [[nodiscard]] ChildProcess startTray(TestClient& client) const {
    ChildProcess tray = start({});
    while (!client.isOwned("CLIPBOARD")) {
      EXPECT_EQ(run({"capture", "display"}).status, 0);
      EXPECT_TRUE(tray.isRunning()) << tray.errorText();
      if (testing::Test::HasFailure()) break;
    }
    return tray;
  }

  [[nodiscard]] std::filesystem::path root() const { return desktop_.folder() / "library"; }
  [[nodiscard]] std::filesystem::path captures() const { return root() / "Captures"; }

  [[nodiscard]] EntryList entries() const {
    auto index = decodeIndex(readAll(root() / "history.json"));
    return index ? index->file.entries : EntryList{};
  }

  /// The picture whose path the command printed.
  [[nodiscard]] static Image picture(const ChildOutcome& outcome) {
    std::string path = outcome.out;
    if (path.empty() || outcome.status != 0) {
      ADD_FAILURE() << outcome.status << " " << outcome.err;
      return {};
    }
    path.pop_back();
    const auto image = LinuxImageCodec().decode(readAll(path));
    if (image) return *image;
    ADD_FAILURE() << path << ": " << image.error().reason;
    return {};
  }

  /// Every file is in the index and whole, every entry has its file, nothing is left over.
  void expectWhole() const {
    const EntryList all = entries();
    EXPECT_EQ(all.size(), namesIn(captures()).size());
    EXPECT_THAT(namesIn(root() / "Staged Captures"), testing::IsEmpty());
    for (const EntryPointer& entry : all) {
      EXPECT_TRUE(LinuxImageCodec().decode(readAll(entry->path)).has_value()) << entry->path;
    }
  }

 private:
  TestDesktop& desktop_;
};

}  // namespace vantorel
