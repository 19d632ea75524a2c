#include <X11/keysym.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QTemporaryDir>
#include <QVBoxLayout>

#include "platform/testing/desktop/settings_value.hpp"
#include "ui/kit/application_font.hpp"
#include "ui/kit/desktop_palette.hpp"
#include "ui/kit/floating_surface.hpp"
#include "ui/kit/icons.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/role_label.hpp"
#include "ui/kit/segmented_control.hpp"
#include "ui/kit/toggle_switch.hpp"
#include "ui/kit/tokens.hpp"
#include "ui/kit/vantorel_style.hpp"
#include "ui/kit/window_frame.hpp"
#include "ui/testing/ui_test_case.hpp"

namespace vantorel {
namespace {

using testing::ElementsAre;

class RememberedPlaces final : public WindowPlaces {
 public:
  std::map<std::string, WindowPlace> places;

  [[nodiscard]] std::optional<WindowPlace> restore(const std::string& window,
                                                   const std::string& displays) const override {
    const auto found = places.find(window + "@" + displays);
    return found == places.end() ? std::nullopt : std::optional(found->second);
  }
  void remember(const std::string& window, const std::string& displays,
                const WindowPlace& place) override {
    places[window + "@" + displays] = place;
  }
};

class TestWindow : public WindowFrame {
 public:
  explicit TestWindow(std::function<void()> onClosed)
      : WindowFrame("test", QStringLiteral("Test window"), {{400, 300}, {200, 100}},
                    std::move(onClosed)) {
    auto* const content = new QWidget;
    auto* const column = new QVBoxLayout(content);
    field = new QLineEdit;
    button = new QPushButton(QStringLiteral("Press"));
    toggle = new ToggleSwitch;
    toggle->setAccessibleName(QStringLiteral("Sounds"));
    column->addWidget(field);
    column->addWidget(button);
    column->addWidget(toggle);
    setContent(content);
  }

