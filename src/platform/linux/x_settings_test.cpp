#include "platform/linux/x_settings.hpp"

#include <gtest/gtest.h>

#include <string>

#include "platform/testing/desktop/settings_value.hpp"

namespace vantorel {
namespace {

XSettings settings(std::initializer_list<SharedSetting> all) {
  return xSettingsFrom(settingsValue(all));
}

TEST(XSettingsTest, WhatIsCutOffOrMakesNoSenseSaysNothing) {
  std::string whole = settingsValue({{"Net/ThemeName", "Adwaita-dark"},
                                     {"Gdk/WindowScalingFactor", 2U},
                                     {"Gtk/FontName", "Sans 10"}});
  whole += std::string("\2\0\1\0C\0\0\0\7\0\0\0rgbaRGBA", 20);
  whole[8] = 4;
  EXPECT_EQ(scalingFactor(xSettingsFrom(whole)), 2);
  EXPECT_EQ(lookOf(xSettingsFrom(whole)), (DesktopLook{"Sans 10", true}));
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const XSettings cut = xSettingsFrom(whole.substr(0, size));
    EXPECT_TRUE(cut.numbers.empty() && cut.texts.empty()) << size;
  }
  whole[12] = 7;  // a value of no known kind
  EXPECT_TRUE(xSettingsFrom(whole).texts.empty());
  EXPECT_TRUE(xSettingsFrom(std::string(64, '\xFF')).numbers.empty());
  const std::string mostSignificantFirst(
      "\1\0\0\0\0\0\0\7\0\0\0\1\0\0\0\27Gdk/WindowScalingFactor\0\0\0\0\0\0\0\0\2", 48);
  EXPECT_EQ(scalingFactor(xSettingsFrom(mostSignificantFirst)), 2);
}

TEST(XSettingsTest, TheDesktopsFactorCountsUnlessTheResolutionHasIt) {
  const SharedSetting factor{"Gdk/WindowScalingFactor", 2U};
  const SharedSetting unscaled{"Gdk/UnscaledDPI", 98304U};
  EXPECT_EQ(scalingFactor(settings({factor})), 2);
  EXPECT_EQ(scalingFactor(settings({factor, unscaled})), 1);
  EXPECT_EQ(scalingFactor(settings({unscaled, factor})), 1);
  EXPECT_EQ(scalingFactor(settings({{"Gdk/WindowScalingFactor", 99U}})), 1);
  EXPECT_EQ(scalingFactor({}), 1);
}

TEST(XSettingsTest, AThemeSaysWhetherItIsDark) {
  const auto isDark = [](std::initializer_list<SharedSetting> all) {
    return lookOf(settings(all)).isDark;
  };
  for (const char* const name : {"Greybird-dark", "Arc-Dark", "Mint-Y-Dark-Aqua", "Adwaita:dark",
                                 "Materia_dark_compact", "HighContrastInverse"}) {
    EXPECT_EQ(isDark({{"Net/ThemeName", name}}), true) << name;
  }
  for (const char* const name : {"Adwaita", "Arc-Darker", "Darkest", "HighContrast", ""}) {
    EXPECT_EQ(isDark({{"Net/ThemeName", name}}), false) << name;
  }
  constexpr const char* wish = "Gtk/ApplicationPreferDarkTheme";
  EXPECT_EQ(isDark({{wish, 1U}, {"Net/ThemeName", "Adwaita"}}), true);
  EXPECT_EQ(isDark({{"Net/ThemeName", "Adwaita-dark"}, {wish, 0U}}), true);
  EXPECT_EQ(isDark({{wish, 0U}}), std::nullopt);
  EXPECT_EQ(isDark({}), std::nullopt);
}

}  // namespace
}  // namespace vantorel
