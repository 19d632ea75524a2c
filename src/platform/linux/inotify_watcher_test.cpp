#include "platform/linux/inotify_watcher.hpp"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <semaphore>
#include <thread>

#include "platform/linux/loop_runner.hpp"
#include "platform/linux/remote_files.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::Not;

class InotifyWatcherTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = (std::filesystem::temp_directory_path() / "vantorel-watch-XXXXXX").string();
    ASSERT_NE(::mkdtemp(name.data()), nullptr);
    root = name;
    folder = root / "folder";
    std::filesystem::create_directory(folder);
  }
  void TearDown() override { std::filesystem::remove_all(root); }

  std::unique_ptr<FolderWatch> watch(std::vector<std::string>& events) {
    auto watch = watcher.watch(folder, loop.runner(), [this, &events](const FolderEvent& event) {
      constexpr std::array names{"appeared", "changed", "disappeared", "gone", "overflowed"};
      events.push_back(names[static_cast<std::size_t>(event.kind)] + (" " + event.name));
      if (events.back() == waitedFor && --stillToHear == 0) loop.quit();
    });
    EXPECT_TRUE(watch.has_value()) << watch.error().reason;
    return *std::move(watch);
  }

  /// Until `watches` of them have heard it: each hears in a task of its own.
  void waitFor(const std::string& event, int watches = 1) {
    waitedFor = event;
    stillToHear = watches;
    loop.runner()->postAfter(60s, [this] { loop.quit(); });
    loop.run();
  }

  Path root;
  Path folder;
  LoopRunner loop;
  std::function<void(const Path&)> beforeAdding = [](const Path&) {};
  InotifyWatcher watcher{[this](int queue, const Path& added, std::uint32_t events) {
    beforeAdding(added);
    return RemoteFiles().watch(queue, added, events);
  }};
  std::string waitedFor;
  int stillToHear = 0;
};

TEST_F(InotifyWatcherTest, TellsEverybodyWhatHappensUntilTheFolderGoes) {
  std::vector<std::string> first;
  std::vector<std::string> second;
  auto one = watch(first);
  auto two = watch(second);
  std::ofstream(folder / "a") << "x";
  std::filesystem::rename(folder / "a", folder / "b");
  std::filesystem::rename(folder / "b", root / "b");
  waitFor("disappeared b", 2);
  EXPECT_THAT(first, Contains("changed a"));
  EXPECT_THAT(first, Contains("appeared b"));
  EXPECT_EQ(first, second);

  // The other goes on hearing when one has had enough.
  one.reset();
  const auto heard = first.size();
  std::ofstream(folder / "c") << "x";
  std::filesystem::remove(folder / "c");
  waitFor("disappeared c");
  EXPECT_THAT(second, Contains("disappeared c"));
  EXPECT_EQ(first.size(), heard);

  std::filesystem::rename(folder, root / "moved");
  waitFor("gone ");
  EXPECT_THAT(second, Contains("gone "));
  std::ofstream(root / "moved" / "d") << "x";
  std::filesystem::create_directory(folder);
  std::vector<std::string> third;
  auto three = watch(third);
  std::ofstream(folder / "e") << "x";
  waitFor("changed e");
  EXPECT_THAT(third, Contains("changed e"));
  EXPECT_THAT(second, Not(Contains("changed d"))) << "it is not the folder asked for any more";

  EXPECT_EQ(watcher.watch(root / "none", loop.runner(), {}).error().kind, FailureKind::notFound);
  EXPECT_EQ(watcher.watch(folder / "e", loop.runner(), {}).error().kind, FailureKind::notFound);
}

TEST_F(InotifyWatcherTest, AFolderThatIsSlowToAnswerHoldsNobodyElse) {
  std::vector<std::string> events;
  std::vector<std::string> late;
  auto one = watch(events);
  auto gone = watch(events);
  std::binary_semaphore begun(0);
  std::binary_semaphore answers(0);
  beforeAdding = [&](const Path& added) {
    if (added != root / "slow") return;
    begun.release();
    answers.acquire();
  };
  std::filesystem::create_directory(root / "slow");
  std::unique_ptr<FolderWatch> slow;
  std::jthread adding([&] {
    slow = watcher
               .watch(root / "slow", loop.runner(),
                      [&](const FolderEvent& event) { late.push_back(event.name); })
               .value();
  });
  begun.acquire();
  gone.reset();
  std::ofstream(folder / "a") << "x";
  waitFor("changed a");
  EXPECT_THAT(events, Contains("changed a"));
  // Nor is anything given up that the other may turn out to be.
  one.reset();
  answers.release();
  adding.join();
  std::ofstream(root / "slow" / "b") << "x";
  auto again = watch(events);
  std::ofstream(folder / "c") << "x";
  waitFor("changed c");
  EXPECT_THAT(events, Contains("changed c"));
  EXPECT_THAT(late, Contains("b"));
}

}  // namespace
}  // namespace vantorel
