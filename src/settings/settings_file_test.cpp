#include "settings/settings_file.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_folder_watcher.hpp"
#include "platform/testing/fake_runners.hpp"
#include "platform/testing/quiet_log.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* path = "/config/settings.json";

class SettingsFileTest : public testing::Test {
 protected:
  SettingsFileTest() { files.folders.insert("/config"); }

  std::unique_ptr<SettingsFile> open() {
    return std::make_unique<SettingsFile>(
        SettingsFile::Services{files, runners.main(), runners.runner("io"), &watcher}, path);
  }

  std::string flushed(SettingsFile& settings) {
    std::string answer = "no answer";
    settings.flush([&](Result<void> result) { answer = result ? "" : result.error().reason; });
    runners.run();
    return answer;
  }

  void changeOutside(const std::string& text) {
    files.put(path, text);
    watcher.happen("/config", FolderEvent::Kind::appeared, "settings.json");
    runners.run();
  }

  FakeFiles files;
  FakeRunners runners;
  FakeFolderWatcher watcher;
  QuietLog quiet;
};

TEST_F(SettingsFileTest, TwoProcessesKeepEachOthersChangesAndUnknownKeys) {
  files.put(path, R"({"later":{"x":[1.0]},"a":1})");
  auto one = open();
  auto two = open();
  std::vector<std::string> heard;
  two->onOutsideChange([&](std::string_view key) { heard.emplace_back(key); });
  one->set("a", {true});
  one->set("b", {std::string("one")});
  two->set("c", {std::int64_t{3}});
  EXPECT_EQ(flushed(*one), "");
  EXPECT_EQ(flushed(*two), "");
  EXPECT_EQ(files.text(path), R"({"a":true,"b":"one","c":3,"later":{"x":[1.0]}})"
                              "\n");
  EXPECT_EQ(files.disk[path]->status.mode, 0600U);
  EXPECT_THAT(heard, ElementsAre("a", "b"));
  EXPECT_EQ(two->value("b"), JSONValue{std::string("one")});

  heard.clear();
  changeOutside(R"({"a":false,"c":3})");
  EXPECT_THAT(heard, ElementsAre("a", "b", "later"));
  EXPECT_EQ(two->value("b"), std::nullopt);
  changeOutside("{half");
  EXPECT_EQ(two->value("a"), JSONValue{false}) << "an editor is still writing it";
}

TEST_F(SettingsFileTest, OwnChangesWinOverWhatIsReadWhileTheyAreOnTheirWay) {
  auto settings = open();
  settings->set("a", {std::int64_t{1}});
  changeOutside(R"({"a":7,"b":2})");
  EXPECT_EQ(settings->value("a"), JSONValue{std::int64_t{1}});
  EXPECT_EQ(settings->value("b"), JSONValue{std::int64_t{2}});
  runners.advance(1s);
  EXPECT_EQ(files.text(path), "{\"a\":1,\"b\":2}\n");

  const int before = files.changes;
  for (int i = 0; i < 50; ++i) {
    settings->set("a", {std::int64_t{i}});
    runners.advance(10ms);
  }
  runners.advance(1s);
  EXPECT_EQ(files.changes - before, 2) << "a dragged slider is one write";
}

TEST_F(SettingsFileTest, FileThatMakesNoSenseIsPutAsideWhole) {
  files.put(path, "{damaged");
  auto settings = open();
  EXPECT_THAT(*settings->problem(),
              HasSubstr("have a mistake in line 1, so all of them are at their"));
  EXPECT_THAT(*settings->problem(), HasSubstr("/config/settings.json"));
  runners.advance(1min);
  EXPECT_EQ(files.text(path), "{damaged") << "nobody changed anything";
  EXPECT_EQ(files.changes, 0);
  std::vector<std::string> reported;
  settings->onProblem([&](const std::string& sentence) { reported.push_back(sentence); });
  settings->set("a", {true});
  EXPECT_EQ(flushed(*settings), "");
  EXPECT_THAT(reported, ElementsAre(HasSubstr("put aside as settings-")));
  std::vector<std::string> aside;
  for (const std::string& name : files.names("/config")) {
    if (name.ends_with(".unreadable.json")) aside.push_back(files.text(Path("/config") / name));
  }
  EXPECT_THAT(aside, ElementsAre("{damaged"));
  EXPECT_EQ(files.text(path), "{\"a\":true}\n");

  // What its owner puts right counts at once.
  files.put(path, "{damaged again");
  settings = open();
  changeOutside(R"({"a":7})");
  EXPECT_EQ(settings->value("a"), JSONValue{std::int64_t{7}});
}

