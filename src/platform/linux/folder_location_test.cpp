#include "platform/linux/folder_location.hpp"

#include <gtest/gtest.h>
#include <sys/mount.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "platform/linux/linux_files.hpp"

namespace vantorel {
namespace {

TEST(FolderLocationTest, AFolderIsKnownWhereverItsFileSystemIsMounted) {
  std::string root = (std::filesystem::temp_directory_path() / "vantorel-place-XXXXXX").string();
  ASSERT_NE(::mkdtemp(root.data()), nullptr);
  const Path one = Path(root) / "one";
  const Path other = Path(root) / "other place";
  std::filesystem::create_directories(one);
  std::filesystem::create_directories(other / "below");
  LinuxFiles files;
  const auto plain = files.location(other);
  ASSERT_TRUE(plain.has_value());
  EXPECT_TRUE(plain->folder.ends_with("/other place")) << plain->folder;

  ASSERT_EQ(::mount("tmpfs", one.c_str(), "tmpfs", 0, "size=1m"), 0) << std::strerror(errno);
  std::filesystem::create_directories(one / "shots");
  const auto mounted = files.location(one / "shots");
  ASSERT_TRUE(mounted.has_value());
  EXPECT_EQ(mounted->folder, "/shots");
  EXPECT_NE(mounted->volume, plain->volume);
  // A folder of it, seen elsewhere.
  ASSERT_EQ(::mount((one / "shots").c_str(), other.c_str(), nullptr, MS_BIND, nullptr), 0);
  EXPECT_EQ(files.location(other).value(), *mounted);

  // Taken away while it is held: what is done in it is done in it.
  auto held = files.hold(other);
  ASSERT_TRUE(held.has_value());
  ASSERT_EQ(::umount2(other.c_str(), MNT_DETACH), 0);
  EXPECT_FALSE(files.location((*held)->path()).has_value());
  EXPECT_EQ(files.location(other).value(), *plain);
  ASSERT_TRUE(
      files.create((*held)->path() / "a", "x", Privacy::byUmask, Durability::visible).has_value());
  EXPECT_TRUE(std::filesystem::exists(one / "shots" / "a"));
  EXPECT_FALSE(std::filesystem::exists(other / "a"));
  held->reset();

  // The next one of its kind is another one.
  ASSERT_EQ(::umount(one.c_str()), 0);
  ASSERT_EQ(::mount("tmpfs", one.c_str(), "tmpfs", 0, "size=1m"), 0);
  EXPECT_NE(files.location(one)->volume, mounted->volume);
  ASSERT_EQ(::umount(one.c_str()), 0);
  EXPECT_EQ(files.location(Path(root) / "none").error().kind, FailureKind::notFound);
  std::filesystem::remove_all(root);
}

}  // namespace
}  // namespace vantorel
