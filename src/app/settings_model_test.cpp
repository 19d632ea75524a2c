#include "app/settings_model.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "app/settings_session.hpp"

namespace vantorel {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class SettingsModelTest : public testing::Test, protected SettingsSession {
 protected:
  SettingsModelTest() {
    model.emplace(SettingsModel::Services{.settings = *settings,
                                          .history = store,
                                          .clock = runners,
                                          .alerts = alerts,
                                          .autostart = autostartSwitch,
                                          .library = *pane,
                                          .retention = *retention,
                                          .recorder = recorder,
                                          .text = text,
                                          .home = "/home/u"});
    showing = model->shown();
    watching = model->observe([this](std::string_view id) { heard.emplace_back(id); });
  }

  [[nodiscard]] std::vector<std::string> labels(const std::vector<SettingsLine>& lines) const {
    std::vector<std::string> all;
    for (const SettingsLine& line : lines) all.push_back(line.label);
    return all;
  }

  ShortcutRecorder recorder{{.settings = *settings, .keys = &*keys}};
  std::optional<SettingsModel> model;
  std::vector<std::string> heard;
  Observation watching;
  Observation showing;
};

TEST_F(SettingsModelTest, LanguagesThatAreInstalledMeanwhileAreShown) {
  const auto words = [&](std::string_view id) { return model->line(id).explanation; };
  model->select(SettingsPane::text);
  runners.run();
  EXPECT_EQ(words(SettingsModel::languagesRow), "English");
  EXPECT_EQ(model->line(SettingsModel::addLanguageRow).label, "Add German");
  EXPECT_EQ(words(SettingsModel::addLanguageRow), "sudo apt install tesseract-ocr-deu");
  model->press(SettingsModel::addLanguageRow);
  EXPECT_THAT(copied, ElementsAre("sudo apt install tesseract-ocr-deu"));
  EXPECT_EQ(model->line(SettingsModel::addLanguageRow).remark, "Copied");

  recogniser->installed = {"chi_sim", "deu", "eng", "frk"};
  heard.clear();
  model->lookAgain();
  runners.run();
  EXPECT_THAT(heard, Contains(std::string(SettingsModel::languagesRow)));
  EXPECT_EQ(words(SettingsModel::languagesRow), "Chinese, simplified; English; German; frk");
  EXPECT_EQ(model->line(SettingsModel::addLanguageRow).label, "Add French");
  EXPECT_EQ(model->line(SettingsModel::addLanguageRow).remark, "");
  recogniser->installed.clear();
  model->lookAgain();
  runners.run();
  EXPECT_EQ(words(SettingsModel::languagesRow), "None");
  EXPECT_EQ(model->line(SettingsModel::addLanguageRow).label, "Add English");
  EXPECT_THAT(model->line(SettingsModel::languagesRow).remark, HasSubstr("no text can be read"));

  TextPane chinese({.main = runners.main(),
                    .work = runners.runner("languages"),
                    .recogniser = recogniser,
                    .locale = "zh_TW.UTF-8",
                    .copy = {}});
  EXPECT_EQ(chinese.command(), "sudo apt install tesseract-ocr-chi-tra");
}

TEST_F(SettingsModelTest, ShowsEveryOfferedSettingOnceInPanesThatHaveRows) {
  std::vector<std::string> shown;
  for (const SettingsPane one : model->panes()) {
    const auto lines = model->lines(one);
    EXPECT_THAT(lines, Not(IsEmpty()));
    for (const SettingsLine& line : lines) shown.push_back(line.id);
  }
  EXPECT_THAT(model->panes(), Not(Contains(SettingsPane::recording))) << "nothing of it is built";
  for (const SettingRow& row : settingRows()) {
    EXPECT_EQ(std::ranges::count(shown, row.key), 1) << row.key;
  }
  EXPECT_EQ(model->lines(SettingsPane::general).front().id, SettingsModel::autostartRow);
  EXPECT_EQ(model->lines(SettingsPane::general).back().id, SettingsModel::resetAllRow);
}

TEST_F(SettingsModelTest, SetsAtOnceRefusesInASentenceAndGoesBackToTheDefault) {
  EXPECT_EQ(model->line("exportFormat").resetLabel, "");
  model->set("exportFormat", "webp");
  EXPECT_EQ(settings->values().exportFormat, ExportFormat::webp);
  EXPECT_EQ(model->line("exportFormat").words, "WebP");
  EXPECT_EQ(model->line("exportFormat").resetLabel, "Back to PNG");
  EXPECT_THAT(model->line("filenameTemplate").explanation, HasSubstr(".webp”"));
  EXPECT_THAT(heard, Contains("filenameTemplate")) << "its example names the format";
  model->reset("exportFormat");
  EXPECT_EQ(settings->values().exportFormat, ExportFormat::png);
  EXPECT_FALSE(defaults.stored.contains("exportFormat"));

  // What can't be is kept with the row, and told in words of names, not of bytes.
  const std::string german = "\u00e4";
  std::string eighty;
  for (int i = 0; i < 80; ++i) eighty += german;
  for (const auto& [typed, why] : std::vector<std::pair<std::string, std::string>>{
           {"a/b", "A name can't have a slash."},
           {"", "The name is empty."},
           {".shot", "A name can't begin with a point, which would hide the file."},
           {std::string(121, 'a'), "The name is too long by 1 character."},
           {"a" + eighty, "The name is too long by 21 characters."}}) {
    model->set("filenameTemplate", typed);
    EXPECT_EQ(settings->values().filenameTemplate, "Screenshot");
    EXPECT_EQ(model->line("filenameTemplate").remark, why);
    EXPECT_EQ(model->line("filenameTemplate").refused, typed);
    EXPECT_EQ(model->line("filenameTemplate").resetLabel, "Back to Screenshot");
  }
  model->reset("filenameTemplate");
  EXPECT_EQ(model->line("filenameTemplate").refused, std::nullopt);
  model->set("filenameTemplate", "Shot");
  EXPECT_EQ(model->line("filenameTemplate").remark, "");
  model->set("filenameTemplate", "");
  model->set("filenameTemplate", "Shot");
  EXPECT_EQ(model->line("filenameTemplate").remark, "") << "the value that was in force all along";

  const SettingsLine quality = model->line("jpegQuality");
  EXPECT_EQ(std::tuple(quality.number, quality.least, quality.most, quality.words),
            std::tuple(85.0, 5.0, 100.0, "85 %"));
  model->setNumber("jpegQuality", 70);
  EXPECT_DOUBLE_EQ(settings->values().jpegQuality, 0.7);
  EXPECT_EQ(model->line("jpegQuality").words, "70 %");

  heard.clear();
  defaults.changeOutside("playSounds", JSONValue{false});
  EXPECT_THAT(heard, Contains("playSounds"));
  EXPECT_EQ(model->line("playSounds").value, "false");
  EXPECT_EQ(model->line("playSounds").resetLabel, "Back to on");
}

TEST_F(SettingsModelTest, RowsWithoutEffectSayWhatTheyNeed) {
  EXPECT_EQ(model->line("desktopCoverColor").obstacle,
            "“Hide desktop icons while capturing” is off.");
  heard.clear();
  model->set("hideDesktopIconsWhileCapturing", "true");
  EXPECT_THAT(heard, Contains("desktopCoverColor")) << "what needs it at second hand";
  EXPECT_EQ(model->line("desktopCoverStyle").obstacle, "");
  EXPECT_EQ(model->line("desktopCoverColor").obstacle,
            "Works when “Cover them with” is “A color”.");
  model->set("desktopCoverStyle", "color");
  EXPECT_EQ(model->line("desktopCoverColor").obstacle, "");
}

TEST_F(SettingsModelTest, SearchFindsRowsByWhatIsReadThereAndByKey) {
  EXPECT_THAT(labels(model->found("jpeg")), ElementsAre("Format", "Quality"));
  EXPECT_THAT(labels(model->found("FILES na")), ElementsAre("Name"));
  EXPECT_THAT(labels(model->found("retentiondays")), ElementsAre("Move captures to the Trash"));
  EXPECT_THAT(labels(model->found("session")), ElementsAre("Start with the session"));
  EXPECT_THAT(model->found("  "), IsEmpty());
  EXPECT_THAT(model->found("bicycle"), IsEmpty());
}

TEST_F(SettingsModelTest, StartsWithTheSessionAndResetsAllOnlyWhenAgreed) {
  EXPECT_EQ(model->line(SettingsModel::autostartRow).obstacle, "Not known yet.");
  model->select(SettingsPane::general);
  runners.run();
  EXPECT_EQ(model->line(SettingsModel::autostartRow).obstacle, "");
  model->set(SettingsModel::autostartRow, "true");
  EXPECT_EQ(model->line(SettingsModel::autostartRow).value, "true") << "shown at once";
  runners.run();
  EXPECT_TRUE(autostart.on);
  EXPECT_EQ(model->line(SettingsModel::autostartRow).resetLabel, "Back to off");
  model->reset(SettingsModel::autostartRow);
  runners.run();
  EXPECT_FALSE(autostart.on);
  EXPECT_EQ(model->line(SettingsModel::autostartRow).resetLabel, "");
  model->set(SettingsModel::autostartRow, "true");
  runners.run();

  model->set("playSounds", "false");
  model->press(SettingsModel::resetAllRow);
  ASSERT_TRUE(alerts.shown.has_value());
  EXPECT_EQ(alerts.shown->message, "Reset all settings?");
  ASSERT_TRUE(alerts.press("Cancel"));
  EXPECT_FALSE(settings->values().playSounds);
  model->press(SettingsModel::resetAllRow);
  ASSERT_TRUE(alerts.press("Reset"));
  runners.run();
  EXPECT_TRUE(settings->values().playSounds);
  EXPECT_FALSE(autostart.on);
  EXPECT_EQ(model->line(SettingsModel::autostartRow).value, "false");

  autostart.refuses = Failure{FailureKind::denied, "permission denied"};
  model->set(SettingsModel::autostartRow, "true");
  runners.run();
  const SettingsLine line = model->line(SettingsModel::autostartRow);
  EXPECT_EQ(line.value, "false");
  EXPECT_EQ(line.remark, "Starting with the session could not be switched on: permission denied.");
}

TEST_F(SettingsModelTest, CollectionsAreOfferedByNameAsTheyComeAndGo) {
  start();
  const auto words = [this] {
    std::vector<std::string> all;
    for (const auto& choice : model->line("activeCollectionID").choices)
      all.push_back(choice.words);
    return all;
  };
  EXPECT_THAT(words(), ElementsAre("No collection", "Receipts"));
  model->set("activeCollectionID", "c1");
  EXPECT_EQ(model->line("activeCollectionID").words, "Receipts");
  EXPECT_EQ(settings->values().activeCollectionID, "c1");
  model->set("activeCollectionID", "none");
  EXPECT_EQ(settings->values().activeCollectionID, std::nullopt);
}

TEST_F(SettingsModelTest, TheFolderMovesWithProgressAndTheReportStandsInTheRow) {
  start();
  EXPECT_EQ(model->line("storageDirectory").explanation, "~/old");
  model->set("storageDirectory", "/home/u/no/where");
  EXPECT_TRUE(model->line("storageDirectory").isBusy);
  runners.run();
  EXPECT_EQ(model->line("storageDirectory").remark,
            "The new folder can't be used: the folder above it is missing.");
  EXPECT_EQ(settings->values().storageDirectory, "/home/u/old");

  std::vector<std::string> progress;
  const Observation looking = model->observe([&](std::string_view id) {
    const SettingsLine line = model->line("storageDirectory");
    if (id == "storageDirectory" && line.isBusy) progress.push_back(line.progress);
  });
  model->set("storageDirectory", "/home/u/new");
  EXPECT_EQ(model->line("storageDirectory").button, "Stop");
  runners.run();
  EXPECT_THAT(progress, Contains("3 of 3"));
  const SettingsLine moved = model->line("storageDirectory");
  EXPECT_EQ(moved.explanation, "~/new");
  EXPECT_EQ(moved.remark, "3 captures moved.");
  EXPECT_EQ(moved.resetLabel, "Move back to ~/usual");
  EXPECT_EQ(files->names("/home/u/new").size(), 3U);

  // Stopped before its first batch.
  model->set("storageDirectory", "/home/u/old");
  model->press("storageDirectory");
  runners.run();
  EXPECT_EQ(model->line("storageDirectory").remark,
            "Stopped. 3 captures are still in the previous folder.");
  EXPECT_THAT(alerts.notices, IsEmpty()) << "the window says it";

  // Nobody looks any more.
  showing.end();
  pane->moveTo("/home/u/no/where");
  runners.run();
  EXPECT_THAT(alerts.notices, ElementsAre(HasSubstr("The new folder can't be used")));
}

TEST_F(SettingsModelTest, TheLibraryIsMeasuredVerifiedAndRepaired) {
  EXPECT_EQ(model->line(SettingsModel::sizeRow).explanation, "Opening the library");
  start();
  model->select(SettingsPane::library);
  runners.run();
  EXPECT_EQ(model->line(SettingsModel::sizeRow).explanation, "3 captures, 63 bytes");

  model->press(SettingsModel::verifyRow);
  EXPECT_EQ(model->line(SettingsModel::verifyRow).button, "Stop");
  model->press(SettingsModel::verifyRow);
  runners.run();
  EXPECT_EQ(model->line(SettingsModel::verifyRow).remark, "Stopped. Nothing was changed.");

  model->press(SettingsModel::verifyRow);
  runners.run();
  EXPECT_EQ(model->line(SettingsModel::verifyRow).remark,
            "3 captures, 63 bytes. Everything is in order.");
  EXPECT_EQ(model->line(SettingsModel::verifyRow).button, "Verify");

  files->disk.erase("/home/u/old/b.png");
  model->press(SettingsModel::verifyRow);
  runners.run();
  EXPECT_THAT(model->line(SettingsModel::verifyRow).remark,
              HasSubstr("Found: 1 × entry without file."));
  EXPECT_EQ(model->line(SettingsModel::verifyRow).button, "Repair");
  model->press(SettingsModel::verifyRow);
  runners.run();
  EXPECT_EQ(model->line(SettingsModel::verifyRow).button, "Verify");
}

TEST_F(SettingsModelTest, RetentionSaysWhatItWaitsFor) {
  start();
  retention->follow();
  model->set("retentionDays", "7");
  runners.run();
  ASSERT_TRUE(alerts.shown.has_value());
  EXPECT_THAT(model->line("retentionDays").remark, HasSubstr("until the question"));
  EXPECT_EQ(model->line("retentionDays").words, "After 7 days");
  heard.clear();
  ASSERT_TRUE(alerts.press("Cancel"));
  runners.run();
  EXPECT_THAT(heard, Contains("retentionDays"));
  EXPECT_EQ(model->line("retentionDays").words, "Never");
  EXPECT_EQ(model->line("retentionDays").remark, "");
}

}  // namespace
}  // namespace vantorel
