#include "platform/linux/bounded_files.hpp"

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include "platform/linux/linux_files.hpp"
#include "platform/linux/remote_mounts.hpp"
#include "platform/testing/stuck_mount.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;

std::ptrdiff_t threadCount() {
  return std::ranges::distance(std::filesystem::directory_iterator("/proc/self/task"));
}

class BoundedFilesTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string name =
        (std::filesystem::temp_directory_path() / "vantorel-bounded-XXXXXX").string();
    ASSERT_NE(::mkdtemp(name.data()), nullptr);
    root = name;
    std::ofstream(root / "here.png") << "pixels";
  }
  void TearDown() override { std::filesystem::remove_all(root); }

  Path root;
};

TEST_F(BoundedFilesTest, WhatNeverAnswersIsWaitedForOnceAndTheRestGoesOn) {
  // The thread sanitizer has a thread of its own from the first one on.
  std::thread([] {}).join();
  const std::ptrdiff_t threads = threadCount();
  BoundedFiles files(std::make_shared<LinuxFiles>(), {.look = 50ms, .change = 50ms, .calls = 3});
  StuckMount stuck(root / "stuck");
  const Path inside = root / "stuck" / "Shots" / "a.png";
  std::filesystem::create_directory_symlink("stuck/Shots", root / "link");

  const auto first = files.status(root / "link" / "a.png");
  ASSERT_FALSE(first.has_value());
  EXPECT_EQ(first.error().kind, FailureKind::unreachable);
  EXPECT_EQ(first.error().reason, "it does not answer");
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < 1000; ++i) EXPECT_FALSE(files.status(inside).has_value());
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 25s) << "each waited for by itself";
  EXPECT_EQ(threadCount(), threads + 1);

  const auto kinds = [](const auto&... answers) {
    return std::vector<FailureKind>{answers.error().kind...};
  };
  EXPECT_THAT(
      kinds(files.list(inside.parent_path()), files.hold(inside.parent_path()), files.open(inside),
            files.read(inside), files.resolved(inside), files.location(inside.parent_path()),
            files.makeFolder(inside, Privacy::byUmask), files.remove(inside),
            files.create(inside, "x", Privacy::byUmask, Durability::flushed),
            files.create(inside, std::string(1 << 20, 'x'), Privacy::byUmask, Durability::flushed),
            files.moveNew(root / "here.png", inside), files.copyNew(root / "here.png", inside),
            files.copyNew(inside, root / "there.png"), files.checkWritable(inside.parent_path()),
            files.flushFolder(inside.parent_path())),
      testing::Each(FailureKind::unreachable));
  EXPECT_EQ(files.read(root / "here.png").value(), "pixels");
  EXPECT_EQ(files.list(root).value().size(), 3U);

  // Threads that hang are few, however many servers went.
  StuckMount second(root / "second");
  StuckMount third(root / "third");
  StuckMount fourth(root / "fourth");
  for (const char* const name : {"second", "third", "fourth"}) {
    EXPECT_FALSE(files.status(root / name / "b.png").has_value());
  }
  EXPECT_EQ(threadCount(), threads + 3);

  // The places of those that came back are had again, and what answers is believed.
  for (StuckMount* const mount : {&stuck, &second, &third}) mount->end();
  while (threadCount() > threads) std::this_thread::yield();
  EXPECT_EQ(files.status(inside).error().kind, FailureKind::notFound);
  EXPECT_EQ(files.status(root / "fourth" / "b.png").error().reason, "it does not answer");
  EXPECT_EQ(threadCount(), threads + 1) << "asked this time";
  fourth.end();
  while (threadCount() > threads) std::this_thread::yield();
}

TEST_F(BoundedFilesTest, TheWayToAMountIsFoundWithoutAskingIt) {
  EXPECT_FALSE(remoteMountOnTheWayTo(root / "here.png").has_value());
  StuckMount stuck(root / "stuck");
  std::filesystem::create_directory_symlink(root / "stuck", root / "absolute");
  std::filesystem::create_directory_symlink("absolute/Shots", root / "twice");
  std::filesystem::create_directory_symlink("round", root / "round");
  for (const char* const way : {"stuck", "stuck/a", "absolute/a", "twice/a", "gone/../stuck/a"}) {
    const auto found = remoteMountOnTheWayTo(root / way);
    ASSERT_TRUE(found.has_value()) << way;
    EXPECT_EQ(found->mountPoint, (root / "stuck").string()) << way;
  }
  for (const char* const way : {"", "stuck2", "round/a", "gone/stuck", "twice/../../here.png"}) {
    // What lies above a link's target is where the kernel looks for "..".
    const bool isThrough = std::string_view(way).starts_with("twice");
    EXPECT_EQ(remoteMountOnTheWayTo(root / way).has_value(), isThrough) << way;
  }
  // A folder that is held leads there as well.
  const int held = ::open((root / "stuck").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  ASSERT_NE(held, -1);
  EXPECT_TRUE(remoteMountOnTheWayTo(fmt::format("/proc/self/fd/{}/a.png", held)).has_value());
  ::close(held);
}

}  // namespace
}  // namespace vantorel
