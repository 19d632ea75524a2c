#include <X11/keysym.h>
#include <gmock/gmock.h>

#include <QApplication>
#include <QBuffer>
#include <QColor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QFont>
#include <QPalette>
#include <QWindow>

#include "platform/testing/desktop/settings_value.hpp"
#include "ui/testing/ui_test_case.hpp"

namespace vantorel {
namespace {

using testing::ElementsAre;

class AlertsTest : public UiTestCase {
 protected:
  static Alert quitAlert() {
    return {Alert::Style::warning,
            "Vantorel is still saving a Recording and your changes in Annotate.",
            "If you quit now, they will be lost.",
            {{"Quit Anyway"}, {"Keep Waiting", true, true}}};
  }

  AlertID ask(Alert alert) {
    return ui->alerts().ask(std::move(alert),
                            [this](std::size_t button) { answers.push_back(button); });
  }

  bool isShown() { return isTitleShown("Vantorel"); }

  std::vector<std::size_t> answers;
};

TEST_F(AlertsTest, EveryWayOutAnswersAndNoneWithoutBeingAsked) {
  startDesktop({.windowManager = true});
  startUi();
  EXPECT_FALSE(ui->alerts().isModalDialogUp());
  const auto answerBy = [&](const char* what, std::size_t expected, auto act) {
    answers.clear();
    ask(quitAlert());
    ASSERT_TRUE(waitFor([&] { return isShown(); })) << what;
    settle();
    EXPECT_TRUE(ui->alerts().isModalDialogUp());
    act();
    ASSERT_TRUE(waitFor([&] { return !answers.empty(); })) << what;
    EXPECT_THAT(answers, ElementsAre(expected)) << what;
    EXPECT_FALSE(ui->alerts().isModalDialogUp());
    ASSERT_TRUE(waitFor([&] { return !isShown(); }));
  };
  answerBy("Return", 1, [&] {
    keepPicture("alert-quit");
    for (const auto key : {XK_q, XK_Q}) strike(key);
    client->key(XK_Alt_L, true);
    strike(XK_q);  // no shortcut of its letters
    client->key(XK_Alt_L, false);
    EXPECT_THAT(answers, ElementsAre());
    strike(XK_Return);
  });
  answerBy("Escape", 1, [&] { strike(XK_Escape); });
  answerBy("the close button", 1, [&] {
    client->key(XK_Alt_L, true);
    strike(XK_F4);
    client->key(XK_Alt_L, false);
  });
  answerBy("Return on the other button", 0, [&] {
    strike(XK_Tab);
    keepPicture("alert-tab");
    strike(XK_Return);
  });

  // One after the other. Each is taken back by its own name, shown or not.
  answers.clear();
  const AlertID first = ask(quitAlert());
  const AlertID second = ask(quitAlert());
  ask({Alert::Style::informational,
       "Vantorel quit before it finished saving a Recording.",
       "",
       {{"OK", true}}});
  ASSERT_TRUE(waitFor([&] { return isShown(); }));
  ui->alerts().dismiss(second);
  ui->alerts().dismiss(second);
  settle();
  ui->alerts().dismiss(first);
  ASSERT_TRUE(waitFor([&] { return isShown(); }));
  keepPicture("alert-note");
  EXPECT_THAT(answers, ElementsAre());
  strike(XK_Escape);
  ASSERT_TRUE(waitFor([&] { return !answers.empty(); })) << "Escape closes a mere message";
  EXPECT_THAT(answers, ElementsAre(0));
  EXPECT_FALSE(ui->alerts().isModalDialogUp());
}

TEST_F(AlertsTest, AQuestionNobodyAskedForLeavesTheKeyboardWhereItIs) {
  startDesktop({.windowManager = true});
  const auto terminal = client->open({.area = {50, 500, 300, 200}, .title = "Terminal"});
  startUi();
  const auto focus = [&] {
    const auto cookie = xcb_get_input_focus(client->connection());
    const std::unique_ptr<xcb_get_input_focus_reply_t, decltype(&std::free)> reply(
        xcb_get_input_focus_reply(client->connection(), cookie, nullptr), &std::free);
    return reply ? reply->focus : xcb_window_t{XCB_NONE};
  };
  movePointer({100, 600});
  click({100, 600});
  ASSERT_TRUE(waitFor([&] { return focus() == terminal; }));
  // Once answered by hand, the program has a time of its own that a window manager could go by.
  ask(quitAlert());
  ASSERT_TRUE(waitFor([&] { return isShown() && focus() != terminal; }));
  strike(XK_Return);
  ASSERT_TRUE(waitFor([&] { return !isShown() && focus() == terminal; }));
  answers.clear();

  Alert unasked = quitAlert();
  unasked.takesFocus = false;
  ask(unasked);
  ASSERT_TRUE(waitFor([&] { return isShown(); }));
  settle();
  EXPECT_EQ(focus(), terminal);
  strike(XK_Return);
  settle();
  EXPECT_THAT(answers, ElementsAre());
}

/// A portal that says "dark" until it says otherwise.
class FakePortal : public QDBusVirtualObject {
 public:
  explicit FakePortal(const std::string& bus)
      : bus_(QDBusConnection::connectToBus(QString::fromStdString(bus), QStringLiteral("portal"))) {
    EXPECT_TRUE(bus_.registerVirtualObject(path(), this));
    EXPECT_TRUE(bus_.registerService(QStringLiteral("org.freedesktop.portal.Desktop")));
  }
  ~FakePortal() override { QDBusConnection::disconnectFromBus(QStringLiteral("portal")); }