  QLineEdit* field;
  QPushButton* button;
  ToggleSwitch* toggle;
};

class WindowKitTest : public UiTestCase {
 protected:
  void strikeWithControl(std::uint32_t keysym) {
    client->key(XK_Control_L, true);
    strike(keysym);
    client->key(XK_Control_L, false);
    client->sync();
    settle();
  }
};

TEST_F(WindowKitTest, AWindowKeepsItsPlaceItsKeysAndItsMessages) {
  startDesktop({.windowManager = true});
  startUi();
  const auto places = std::make_shared<RememberedPlaces>();
  std::vector<std::string> told;
  auto window = std::make_unique<TestWindow>([&] { told.emplace_back("closed"); });
  window->setPlaces(places);
  window->setActions({.quit = [&] { told.emplace_back("quit"); },
                      .showHelp = [&] { told.emplace_back("help"); },
                      .showSettings = [&] { told.emplace_back("settings"); }});
  window->bringForward();
  ASSERT_TRUE(waitFor([&] { return isTitleShown("Test window") && window->isActiveWindow(); }));
  window->setGeometry(150, 120, 500, 350);
  settle();
  window->field->setFocus();
  strikeWithControl(XK_comma);
  strike(XK_F1);
  strikeWithControl(XK_q);
  EXPECT_THAT(told, ElementsAre("settings", "help", "quit"));

  bool isTriedAgain = false;
  window->showMessage(QStringLiteral("The disk is full."), QStringLiteral("Try again"),
                      [&] { isTriedAgain = true; });
  settle();
  keepPicture("kit-message");
  for (QPushButton* const button : window->findChildren<QPushButton*>()) {
    if (button->text() == QLatin1String("Try again")) button->click();
  }
  EXPECT_TRUE(isTriedAgain);

  told.clear();
  strikeWithControl(XK_w);
  ASSERT_TRUE(waitFor([&] { return !isTitleShown("Test window"); }));
  EXPECT_THAT(told, ElementsAre("closed")) << "once";
  const QRect before = window->geometry();
  window = std::make_unique<TestWindow>([] {});
  window->setPlaces(places);
  window->bringForward();
  ASSERT_TRUE(waitFor([&] { return window->isActiveWindow(); }));
  EXPECT_EQ(window->size(), before.size());
  EXPECT_LE((window->pos() - QPoint(150, 120)).manhattanLength(), 60) << "less its title bar";

  // A place beyond the display there is now.
  for (auto& [key, place] : places->places) place = {5000, -3000, 9000, 350};
  window = std::make_unique<TestWindow>([] {});
  window->setPlaces(places);
  window->bringForward();
  ASSERT_TRUE(waitFor([&] { return window->isActiveWindow(); }));
  settle();
  EXPECT_TRUE(window->screen()->geometry().contains(window->geometry()))
      << window->x() << " " << window->y() << " " << window->width();
}

TEST_F(WindowKitTest, AWindowGoesBackToItsPlaceWhenItsDisplayIsBack) {
  startDesktop({.windowManager = true});
  desktop->run({"xrandr", "--newmode", "small", "38.25", "640", "672", "736", "832", "480", "483",
                "487", "500"});
  desktop->run({"xrandr", "--addmode", "screen", "small"});
  startUi();
  const auto showDisplay = [&](const char* mode) {
    desktop->run({"xrandr", "--output", "screen", "--mode", mode});
  };
  const auto places = std::make_shared<RememberedPlaces>();
  auto window = std::make_unique<TestWindow>([] {});
  window->setPlaces(places);
  window->bringForward();
  ASSERT_TRUE(waitFor([&] { return window->isActiveWindow(); }));
  const QRect there(600, 300, 600, 450);
  window->setGeometry(there);
  ASSERT_TRUE(waitFor([&] { return window->geometry() == there; }));
  const auto remembered = places->places;

  showDisplay("small");
  const QRect small(0, 0, 640, 480);
  ASSERT_TRUE(waitFor([&] { return small.contains(window->frameGeometry()); }))
      << window->frameGeometry().y() << ", with its title bar";
  EXPECT_NE(window->frameGeometry(), window->geometry());
  showDisplay("1280x800");
  EXPECT_TRUE(waitFor([&] { return window->geometry() == there; })) << window->x();
  settle();
  for (const auto& [key, place] : remembered) EXPECT_EQ(places->places[key], place) << key;
}

TEST_F(WindowKitTest, WordsOfEverySizeFollowTheFontOfTheDesktop) {
  startDesktop({.windowManager = true});
  startUi();
  TestWindow window([] {});
  auto* const small =
      new RoleLabel(QStringLiteral("small"), &PaletteRoles::text, tokens::smallFont, window.button);
  auto* const title = new QLabel(QStringLiteral("title"), window.button);
  setFollowingFont(*title, tokens::titleFont);
  window.bringForward();
  ASSERT_TRUE(waitFor([&] { return window.isActiveWindow(); }));
  for (const int points : {15, 8}) {
    client->setDesktopSettings(settingsValue(
        {{"Gtk/FontName", "DejaVu Serif Semi-Bold Oblique " + std::to_string(points)}}));
    ASSERT_TRUE(waitFor([&] { return window.field->font().pointSize() == points; }));
    EXPECT_EQ(window.field->font().family(), QLatin1String("DejaVu Serif"));
    EXPECT_TRUE(window.field->font().italic());
    EXPECT_EQ(small->font(), tokens::smallFont());
    EXPECT_EQ(title->font(), tokens::titleFont());
  }
}

TEST_F(WindowKitTest, TheRingOfTheFocusShowsForKeysOnly) {
  startDesktop({.windowManager = true});
  startUi();
  TestWindow window([] {});
  window.bringForward();
  ASSERT_TRUE(waitFor([&] { return window.isActiveWindow(); }));
  const auto hasRing = [&] {
    const QColor ring = rolesOf(window.palette()).focus;
    const QImage picture = window.button->grab().toImage();
    return QColor(picture.pixel(picture.width() / 2, 0)).rgb() == ring.rgb();
  };
  const QPoint middle = window.button->mapToGlobal(window.button->rect().center());
  movePointer(middle);
  click(middle);
  ASSERT_TRUE(waitFor([&] { return window.button->hasFocus(); }));
  EXPECT_FALSE(hasRing());
  movePointer({5, 5});
  strike(XK_Tab);
  ASSERT_TRUE(waitFor([&] { return window.toggle->hasFocus(); }));
  client->key(XK_Shift_L, true);
  strike(XK_Tab);
  client->key(XK_Shift_L, false);
  ASSERT_TRUE(waitFor([&] { return window.button->hasFocus(); }));
  EXPECT_TRUE(hasRing());
  keepPicture("kit-focus");
  strike(XK_Tab);
  strike(XK_space);
  EXPECT_TRUE(waitFor([&] { return window.toggle->isChecked(); }));
}

TEST_F(WindowKitTest, ControlsOfOurOwnAreKnownToScreenReaders) {
  startDesktop();
  startUi();
  ToggleSwitch toggle;
  toggle.setAccessibleName(QStringLiteral("Sounds"));
  toggle.setChecked(true);
  QAccessibleInterface* const seen = QAccessible::queryAccessibleInterface(&toggle);
  ASSERT_NE(seen, nullptr);
  EXPECT_EQ(seen->role(), QAccessible::CheckBox);
  EXPECT_EQ(seen->text(QAccessible::Name), QStringLiteral("Sounds"));
  EXPECT_TRUE(seen->state().checked);

  SegmentedControl views(
      {{QStringLiteral("Grid"), QStringLiteral("Grid (Ctrl+1)"), IconName::grid},
       {QStringLiteral("List"), QStringLiteral("List (Ctrl+2)"), IconName::list}});
  std::vector<int> chosen;
  views.onChosen([&](int index) { chosen.push_back(index); });
  views.setCurrent(1);
  EXPECT_THAT(chosen, ElementsAre()) << "nobody chose";
  const auto buttons = views.findChildren<QAbstractButton*>();
  buttons[0]->click();
  EXPECT_THAT(chosen, ElementsAre(0));
  QAccessibleInterface* const segment = QAccessible::queryAccessibleInterface(buttons[0]);
  EXPECT_EQ(segment->role(), QAccessible::RadioButton);
  EXPECT_EQ(segment->text(QAccessible::Name), QStringLiteral("Grid"));
}

TEST_F(WindowKitTest, EverySymbolIsDrawnInItsColor) {
  startDesktop();
  startUi();
  for (std::size_t i = 0; i < iconCount; ++i) {
    const QImage picture =
        iconPixmap(static_cast<IconName>(i), {20, 20}, 2, QColor(0xff0000)).toImage();
    ASSERT_EQ(picture.size(), QSize(40, 40));
    int inked = 0;
    for (int y = 0; y < 40; ++y) {
      for (int x = 0; x < 40; ++x) {
        const QColor color = picture.pixelColor(x, y);
        if (color.alpha() < 200) continue;
        ++inked;
        EXPECT_EQ(color.name(), QStringLiteral("#ff0000")) << i;
      }
    }
    EXPECT_GT(inked, 8) << i;
  }
  // An icon made in the light is right in the dark.
  QApplication::setPalette(desktopPalette(false));
  const QIcon symbol = icon(IconName::stop);
  const QImage light = symbol.pixmap(20, 20).toImage();
  QApplication::setPalette(desktopPalette(true));
  const QImage dark = symbol.pixmap(20, 20).toImage();
  EXPECT_LT(light.pixelColor(10, 10).lightness(), 60);
  EXPECT_GT(dark.pixelColor(10, 10).lightness(), 200);
}

class FloatingSurfaceTest : public WindowKitTest, public testing::WithParamInterface<bool> {};

TEST_P(FloatingSurfaceTest, IsAboveAllTakesNoFocusAndHasRoundCorners) {
  const bool hasCompositor = GetParam();
  startDesktop({.windowManager = true, .compositor = hasCompositor});
  const auto below = client->open({.area = {0, 0, 1280, 800}, .seed = 3, .overrideRedirect = true});
  startUi();
  movePointer({10, 10});
  const QImage before = screen("kit-floating-before");
  FloatingSurface panel(nativeWindows(), QStringLiteral("Vantorel panel"));
  panel.setPanelGeometry({500, 300, 280, 120});
  EXPECT_EQ(panel.panelGeometry(), QRect(500, 300, 280, 120));
  panel.show();
  ASSERT_TRUE(waitFor([&] { return isTitleShown("Vantorel panel"); }));
  EXPECT_FALSE(panel.isActiveWindow());
  movePointer({640, 360});
  EXPECT_NE(windowUnderPointer(), below);
  movePointer({490, 360});
  EXPECT_EQ(windowUnderPointer(), below) << "the shadow is nothing to click on";
  movePointer({10, 10});
  ASSERT_TRUE(
      waitFor([&] { return QColor(screen("kit-floating").pixel(640, 360)).lightness() < 60; }));
  const QImage shown = screen(hasCompositor ? "kit-floating-shadow" : "kit-floating-plain");
  // The corner shows what lies below, under a shadow at most.
  const QColor corner(shown.pixel(501, 301));
  const QColor was(before.pixel(501, 301));
  EXPECT_LT(std::abs(corner.lightness() - was.lightness()), hasCompositor ? 80 : 1);
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutACompositor, FloatingSurfaceTest, testing::Bool());

TEST(KeptOnScreenTest, AWindowIsNeverOffTheScreen) {
  const QList<QRect> areas{{0, 30, 1280, 770}, {1280, 0, 1920, 1080}};
  const QSize least(200, 100);
  EXPECT_EQ(keptOnScreen({100, 100, 500, 400}, least, areas), QRect(100, 100, 500, 400));
  EXPECT_EQ(keptOnScreen({100, 0, 500, 400}, least, areas), QRect(100, 30, 500, 400));
  EXPECT_EQ(keptOnScreen({1200, 500, 500, 900}, least, areas), QRect(1280, 180, 500, 900));
  EXPECT_EQ(keptOnScreen({9000, 9000, 20, 10}, least, areas), QRect(1080, 700, 200, 100));
  EXPECT_EQ(keptOnScreen({-50, -50, 5000, 5000}, least, {{0, 0, 150, 90}}), QRect(0, 0, 150, 90))
      << "a display that is smaller than the window may be";
}

TEST(KDEPaletteTest, TheColorsOfItsSettingsAreTakenWhereTheyMakeSense) {
  const QTemporaryDir folder;
  const QString file = folder.filePath(QStringLiteral("kdeglobals"));
  QFile text(file);
  ASSERT_TRUE(text.open(QIODevice::WriteOnly));
  text.write(
      "[General]\nfont=Noto Serif,13,-1,5,50,0,0,0,0,0\n"
      "[Colors:Window]\nBackgroundNormal=49,54,59\nForegroundNormal=239,240,241\n"
      "[Colors:View]\nBackgroundNormal=35,38,41\nForegroundNormal=1,2,x\n"
      "[Colors:Selection]\nBackgroundNormal=300,1,1\nForegroundNormal=252,252,252\n");
  text.close();
  const QPalette palette = paletteOfKDE(file);
  EXPECT_EQ(palette.color(QPalette::Window), QColor(49, 54, 59));
  EXPECT_EQ(palette.color(QPalette::WindowText), QColor(239, 240, 241));
  EXPECT_EQ(palette.color(QPalette::Base), QColor(35, 38, 41));
  EXPECT_EQ(palette.color(QPalette::Text), desktopPalette(true).color(QPalette::Text));
  EXPECT_EQ(palette.color(QPalette::Highlight), desktopPalette(true).color(QPalette::Highlight));
  EXPECT_EQ(palette.color(QPalette::HighlightedText), QColor(252, 252, 252));
  EXPECT_EQ(fontOfKDE(file).family(), QStringLiteral("Noto Serif"));
  EXPECT_EQ(fontOfKDE(file).pointSize(), 13);
}

}  // namespace
}  // namespace vantorel
