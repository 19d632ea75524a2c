#include "app/library_move.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "library/testing/test_library.hpp"
#include "platform/testing/fake_alerts.hpp"
#include "platform/testing/fake_defaults_store.hpp"
#include "platform/testing/quiet_log.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

SettingsValues usualValues() {
  SettingsValues values;
  values.storageDirectory = "/usual";
  return values;
}

FakeDefaultsStore storedDefaults() {
  FakeDefaultsStore defaults;
  defaults.stored["storageDirectory"] = JSONValue{std::string("/old")};
  return defaults;
}

class LibraryMoveTest : public testing::Test, protected TestLibrary {
 protected:
  LibraryMoveTest() {
    files->folders = {"/", "/old", "/new", "/usual"};
    files->put("/old/a.png", "/old/a.png");
    files->put("/usual/b.png", "/usual/b.png");
    files->put("/data/history.json", R"({"version":4,"entries":[)"
                                     R"({"id":"a","capturedAt":1,"path":"/old/a.png"},)"
                                     R"({"id":"b","capturedAt":1,"path":"/usual/b.png"}],)"
                                     R"("collections":[]})");
    move.followSetting();
  }

  Result<RelocationOutcome, FolderRefusal> movedTo(const Path& folder) {
    std::optional<Result<RelocationOutcome, FolderRefusal>> answer;
    move.moveTo(folder, {}, nullptr, [&](auto outcome) { answer = std::move(outcome); });
    runners.run();
    EXPECT_TRUE(answer.has_value());
    return answer.value_or(std::unexpected(FolderRefusal{}));
  }

  void makeReady() {
    library.open();
    runners.run();
  }

  QuietLog quiet;
  FakeAlerts alerts;
  FakeDefaultsStore defaults = storedDefaults();
  SettingsStore settings{defaults, usualValues()};
  LibraryMove move{{.main = runners.main(),
                    .work = runners.runner("work"),
                    .files = files,
                    .library = &library,
                    .settings = &settings,
                    .defaults = &defaults,
                    .alerts = &alerts,
                    .usualFolder = "/usual"}};
};

TEST_F(LibraryMoveTest, CapturesFollowTheFolderTheUserChoosesAndNoOther) {
  defaults.changeOutside("storageDirectory", JSONValue{std::string("/new")});
  runners.run();
  EXPECT_EQ(files->text("/old/a.png"), "/old/a.png") << "moved before the library was ready";
  makeReady();
  EXPECT_EQ(files->text("/new/a.png"), "/old/a.png");
  EXPECT_EQ(files->text("/new/b.png"), "/usual/b.png") << "the folder for want of a better one";
  EXPECT_THAT(alerts.notices, IsEmpty());

  // Resetting the settings leaves captures and the library alone.
  settings.resetAll();
  runners.run();
  EXPECT_EQ(settings.values().storageDirectory, "/usual");
  EXPECT_EQ(files->names("/new").size(), 2U);

  // Nor does a folder that is not there take anything.
  EXPECT_TRUE(settings.setFromText("storageDirectory", "/new").has_value());
  EXPECT_TRUE(settings.setFromText("storageDirectory", "/no/where").has_value());
  runners.run();
  EXPECT_EQ(files->names("/new").size(), 2U);
  EXPECT_THAT(alerts.notices,
              ElementsAre("Captures weren't moved: 2 captures are still in the previous folder. "
                          "The reason given: the new folder can't be used: the folder above it is "
                          "missing."));
}

TEST_F(LibraryMoveTest, ACommandMovesOnceAndOnlyWhereFilesCanBe) {
  makeReady();
  EXPECT_EQ(sentence(movedTo("/no/where").error()),
            "The new folder can't be used: the folder above it is missing.");
  files->put("/afile", "x");
  files->links["/astray"] = "/nowhere";
  for (const auto& [wanted, why] :
       {std::pair{"/afile", "it is a file, not a folder"},
        std::pair{"/afile/deep/new", "/afile is a file, not a folder"},
        std::pair{"/astray/", "it is a link that leads nowhere"},
        std::pair{"/astray/new", "/astray is a link that leads nowhere"}}) {
    EXPECT_EQ(sentence(movedTo(wanted).error()),
              "The new folder can't be used: " + std::string(why) + ".");
  }
  EXPECT_EQ(sentence(movedTo("/new/\xFF").error()), "The folder's name is not UTF-8.");
  for (const char* const own : {"/data", "/data/Staged Captures", "/data/Originals/deep"}) {
    EXPECT_EQ(sentence(movedTo(own).error()),
              "The new folder can't be used: Vantorel keeps its own files in it.");
  }
  files->changesFail = FailureKind::denied;
  EXPECT_THAT(sentence(movedTo("/new").error()), HasSubstr("The new folder can't be used"));
  files->changesFail.reset();
  EXPECT_EQ(settings.values().storageDirectory, "/old");

  EXPECT_EQ(movedTo("/new")->moved, 2);
  EXPECT_EQ(settings.values().storageDirectory, "/new");
  EXPECT_THAT(files->names("/new"), ElementsAre("a.png", "b.png"));
  EXPECT_EQ(movedTo("/new")->moved, 0);
  EXPECT_FALSE(library.relocation().isRunning()) << "the changed setting moved them again";
  EXPECT_THAT(alerts.notices, IsEmpty());
}

}  // namespace
}  // namespace vantorel
