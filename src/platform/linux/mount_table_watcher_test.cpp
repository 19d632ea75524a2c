#include "platform/linux/mount_table_watcher.hpp"

#include <gtest/gtest.h>
#include <sys/mount.h>

#include <cstring>
#include <filesystem>

#include "platform/linux/loop_runner.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;

TEST(MountTableWatcherTest, TellsOfEveryMountAndUnmountUntilGivenUp) {
  std::string folder = (std::filesystem::temp_directory_path() / "vantorel-mount-XXXXXX").string();
  ASSERT_NE(::mkdtemp(folder.data()), nullptr);
  LoopRunner loop;
  MountTableWatcher watcher;
  int reported = 0;
  auto watch = watcher.watch(loop.runner(), [&] {
    ++reported;
    loop.quit();
  });
  ASSERT_TRUE(watch.has_value()) << watch.error().reason;
  const auto isReported = [&] {
    const int before = reported;
    loop.runner()->postAfter(5s, [&] { loop.quit(); });
    loop.run();
    return reported > before;
  };
  for (int round = 0; round < 3; ++round) {
    ASSERT_EQ(::mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=64k"), 0) << std::strerror(errno);
    EXPECT_TRUE(isReported()) << "mounting, round " << round;
    ASSERT_EQ(::umount(folder.c_str()), 0);
    EXPECT_TRUE(isReported()) << "unmounting, round " << round;
  }
  watch->reset();
  const int before = reported;
  ASSERT_EQ(::mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=64k"), 0);
  ASSERT_EQ(::umount(folder.c_str()), 0);
  loop.runner()->postAfter(100ms, [&] { loop.quit(); });
  loop.run();
  EXPECT_EQ(reported, before);
  std::filesystem::remove(folder);
}

}  // namespace
}  // namespace vantorel
