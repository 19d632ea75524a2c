#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "library/history_index_file.hpp"
#include "platform/linux/linux_image_codec.hpp"
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

/// The built program on a private desktop, with a library of its own.
class Vantorel {
 public:
  explicit Vantorel(TestDesktop& desktop) : desktop_(desktop) {}

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
