#include "platform/linux/remote_files.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <thread>

#include "platform/linux/remote_mounts.hpp"
#include "platform/linux/runtime_folder.hpp"
#include "platform/linux/system_error.hpp"
#include "platform/linux/x_authority.hpp"
#include "platform/testing/served_mount.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

std::string bytesIn(const Path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> namesIn(const Path& folder) {
  std::vector<std::string> names;
  for (const auto& item : std::filesystem::directory_iterator(folder)) {
    names.push_back(item.path().filename());
  }
  return names;
}

/// Whether a thread of this process waits so that nothing ends it.
bool isHeld() {
  return std::ranges::any_of(
      std::filesystem::directory_iterator("/proc/self/task"), [](const auto& task) {
        const std::string stat = bytesIn(task.path() / "stat");
        return stat.substr(std::min(stat.rfind(") ") + 2, stat.size()), 1) == "D";
      });
}

/// Much of it, and no part like another.
std::string manyBytes(std::size_t size) {
  std::string bytes;
  for (std::uint32_t i = 0; bytes.size() < size; ++i) {
    bytes.append(reinterpret_cast<const char*>(&i), sizeof i);
  }
  return bytes;
}

class RemoteFilesTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = (std::filesystem::temp_directory_path() / "vantorel-remote-XXXXXX").string();
    ASSERT_NE(::mkdtemp(name.data()), nullptr);
    root = name;
    std::ofstream(root / "here.png") << "pixels";
    // The thread sanitizer has a thread of its own from the first one on.
    std::thread([] {}).join();
    mount = std::make_unique<ServedMount>(root / "mount", root / "served");
  }
  void TearDown() override {
    mount.reset();
    std::filesystem::remove_all(root);
  }

  /// The processes that hung have ended, and were waited for.
  static void waitForEnds() {
    siginfo_t ended{};
    while (::waitid(P_ALL, 0, &ended, WEXITED | WNOHANG | WNOWAIT) == 0) {
      std::this_thread::yield();
    }
  }

  [[nodiscard]] static RemoteFiles files(std::chrono::nanoseconds bound) {
    return {{VANTOREL_FILE_SERVER}, {.look = bound, .change = bound}};
  }

  Path root;
  std::unique_ptr<ServedMount> mount;
};