  /// 0 is no wish, 1 dark, 2 light.
  void wish(unsigned scheme) {
    QDBusMessage signal =
        QDBusMessage::createSignal(path(), QStringLiteral("org.freedesktop.portal.Settings"),
                                   QStringLiteral("SettingChanged"));
    signal << QStringLiteral("org.freedesktop.appearance") << QStringLiteral("color-scheme")
           << QVariant::fromValue(QDBusVariant(scheme));
    bus_.send(signal);
  }

  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
    const QDBusVariant inner(1U);
    return connection.send(
        message.createReply(QVariant::fromValue(QDBusVariant(QVariant::fromValue(inner)))));
  }
  [[nodiscard]] QString introspect(const QString&) const override { return {}; }

 private:
  static QString path() { return QStringLiteral("/org/freedesktop/portal/desktop"); }

  QDBusConnection bus_;
};

TEST_F(AlertsTest, FollowTheDesktopIntoTheDarkAndBack) {
  startDesktop({.windowManager = true, .bus = true});
  startUi();
  FakePortal portal(desktop->busAddress());
  ask(quitAlert());
  ASSERT_TRUE(waitFor([&] { return isShown(); }));
  const QPoint inside(410, 400);  // beside the buttons
  const auto lightness = [&](const char* name) {
    return QColor(screen(name).pixel(inside)).lightness();
  };
  EXPECT_TRUE(waitFor([&] {
    const int now = lightness("alert-dark");
    return now > 25 && now < 60;
  }));
  portal.wish(0);
  EXPECT_TRUE(waitFor([&] { return lightness("alert-light") > 200; }));
  // Without a wish of its own the theme counts, with one it does not.
  client->setDesktopSettings(settingsValue({{"Net/ThemeName", "Greybird-dark"}}));
  EXPECT_TRUE(waitFor([&] { return lightness("alert-dark-theme") < 60; }));
  portal.wish(2);
  EXPECT_TRUE(waitFor([&] { return lightness("alert-light-wish") > 200; }));
}

TEST_F(AlertsTest, LookAsTheDisplayServerSaysFromTheFirstPaintOn) {
  startDesktop({.windowManager = true});
  client->setDesktopSettings(
      settingsValue({{"Net/ThemeName", "Greybird-dark"}, {"Gtk/FontName", "DejaVu Sans Bold 13"}}));
  startUi();
  const QFont usual = QApplication::font();
  ask(quitAlert());
  EXPECT_LT(QApplication::palette().color(QPalette::Window).lightness(), 60);
  EXPECT_EQ(QApplication::font().pointSizeF(), 13);
  EXPECT_TRUE(QApplication::font().bold());
  ASSERT_TRUE(waitFor([&] { return isShown(); }));
  keepPicture("alert-look-dark");
  client->setDesktopSettings(settingsValue({{"Net/ThemeName", "Greybird"}}));
  EXPECT_TRUE(waitFor(
      [&] { return QColor(screen("alert-look-light").pixel(410, 400)).lightness() > 200; }));
  EXPECT_EQ(QApplication::font(), usual);

  const auto* const window = QGuiApplication::topLevelWindows().constFirst();
  const auto cookie = xcb_get_property(client->connection(), 0, xcb_window_t(window->winId()),
                                       XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 100);
  const std::unique_ptr<xcb_get_property_reply_t, decltype(&std::free)> names(
      xcb_get_property_reply(client->connection(), cookie, nullptr), &std::free);
  ASSERT_NE(names, nullptr);
  EXPECT_EQ(
      std::string(static_cast<const char*>(xcb_get_property_value(names.get())), names->value_len),
      std::string("vantorel\0Vantorel\0", 18));
}

class CountdownTest : public UiTestCase {
 protected:
  bool isShown() { return isTitleShown("Vantorel countdown"); }
};

TEST_F(CountdownTest, StandsAboveAllTakesNothingAndLeavesInTime) {
  startDesktop({.windowManager = true, .compositor = true});
  const auto window =
      client->open({.area = {0, 0, 1280, 800}, .seed = 3, .overrideRedirect = true});
  startUi();
  movePointer({640, 400});
  const auto panel = ui->countdownPanel();
  const QImage before = screen("countdown-before");
  panel->show(3);
  ASSERT_TRUE(waitFor([&] { return isShown(); }));
  panel->show(2);
  EXPECT_TRUE(waitFor([&] { return screen("countdown") != before; }));
  EXPECT_EQ(windowUnderPointer(), window) << "clicks go through";
  bool hidden = false;
  panel->hide([&] {
    hidden = true;
    EXPECT_FALSE(isShown());
  });
  EXPECT_FALSE(isShown());
  ASSERT_TRUE(waitFor([&] { return hidden; }));
  // At that very moment a picture of the screen no longer shows it.
  EXPECT_EQ(screen("countdown-after"), before);

  hidden = false;
  panel->hide([&] { hidden = true; });
  ASSERT_TRUE(waitFor([&] { return hidden; })) << "also when it was not up";
}

TEST_F(CountdownTest, WithoutACompositorTheCornersAreCutOff) {
  startDesktop();
  client->open({.area = {0, 0, 1280, 800}, .seed = 3, .overrideRedirect = true});
  startUi();
  movePointer({640, 400});
  const QImage before = screen("countdown-plain-before");
  ui->countdownPanel()->show(10);
  ASSERT_TRUE(waitFor([&] { return isShown(); }));
  const QImage shown = screen("countdown-plain");
  EXPECT_NE(shown.pixel(640, 360), before.pixel(640, 360));
  EXPECT_EQ(shown.pixel(640 - 82, 400 - 82), before.pixel(640 - 82, 400 - 82));
}

class CaptureFlashTest : public UiTestCase {};

TEST_F(CaptureFlashTest, FramesWhatWasTakenAndLetsClicksThrough) {
  startDesktop({.windowManager = true});
  const auto window =
      client->open({.area = {0, 0, 1280, 800}, .seed = 3, .overrideRedirect = true});
  startUi();
  movePointer({301, 301});
  ui->flash({300, 300, 200, 100});
  ASSERT_TRUE(waitFor([&] { return isTitleShown("Vantorel capture flash"); }));
  EXPECT_EQ(windowUnderPointer(), window);
  ASSERT_TRUE(waitFor([&] { return !isTitleShown("Vantorel capture flash"); }));
}

class DesktopCoverTest : public UiTestCase {
 protected:
  void cover(DesktopCoverLook look) {
    ui->setDesktopCoverLook(std::move(look));
    painted = 0;
    for (int holder = 0; holder < 2; ++holder) {
      ui->desktopCoverWindows()->show([this] { ++painted; });
    }
    ASSERT_TRUE(waitFor([&] { return painted == 2; })) << "each holder is told";
  }