TEST_F(SettingsFileTest, AFileThatIsALinkIsWrittenWhereItLeads) {
  files.put("/dotfiles/settings.json", R"({"a":1})");
  files.links[path] = "/dotfiles/settings.json";
  auto settings = open();
  EXPECT_EQ(settings->value("a"), JSONValue{std::int64_t{1}});
  settings->set("a", {true});
  EXPECT_EQ(flushed(*settings), "");
  EXPECT_EQ(files.text("/dotfiles/settings.json"), "{\"a\":true}\n");
  EXPECT_FALSE(files.disk.contains(path));
  files.put("/dotfiles/settings.json", R"({"a":8})");
  watcher.happen("/dotfiles", FolderEvent::Kind::appeared, "settings.json");
  runners.run();
  EXPECT_EQ(settings->value("a"), JSONValue{std::int64_t{8}});

  files.disk.erase("/dotfiles/settings.json");
  settings->set("a", {false});
  EXPECT_THAT(flushed(*settings), HasSubstr("is a link"));
  EXPECT_FALSE(files.disk.contains(path));
}

TEST_F(SettingsFileTest, FileDamagedWhileTheProgramRunsCostsNoSetting) {
  files.put(path, R"({"a":1,"b":2,"later":[3]})");
  auto settings = open();
  std::vector<std::string> heard;
  std::vector<std::string> reported;
  settings->onOutsideChange([&](std::string_view key) { heard.emplace_back(key); });
  settings->onProblem([&](const std::string& sentence) { reported.push_back(sentence); });
  changeOutside(R"({"a":1 "b":7})");
  EXPECT_THAT(reported, testing::IsEmpty()) << "an editor may still be writing it";
  settings->set("a", {true});
  files.spaceEndsAtChange = 4;
  EXPECT_THAT(flushed(*settings), HasSubstr("no space left"));
  files.changesFail.reset();
  runners.advance(6s);
  EXPECT_EQ(files.text(path), "{\"a\":true,\"b\":2,\"later\":[3]}\n");
  EXPECT_EQ(settings->value("b"), JSONValue{std::int64_t{2}});
  EXPECT_THAT(heard, testing::IsEmpty());
  ASSERT_THAT(reported,
              ElementsAre(HasSubstr("those in force stay"), HasSubstr("aside as settings-")));
  const std::string name = reported[1].substr(reported[1].find("settings-"), 33);
  EXPECT_EQ(files.text(Path("/config") / name), R"({"a":1 "b":7})");
}

TEST_F(SettingsFileTest, DamageThatStaysIsToldOnceUntilItIsPutRight) {
  files.put(path, "{damaged");
  auto settings = open();
  std::vector<std::string> reported;
  settings->onProblem([&](const std::string& sentence) { reported.push_back(sentence); });
  changeOutside("{still damaged");
  runners.advance(1min);
  EXPECT_THAT(reported, testing::IsEmpty()) << "its owner knows since the start";

  changeOutside(R"({"a":1})");
  EXPECT_THAT(reported, ElementsAre("")) << "put right";
  reported.clear();
  for (int second = 0; second < 5; ++second) {
    changeOutside("{half");
    runners.advance(1s);
  }
  changeOutside(R"({"a":2})");
  runners.advance(1min);
  EXPECT_THAT(reported, testing::IsEmpty()) << "an editor was writing it";

  for (int damage = 1; damage <= 2; ++damage) {
    reported.clear();
    changeOutside("{\"a\":3,\n\"b\"}");
    runners.advance(1min);
    changeOutside(R"({"a":)");
    runners.advance(1min);
    EXPECT_THAT(reported,
                ElementsAre("The settings have a mistake in line 2, so those in force stay. "
                            "Correct /config/settings.json, or it is put aside when a "
                            "setting is changed."));
    EXPECT_EQ(settings->value("a"), JSONValue{std::int64_t{2}});
    EXPECT_EQ(files.text(path), R"({"a":)");
    changeOutside(R"({"a":2})");
    EXPECT_EQ(reported.back(), "");
  }
  reported.clear();
  changeOutside("{again");
  settings->set("a", {true});
  runners.advance(1min);
  EXPECT_THAT(reported, ElementsAre(HasSubstr("put aside as settings-")));
}

TEST_F(SettingsFileTest, FailedWriteIsToldAndTriedAgain) {
  auto settings = open();
  std::vector<std::string> told;
  settings->onUnsaved([&](const std::string& reason) { told.push_back(reason); });
  files.changesFail = FailureKind::noSpace;
  settings->set("a", {true});
  EXPECT_EQ(flushed(*settings), "the disk refuses changes");
  runners.advance(12s);
  EXPECT_THAT(told, ElementsAre("the disk refuses changes")) << "once, however often it is tried";
  files.changesFail.reset();
  runners.advance(6s);
  EXPECT_THAT(told, ElementsAre("the disk refuses changes", ""));
  EXPECT_EQ(files.text(path), "{\"a\":true}\n");

  auto lock = files.lock("/config/settings.lock");
  settings->set("a", {false});
  std::string answer = "waiting";
  settings->flush([&](Result<void> result) { answer = result ? "" : result.error().reason; });
  runners.advance(1s);
  EXPECT_EQ(answer, "waiting");
  lock->reset();
  runners.advance(100ms);
  EXPECT_EQ(answer, "");
  EXPECT_THAT(settings->problem(), testing::Eq(std::nullopt));
}

}  // namespace
}  // namespace vantorel
