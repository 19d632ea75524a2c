#include "app/window_places.hpp"

#include <gtest/gtest.h>

#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_runners.hpp"
#include "platform/testing/quiet_log.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;

constexpr const char* file = "/data/windows.json";
constexpr WindowPlace atHome{.x = 10, .y = 20, .width = 800, .height = 600};
constexpr WindowPlace atWork{.x = 1930, .y = 0, .width = 900, .height = 700, .isMaximized = true};

class WindowPlacesTest : public testing::Test {
 protected:
  std::unique_ptr<WindowPlacesFile> open() {
    auto places = std::make_unique<WindowPlacesFile>(
        WindowPlacesFile::Services{files, runners.main(), runners.runner("io")}, file);
    runners.run();
    return places;
  }

  FakeFiles files;
  FakeRunners runners;
};

TEST_F(WindowPlacesTest, EachWindowComesBackWhereItWasWithTheseDisplays) {
  {
    const auto places = open();
    places->remember("history", "one", atHome);
    places->remember("history", "two", atWork);
    places->remember("settings", "one", atWork);
    places->remember("history", "one", {.x = 1, .y = 2, .width = 3, .height = 4});
    places->remember("history", "one", atHome);
    runners.advance(1s);
  }
  EXPECT_EQ(files.changes, 3) << "a folder, and one file for all of it";
  EXPECT_EQ(files.disk.at(file)->status.mode & 077U, 0U);
  const auto places = open();
  EXPECT_EQ(places->restore("history", "one"), atHome);
  EXPECT_EQ(places->restore("history", "two"), atWork);
  EXPECT_EQ(places->restore("settings", "two"), std::nullopt);
}

TEST_F(WindowPlacesTest, ADiskThatIsSlowHoldsUpNothingAndLosesNothing) {
  open()->remember("settings", "one", atWork);
  files.put(file, R"({"places":[{"window":"settings","displays":"one","x":1,"y":2,"width":3,)"
                  R"("height":4,"later":5},{"window":"help","displays":"one","x":0,"y":0,)"
                  R"("width":-7,"height":9e9},{"window":"broken"}],"more":[1]})");
  runners.hang("io");
  const auto places = open();
  EXPECT_EQ(places->restore("settings", "one"), std::nullopt);
  places->remember("settings", "one", atHome);
  runners.advance(1s);
  EXPECT_EQ(places->restore("settings", "one"), atHome);
  runners.resume("io");
  runners.advance(1s);
  EXPECT_EQ(places->restore("settings", "one"), atHome) << "newer than what the disk had";
  EXPECT_EQ(places->restore("help", "one"),
            (WindowPlace{.x = 0, .y = 0, .width = 1, .height = 100'000}));
  EXPECT_NE(files.text(file).find(R"("later":5)"), std::string::npos);
  EXPECT_NE(files.text(file).find(R"("more":[1])"), std::string::npos);
}

TEST_F(WindowPlacesTest, AFileOfANewerBuildAndADamagedOneAreNotLost) {
  const QuietLog quiet;
  const std::string newer = R"({"version":2,"places":{"history":[]}})";
  files.put(file, newer);
  auto places = open();
  places->remember("history", "one", atHome);
  runners.advance(1s);
  EXPECT_EQ(files.text(file), newer);
  EXPECT_EQ(places->restore("history", "one"), atHome);

  files.put(file, "{\"places\":[");
  places = open();
  places->remember("history", "one", atWork);
  runners.advance(1s);
  EXPECT_EQ(open()->restore("history", "one"), atWork);
  EXPECT_EQ(files.names("/data").size(), 2U) << "the damaged one lies beside it";
}

TEST_F(WindowPlacesTest, OldSetsOfDisplaysMakeRoom) {
  const auto places = open();
  for (std::size_t i = 0; i <= WindowPlacesFile::mostKept; ++i) {
    places->remember("history", std::to_string(i), atHome);
  }
  EXPECT_EQ(places->restore("history", "0"), std::nullopt);
  EXPECT_EQ(places->restore("history", "1"), atHome);
}

}  // namespace
}  // namespace vantorel
