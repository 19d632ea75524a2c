#include "settings/setting_rows.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "app/records/shortcut_id.hpp"
#include "settings/settings_table.hpp"

namespace vantorel {
namespace {

TEST(SettingRowsTest, EveryOfferedSettingHasOneRowThatOffersJustWhatItTakes) {
  std::set<std::string_view> keys;
  for (const SettingRow& row : settingRows()) {
    EXPECT_TRUE(keys.insert(row.key).second) << row.key << " has two rows";
    const Setting* const setting = findSetting(row.key);
    ASSERT_NE(setting, nullptr) << row.key;
    EXPECT_TRUE(setting->isOffered()) << row.key;
    EXPECT_FALSE(row.label.empty()) << row.key;

    const bool isToggle = row.control == SettingControl::toggle;
    EXPECT_EQ(setting->type == "true or false", isToggle) << row.key;
    std::vector<std::string> offered;
    for (const ChoiceWords& choice : row.choices) offered.emplace_back(choice.stored);
    EXPECT_EQ(offered, isToggle ? std::vector<std::string>() : setting->choices) << row.key;
    EXPECT_EQ(row.control == SettingControl::choice, !row.choices.empty()) << row.key;
    EXPECT_EQ(row.control == SettingControl::number, setting->least < setting->most) << row.key;

    if (row.needs.key.empty()) continue;
    const Setting* const needed = findSetting(row.needs.key);
    ASSERT_NE(needed, nullptr) << row.key;
    EXPECT_THAT(needed->choices, testing::Contains(row.needs.value)) << row.key;
  }
  for (const Setting& setting : settingsTable()) {
    EXPECT_EQ(setting.isOffered(), keys.contains(setting.key)) << setting.key;
  }
}

TEST(SettingRowsTest, RowsOfAGroupAndGroupsOfAPaneStandTogether) {
  std::set<std::pair<SettingsPane, std::string_view>> left;
  const SettingRow* before = nullptr;
  for (const SettingRow& row : settingRows()) {
    if (before != nullptr && (before->pane != row.pane || before->group != row.group)) {
      EXPECT_LE(before->pane, row.pane) << row.key;
      left.insert({before->pane, before->group});
      EXPECT_TRUE(before->pane == row.pane || row.group.empty()) << row.key;
    }
    EXPECT_FALSE(left.contains({row.pane, row.group})) << row.key;
    before = &row;
  }

  // The commands' keys in the order of the commands.
  std::vector<std::string_view> shown;
  std::vector<std::string_view> declared;
  for (const SettingRow& row : settingRows()) {
    if (row.control == SettingControl::shortcut) shown.push_back(row.key);
  }
  for (const ShortcutInfo& info : shortcutTable) {
    if (findSettingRow(info.settingsKey) != nullptr) declared.push_back(info.settingsKey);
  }
  EXPECT_EQ(shown, declared);
}

}  // namespace
}  // namespace vantorel