TEST_F(RemoteFilesTest, AMountThatAnswersIsLikeADisk) {
  RemoteFiles files = this->files(20s);
  const Path folder = root / "mount" / "Shots";
  const Path served = root / "served" / "Shots";
  ASSERT_TRUE(files.makeFolder(folder, Privacy::byUmask));
  const std::string many = manyBytes(3 << 20);
  ASSERT_TRUE(files.create(folder / "a", many, Privacy::ownerOnly, Durability::flushed));
  EXPECT_TRUE(bytesIn(served / "a") == many);
  EXPECT_EQ(files.create(folder / "a", "x", Privacy::ownerOnly, Durability::visible).error().kind,
            FailureKind::exists);
  EXPECT_TRUE(files.read(folder / "a").value() == many);
  EXPECT_EQ(files.read(folder / "a", 100).error().kind, FailureKind::tooLarge);
  EXPECT_EQ(files.status(folder / "a")->mode, 0600U);
  EXPECT_EQ(files.status(folder / "a")->size, many.size());
  EXPECT_EQ(files.status(folder / "none").error().kind, FailureKind::notFound);
  ASSERT_TRUE(files.replace(folder / "a\xFF\n", "odd name", Privacy::byUmask));
  std::vector<std::string> names;
  const auto items = files.list(folder).value();
  for (const FolderItem& item : items) names.push_back(item.name);
  EXPECT_THAT(names, UnorderedElementsAre("a", "a\xFF\n"));

  // What was opened stays the same file, and is copied where it lies.
  const auto content = files.open(folder / "a").value();
  EXPECT_TRUE(content->read(1 << 20, 1 << 20).value() == many.substr(1 << 20, 1 << 20));
  EXPECT_FALSE(content->read(0, many.size() + 1).has_value());
  const auto here = files.open(root / "here.png").value();
  const auto parts =
      std::to_array<ContentPart>({{.bytes = "<"},
                                  {.source = content.get(), .offset = 4, .length = 1 << 20},
                                  {.source = here.get(), .offset = 0, .length = 6}});
  const std::string joined = "<" + many.substr(4, 1 << 20) + "pixels";
  const auto mayReplace = [] { return Result<void>(); };
  const auto refuse = []() -> Result<void> { return failed(FailureKind::busy, "not now"); };
  EXPECT_FALSE(files.replaceWithParts(folder / "a", parts, Privacy::ownerOnly, refuse));
  EXPECT_TRUE(bytesIn(served / "a") == many);
  const auto replaced =
      files.replaceWithParts(folder / "a", parts, Privacy::ownerOnly, mayReplace).value();
  EXPECT_TRUE(replaced->read(0, joined.size()).value() == joined);
  EXPECT_TRUE(bytesIn(served / "a") == joined);
  EXPECT_TRUE(content->read(0, 4).value() == many.substr(0, 4));
  ASSERT_TRUE(files.replaceWithParts(root / "there", parts, Privacy::ownerOnly, mayReplace));
  EXPECT_TRUE(bytesIn(root / "there") == joined);

  // Between it and a disk of this machine, by a folder's name and by what is held of it.
  const auto held = files.hold(folder).value();
  ASSERT_TRUE(files.copyNew(root / "there", held->path() / "b"));
  EXPECT_TRUE(bytesIn(served / "b") == joined);
  EXPECT_EQ(files.location(held->path()).value(), files.location(folder).value());
  const auto heldHere = files.hold(root).value();
  ASSERT_TRUE(files.copyNew(folder / "b", heldHere->path() / "back"));
  EXPECT_TRUE(bytesIn(root / "back") == joined);
  EXPECT_EQ(files.moveNew(root / "back", folder / "c").error().kind, FailureKind::unsupported);
  std::filesystem::rename(folder, root / "mount" / "Renamed");
  EXPECT_TRUE(files.moveNew(held->path() / "b", root / "mount" / "d"));
  EXPECT_TRUE(bytesIn(root / "served" / "d") == joined);
  EXPECT_EQ(files.attribute(root / "mount" / "d", "x").error().kind, FailureKind::unsupported);
  EXPECT_TRUE(files.flushFiles(std::vector<Path>{root / "mount" / "d", root / "mount" / "gone"}));

  // A lock is of the process that asked for it.
  auto lock = files.lock(root / "mount" / "lock").value();
  RemoteFiles others = this->files(20s);
  EXPECT_EQ(others.lock(root / "mount" / "lock").error().kind, FailureKind::busy);
  EXPECT_EQ(others.lockHolder(root / "mount" / "lock"), ::getpid());
  lock.reset();
  while (!others.lock(root / "mount" / "lock")) std::this_thread::yield();
}

