#pragma once

#include <fcntl.h>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

namespace vantorel {

/// A file system that never answers, as that of a server which went: the program behind it, this
/// one, reads no question. Only the superuser can mount it.
class StuckMount {
 public:
  explicit StuckMount(std::filesystem::path folder)
      : folder_(std::move(folder)), channel_(::open("/dev/fuse", O_RDWR | O_CLOEXEC)) {
    std::filesystem::create_directories(folder_);
    const std::string options = fmt::format("fd={},rootmode=40000,user_id=0,group_id=0", channel_);
    isMounted_ = ::mount("server:/share", folder_.c_str(), "fuse.stuck", MS_NOSUID | MS_NODEV,
                         options.c_str()) == 0;
    EXPECT_TRUE(isMounted_) << std::strerror(errno);
  }
  StuckMount(const StuckMount&) = delete;
  StuckMount& operator=(const StuckMount&) = delete;
  ~StuckMount() { end(); }

  /// Whoever waits is told that there is no connection any more.
  void end() {
    if (!std::exchange(isMounted_, false)) return;
    ::close(channel_);
    EXPECT_EQ(::umount2(folder_.c_str(), MNT_DETACH), 0) << std::strerror(errno);
  }

 private:
  std::filesystem::path folder_;
  int channel_;
  bool isMounted_ = false;
};

}  // namespace vantorel
