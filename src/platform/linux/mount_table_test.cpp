#include "platform/linux/mount_table.hpp"

#include <gtest/gtest.h>
#include <sys/mount.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace vantorel {
namespace {

TEST(MountTableTest, ReadsTheTableOfMounts) {
  const auto mounts = mountsIn(
      "22 27 0:21 / /proc rw,relatime - proc proc rw\n"
      "27 1 8:1 / / rw - ext4 /dev/sda1 rw\n"
      "31 27 8:17 /shots /home/me/my\\040disk rw shared:1 master:2 - ext4 /dev/sdb1 rw\n"
      "310 27 0:50 / /home/me/nas rw - nfs4 server:/share rw\n"
      "311 27 0:52 / /home/me/nas rw - ext4 /dev/sdc1 rw\n"
      "33 27 0:51 / /odd\n");
  const auto disk = findMount(mounts, 31);
  ASSERT_TRUE(disk.has_value());
  EXPECT_EQ(disk->deviceMajor, 8U);
  EXPECT_EQ(disk->deviceMinor, 17U);
  EXPECT_EQ(disk->root, "/shots");
  EXPECT_EQ(disk->mountPoint, "/home/me/my disk");
  EXPECT_EQ(disk->type, "ext4");
  EXPECT_EQ(findMount(mounts, 310)->source, "server:/share");
  EXPECT_FALSE(findMount(mounts, 3).has_value());
  EXPECT_FALSE(findMount(mounts, 33).has_value());
  EXPECT_TRUE(mountsIn("").empty());

  EXPECT_EQ(mountOf(mounts, "/home/me/my disk/a/b")->id, 31U);
  EXPECT_EQ(mountOf(mounts, "/home/me/my disks")->id, 27U);
  EXPECT_EQ(mountOf(mounts, "/home/me/nas")->id, 311U) << "what was mounted over it";
  EXPECT_EQ(mountOf(mounts, "/")->id, 27U);
  EXPECT_EQ(mountOf(mounts, "relative"), nullptr);
}

TEST(MountTableTest, WhatIsMountedNowIsKnownNow) {
  std::string folder = (std::filesystem::temp_directory_path() / "vantorel-table-XXXXXX").string();
  ASSERT_NE(::mkdtemp(folder.data()), nullptr);
  for (int round = 0; round < 2; ++round) {
    EXPECT_NE(mountOf(*mountsNow(), folder)->mountPoint, folder);
    ASSERT_EQ(::mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=64k"), 0) << std::strerror(errno);
    EXPECT_EQ(mountOf(*mountsNow(), folder)->mountPoint, folder);
    ASSERT_EQ(::umount(folder.c_str()), 0);
  }
  std::filesystem::remove(folder);
}

}  // namespace
}  // namespace vantorel