TEST_F(RemoteFilesTest, WhatNeverAnswersHoldsAnotherProcessAlone) {
  RemoteFiles files = this->files(2s);
  const Path inside = root / "mount" / "Shots" / "a.png";
  std::filesystem::create_directory_symlink("mount/Shots", root / "link");
  EXPECT_EQ(files.status(inside).error().kind, FailureKind::notFound);
  mount->hang();

  // Nothing of what was to be done is done later.
  const auto first = files.replace(root / "mount" / "late", "x", Privacy::byUmask);
  ASSERT_FALSE(first.has_value());
  EXPECT_EQ(first.error().kind, FailureKind::unreachable);
  EXPECT_EQ(first.error().reason, "it does not answer");
  EXPECT_FALSE(isHeld());
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < 1000; ++i) EXPECT_FALSE(files.status(root / "link" / "a.png").has_value());
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 100s) << "each waited for by itself";
  const auto kinds = [](const auto&... answers) {
    return std::vector<FailureKind>{answers.error().kind...};
  };
  EXPECT_THAT(
      kinds(files.list(inside.parent_path()), files.hold(inside.parent_path()), files.open(inside),
            files.read(inside), files.resolved(inside), files.location(inside.parent_path()),
            files.makeFolder(inside, Privacy::byUmask), files.remove(inside),
            files.create(inside, std::string(1 << 20, 'x'), Privacy::byUmask, Durability::flushed),
            files.moveNew(root / "here.png", inside), files.copyNew(root / "here.png", inside),
            files.copyNew(inside, root / "there.png"), files.checkWritable(inside.parent_path()),
            files.flushFolder(inside.parent_path()), files.watch(-1, inside.parent_path(), 1)),
      testing::Each(FailureKind::unreachable));
  EXPECT_EQ(files.read(root / "here.png").value(), "pixels");

  // One hangs by itself.
  ServedMount second(root / "second", root / "served2");
  EXPECT_EQ(files.status(root / "second" / "b").error().kind, FailureKind::notFound);
  const auto held = files.hold(root / "second").value();
  second.hang();
  EXPECT_EQ(files.status(held->path() / "b").error().kind, FailureKind::unreachable);
  EXPECT_EQ(files.status(root / "second" / "b").error().kind, FailureKind::unreachable);
  EXPECT_FALSE(isHeld());

  mount->answer();
  second.end();
  waitForEnds();
  EXPECT_EQ(files.status(inside).error().kind, FailureKind::notFound) << "asked anew";
  EXPECT_THAT(namesIn(root / "served"), testing::IsEmpty());
  EXPECT_EQ(files.status(held->path() / "b").error().kind, FailureKind::unreachable)
      << "it went with its process";
}

// A server that lost its connection answers with an error although it has made the change.
TEST_F(RemoteFilesTest, AChangeWhoseReplyWasLostIsNotTakenForNotMade) {
  RemoteFiles files = this->files(20s);
  const Path folder = root / "mount";
  for (const int error : {EIO, EINTR, ECONNABORTED, ETIMEDOUT, ENOTCONN}) {
    SCOPED_TRACE(error);
    std::ofstream(root / "served" / "a.png") << "pixels";
    mount->loseReplies(error);
    const auto moved = files.moveNew(folder / "a.png", folder / "b.png");
    EXPECT_EQ(bytesIn(root / "served" / "b.png"), "pixels");
    EXPECT_EQ(moved.error().kind, FailureKind::unreachable);
    EXPECT_EQ(files.remove(folder / "b.png").error().kind, FailureKind::unreachable);
    EXPECT_THAT(namesIn(root / "served"), testing::IsEmpty());
    mount->loseReplies(0);
  }
  EXPECT_EQ(files.remove(folder / "none").error().kind, FailureKind::notFound);
  {
    const LostRepliesAreSilence ofThisThread;
    EXPECT_EQ(systemFailure(EIO).error().kind, FailureKind::unreachable);
    EXPECT_EQ(systemFailure(EACCES).error().kind, FailureKind::denied);
  }
  EXPECT_EQ(systemFailure(EIO).error().kind, FailureKind::other) << "of looks and local disks";
  EXPECT_EQ(systemFailure(ECONNABORTED).error().kind, FailureKind::unreachable)
      << "a look while the server of a FUSE mount dies";

  // Where an empty file holds the name for it, that is not taken away with the file in its place.
  mount->renamePlainly();
  std::ofstream(root / "served" / "a.png") << "pixels";
  mount->loseReplies(EIO);
  EXPECT_TRUE(files.moveNew(folder / "a.png", folder / "b.png").has_value());
  EXPECT_EQ(bytesIn(root / "served" / "b.png"), "pixels");
}

