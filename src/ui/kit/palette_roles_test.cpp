#include "ui/kit/palette_roles.hpp"

#include <gtest/gtest.h>

#include <vector>

#include "ui/kit/desktop_palette.hpp"

namespace vantorel {
namespace {

QPalette paletteOf(QRgb window, QRgb base, QRgb text, QRgb highlight, QRgb onHighlight) {
  QPalette palette = desktopPalette(false);
  palette.setColor(QPalette::Window, QColor(window));
  palette.setColor(QPalette::Base, QColor(base));
  palette.setColor(QPalette::WindowText, QColor(text));
  palette.setColor(QPalette::Highlight, QColor(highlight));
  palette.setColor(QPalette::HighlightedText, QColor(onHighlight));
  return palette;
}

/// Those of desktops, and those that somebody may have put together by hand.
std::vector<std::pair<const char*, QPalette>> manyPalettes() {
  std::vector<std::pair<const char*, QPalette>> all{
      {"light", desktopPalette(false)},
      {"dark", desktopPalette(true)},
      {"yellow accent", desktopPalette(false, QColor(0xffd400))},
      {"yellow accent in the dark", desktopPalette(true, QColor(0xffd400))},
      {"nearly black accent in the dark", desktopPalette(true, QColor(0x202020))},
      {"breeze", paletteOf(0xeff0f1, 0xffffff, 0x232629, 0x3daee9, 0xffffff)},
      {"breeze dark", paletteOf(0x31363b, 0x232629, 0xeff0f1, 0x3daee9, 0xeff0f1)},
      {"black on white", paletteOf(0xffffff, 0xffffff, 0x000000, 0x000000, 0xffffff)},
      {"white on black", paletteOf(0x000000, 0x000000, 0xffffff, 0xffff00, 0x000000)},
      {"solarized", paletteOf(0xfdf6e3, 0xeee8d5, 0x657b83, 0x268bd2, 0xfdf6e3)},
      {"gray on gray", paletteOf(0x808080, 0x909090, 0x7a7a7a, 0x858585, 0x888888)},
      {"highlight of the window's color", paletteOf(0xf0f0f0, 0xffffff, 0x222222, 0xf0f0f0, 0)},
      {"red", paletteOf(0x7f0000, 0x600000, 0xffc0c0, 0xff0000, 0xffffff)},
  };
  for (int hue = 0; hue < 360; hue += 30) {
    all.emplace_back("a hue", desktopPalette((hue / 30) % 2 == 0, QColor::fromHsv(hue, 255, 255)));
  }
  return all;
}

TEST(PaletteRolesTest, AllIsReadableOnAnyPalette) {
  for (const auto& [name, palette] : manyPalettes()) {
    SCOPED_TRACE(name);
    const PaletteRoles roles = rolesOf(palette);
    // A window in the middle of the grays leaves no more than this.
    const double text = std::min(
        4.5,
        std::max({contrast(Qt::black, roles.window), contrast(Qt::white, roles.window)}) - 0.8);
    for (const QColor& ground : {roles.window, roles.base}) {
      EXPECT_GE(contrast(roles.text, ground), text);
      EXPECT_GE(contrast(roles.quiet, ground), text);
      EXPECT_GE(contrast(roles.accentText, ground), text);
      EXPECT_GE(contrast(roles.danger, ground), text);
      EXPECT_GE(contrast(roles.focus, ground), 2.99);
    }
    EXPECT_GE(contrast(roles.text, roles.selection), text);
    EXPECT_GE(contrast(roles.accentText, roles.selection), text);
    EXPECT_GE(contrast(roles.onAccent, roles.accentFill), 4.49);
    EXPECT_GE(contrast(roles.warning, roles.warningGround), 4.49);
    EXPECT_GE(contrast(roles.switchOff, roles.base), 2.99);
  }
}

TEST(PaletteRolesTest, TheUsualPalettesHaveTheirUsualColors) {
  const auto isNear = [](const QColor& color, QRgb wanted) {
    const QColor other(wanted);
    return std::abs(color.red() - other.red()) <= 14 &&
           std::abs(color.green() - other.green()) <= 14 &&
           std::abs(color.blue() - other.blue()) <= 14;
  };
  const PaletteRoles light = rolesOf(desktopPalette(false));
  EXPECT_TRUE(isNear(light.quiet, 0x5c5f67)) << light.quiet.name().toStdString();
  EXPECT_TRUE(isNear(light.accentFill, 0x2a6fdb)) << light.accentFill.name().toStdString();
  EXPECT_TRUE(isNear(light.accentText, 0x1f5fc4)) << light.accentText.name().toStdString();
  EXPECT_TRUE(isNear(light.side, 0xefeff1)) << light.side.name().toStdString();
  EXPECT_TRUE(isNear(light.work, 0xe6e7ea)) << light.work.name().toStdString();
  const PaletteRoles dark = rolesOf(desktopPalette(true));
  EXPECT_NEAR(contrast(dark.quiet, dark.window), 5.6, 0.2) << "no louder than it must be";
  EXPECT_TRUE(isNear(dark.side, 0x1b1c1e)) << dark.side.name().toStdString();
  EXPECT_TRUE(isNear(dark.work, 0x121315)) << dark.work.name().toStdString();
  EXPECT_TRUE(dark.isDark);
  EXPECT_FALSE(dark.isHighContrast);
  EXPECT_TRUE(rolesOf(paletteOf(0xffffff, 0xffffff, 0, 0x0000ff, 0xffffff)).isHighContrast);
}

}  // namespace
}  // namespace vantorel