  int painted = 0;
};

TEST_F(DesktopCoverTest, LiesBetweenTheIconsAndTheWindows) {
  startDesktop({.windowManager = true});
  client->paintRoot(5);
  const auto icons = client->open({.area = {0, 0, 1280, 800}, .seed = 6, .overrideRedirect = true});
  // A desktop's window with the icons lies below all others; the window manager does not know it.
  const std::uint32_t below[] = {XCB_STACK_MODE_BELOW};
  xcb_configure_window(client->connection(), icons, XCB_CONFIG_WINDOW_STACK_MODE, below);
  client->sync();
  client->open({.area = {300, 200, 400, 300}, .seed = 7, .title = "A window"});
  startUi();
  const QRgb window = screen("cover-none").pixel(500, 350);

  cover({.style = DesktopCoverStyle::color, .color = "#204060"});
  const QImage coloured = screen("cover-color");
  EXPECT_EQ(QColor(coloured.pixel(50, 700)), QColor("#204060"));
  EXPECT_EQ(QColor(coloured.pixel(1279, 799)), QColor("#204060"));
  EXPECT_EQ(coloured.pixel(500, 350), window) << "windows stay above it";
  EXPECT_THAT(ui->desktopCoverWindows()->windowIDs(), testing::SizeIs(1));

  cover({.style = DesktopCoverStyle::wallpaper});
  const QImage papered = screen("cover-wallpaper");
  EXPECT_EQ(papered.pixel(50, 700), testPixel(5, 50, 700));
  EXPECT_EQ(papered.pixel(1200, 3), testPixel(5, 1200, 3));

  QByteArray file;
  QBuffer buffer(&file);
  QImage picture(64, 64, QImage::Format_RGB32);
  picture.fill(QColor("#c04020"));
  ASSERT_TRUE(picture.save(&buffer, "PNG"));
  cover({.style = DesktopCoverStyle::custom, .image = file.toStdString()});
  EXPECT_EQ(QColor(screen("cover-custom").pixel(50, 700)), QColor("#c04020"));
  cover({.style = DesktopCoverStyle::custom, .color = "#204060"});
  EXPECT_EQ(QColor(screen("cover-missing").pixel(50, 700)), QColor("#204060"));

  ui->desktopCoverWindows()->hide();
  EXPECT_THAT(ui->desktopCoverWindows()->windowIDs(), ElementsAre());
  settle();
  EXPECT_EQ(screen("cover-gone").pixel(50, 700), testPixel(6, 50, 700));
}

}  // namespace
}  // namespace vantorel