TEST_F(RemoteFilesTest, WhereTheFirstByteDoesNotComeNobodyWaitsAsForAChange) {
  RemoteFiles files({VANTOREL_FILE_SERVER}, {.look = 2s, .change = 1h});
  std::ofstream(root / "served" / "a.json") << "{}";
  mount->hangInReadsFrom(0);
  for (const std::uint64_t limit : {std::uint64_t{1000}, UINT64_MAX}) {
    EXPECT_EQ(files.read(root / "mount" / "a.json", limit).error().kind, FailureKind::unreachable);
  }
}

TEST_F(RemoteFilesTest, TheDisplaysAuthorityIsReadForTheLibrariesThatWouldHang) {
  RemoteFiles files = this->files(2s);
  const std::string before = [] {
    const char* const value = std::getenv("XAUTHORITY");
    return value == nullptr ? "" : std::string(value);
  }();
  const std::string here = root / "here.png";
  ::setenv("XAUTHORITY", here.c_str(), 1);
  keepXAuthority(files);
  EXPECT_EQ(std::getenv("XAUTHORITY"), here);

  const std::string there = root / "mount" / ".Xauthority";
  std::ofstream(there) << "a cookie";
  for (const bool isSilent : {false, true}) {
    ::setenv("XAUTHORITY", there.c_str(), 1);
    if (isSilent) mount->hang();
    keepXAuthority(files);
    const std::string kept = std::getenv("XAUTHORITY");
    EXPECT_FALSE(remoteMountOnTheWayTo(kept).has_value()) << kept;
    EXPECT_EQ(bytesIn(kept), isSilent ? "" : "a cookie");
    // The next process has the file's own name, and reads it anew.
    nameXAuthority();
    EXPECT_EQ(std::getenv("XAUTHORITY"), there);
  }
  EXPECT_FALSE(isHeld());
  ::setenv("XAUTHORITY", before.c_str(), 1);
  if (before.empty()) ::unsetenv("XAUTHORITY");
}

TEST_F(RemoteFilesTest, ARuntimeFolderOrBusWhoseDiskIsSilentIsLeft) {
  RemoteFiles files = this->files(2s);
  constexpr const char* variable = "DBUS_SESSION_BUS_ADDRESS";
  std::map<const char*, std::optional<std::string>> before;
  for (const char* const name : {variable, "XDG_RUNTIME_DIR"}) {
    const char* const value = std::getenv(name);
    before[name] = value == nullptr ? std::nullopt : std::optional<std::string>(value);
  }
  const std::string there = "unix:path=" + (root / "mount" / "bus").string() + ",guid=1";
  const auto addressAfterwards = [&](const std::string& address) -> std::string {
    ::setenv(variable, address.c_str(), 1);
    if (address.empty()) ::unsetenv(variable);
    leaveSilentRuntimeFolder(files);
    const char* const value = std::getenv(variable);
    return value == nullptr ? "" : value;
  };
  const Path folder = root / "mount";
  ::setenv("XDG_RUNTIME_DIR", folder.c_str(), 1);
  EXPECT_EQ(addressAfterwards(there), there);
  EXPECT_EQ(addressAfterwards(""), "");
  EXPECT_EQ(std::getenv("XDG_RUNTIME_DIR"), folder);
  mount->hang();
  for (const std::string& address : {std::string(), there, std::string("unix:abstract=bus")}) {
    ::setenv("XDG_RUNTIME_DIR", folder.c_str(), 1);
    EXPECT_EQ(addressAfterwards(address),
              address.starts_with("unix:a") ? address : "unix:path=/dev/null/bus");
    EXPECT_EQ(std::getenv("XDG_RUNTIME_DIR"), nullptr);
  }
  EXPECT_EQ(addressAfterwards(there), "unix:path=/dev/null/bus");
  EXPECT_FALSE(isHeld());
  for (const auto& [name, value] : before) {
    value ? ::setenv(name, value->c_str(), 1) : ::unsetenv(name);
  }
}

TEST_F(RemoteFilesTest, ContentsMayTakeLongButNotForEver) {
  RemoteFiles files = this->files(1500ms);
  const std::string many = manyBytes(2 << 20);
  const Path slow = root / "mount" / "slow";
  // Longer than the bound in all.
  mount->slowDown(110ms);
  ASSERT_TRUE(files.create(slow, many, Privacy::byUmask, Durability::flushed));
  EXPECT_TRUE(files.read(slow).value() == many);
  ASSERT_TRUE(files.copyNew(slow, root / "copy"));
  mount->slowDown(0ms);

  mount->hangInReadsFrom(1 << 20);
  const auto content = files.open(slow).value();
  EXPECT_EQ(content->read(0, many.size()).error().kind, FailureKind::unreachable);
  mount->answer();
  waitForEnds();
  mount->hangInReadsFrom(1 << 20);
  EXPECT_EQ(files.copyNew(slow, root / "half").error().kind, FailureKind::unreachable);
  EXPECT_FALSE(isHeld());
  mount->answer();
  waitForEnds();
  EXPECT_EQ(content->read(0, 1).error().kind, FailureKind::unreachable);
  EXPECT_TRUE(files.read(slow).value() == many);
}

TEST_F(RemoteFilesTest, ALockLostWithItsProcessIsTakenAnewBeforeAnythingElse) {
  RemoteFiles files = this->files(2s);
  const Path path = root / "mount" / "lock";
  auto lock = files.lock(path).value();
  const auto hang = [&] {
    mount->hang();
    EXPECT_EQ(files.status(path).error().kind, FailureKind::unreachable);
    mount->answer();
    waitForEnds();
  };
  hang();
  ASSERT_TRUE(files.status(path).has_value());
  LinuxFiles others;
  EXPECT_EQ(others.lock(path).error().kind, FailureKind::busy);

  hang();
  auto taken = others.lock(path).value();
  const auto refused =
      files.create(root / "mount" / "a", "x", Privacy::byUmask, Durability::visible);
  EXPECT_EQ(refused.error().kind, FailureKind::unreachable);
  EXPECT_THAT(refused.error().reason, HasSubstr("could not be locked again: process"));
  EXPECT_THAT(namesIn(root / "served"), testing::ElementsAre("lock"));
  taken.reset();
  waitForEnds();
  EXPECT_TRUE(files.create(root / "mount" / "a", "x", Privacy::byUmask, Durability::visible));
  lock.reset();
  while (!others.lock(path)) std::this_thread::yield();
}

TEST_F(RemoteFilesTest, TheWayToAMountIsFoundWithoutAskingIt) {
  EXPECT_FALSE(remoteMountOnTheWayTo(root / "here.png").has_value());
  std::filesystem::create_directory_symlink(root / "mount", root / "absolute");
  std::filesystem::create_directory_symlink("absolute/Shots", root / "twice");
  std::filesystem::create_directory_symlink("round", root / "round");
  // A folder that is held leads there as well.
  const int held = ::open((root / "mount").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  ASSERT_NE(held, -1);
  mount->hang();
  EXPECT_TRUE(remoteMountOnTheWayTo(fmt::format("/proc/self/fd/{}/a.png", held)).has_value());
  for (const char* const way : {"mount", "mount/a", "absolute/a", "twice/a", "gone/../mount/a"}) {
    const auto found = remoteMountOnTheWayTo(root / way);
    ASSERT_TRUE(found.has_value()) << way;
    EXPECT_EQ(found->mountPoint, (root / "mount").string()) << way;
  }
  for (const char* const way : {"", "mount2", "round/a", "gone/mount", "twice/../../here.png"}) {
    // What lies above a link's target is where the kernel looks for "..".
    const bool isThrough = std::string_view(way).starts_with("twice");
    EXPECT_EQ(remoteMountOnTheWayTo(root / way).has_value(), isThrough) << way;
  }
  ::close(held);
}

}  // namespace
}  // namespace vantorel
