#include "ui/settings/settings_window.hpp"

#include <X11/keysym.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QToolButton>
#include <cstdlib>

#include "app/help_model.hpp"
#include "app/settings_session.hpp"
#include "app/welcome_model.hpp"
#include "ui/help/help_row.hpp"
#include "ui/help/help_window.hpp"
#include "ui/kit/desktop_palette.hpp"
#include "ui/kit/link_button.hpp"
#include "ui/kit/message_band.hpp"
#include "ui/kit/toggle_switch.hpp"
#include "ui/testing/ui_test_case.hpp"
#include "ui/welcome/welcome_window.hpp"

namespace vantorel {
namespace {

using testing::ElementsAre;

xcb_keycode_t hardwareKeyOf(xcb_connection_t* connection, std::uint32_t keysym) {
  const xcb_setup_t* const setup = xcb_get_setup(connection);
  const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
  xcb_get_keyboard_mapping_reply_t* const mapping = xcb_get_keyboard_mapping_reply(
      connection, xcb_get_keyboard_mapping(connection, setup->min_keycode, count), nullptr);
  xcb_keycode_t found = 0;
  for (int i = 0; i < xcb_get_keyboard_mapping_keysyms_length(mapping); ++i) {
    if (xcb_get_keyboard_mapping_keysyms(mapping)[i] != keysym) continue;
    found = static_cast<xcb_keycode_t>(setup->min_keycode + i / mapping->keysyms_per_keycode);
    break;
  }
  std::free(mapping);
  return found;
}

class SettingsWindowTest : public UiTestCase {
 protected:
  void start(TestDesktopOptions options = {.windowManager = true}) {
    startDesktop(options);
    startUi();
    session.emplace();
    session->start();
    recorder.emplace(
        ShortcutRecorder::Services{.settings = *session->settings, .keys = &*session->keys});
    model = std::make_shared<SettingsModel>(
        SettingsModel::Services{.settings = *session->settings,
                                .history = session->store,
                                .clock = session->runners,
                                .alerts = session->alerts,
                                .autostart = session->autostartSwitch,
                                .library = *session->pane,
                                .retention = *session->retention,
                                .recorder = *recorder,
                                .text = session->text,
                                .home = "/home/u"});
  }

  template <class Window>
  void bring(Window& window, const char* title) {
    window.bringForward();
    ASSERT_TRUE(waitFor([&] { return isTitleShown(title) && window.isActiveWindow(); }));
    turn();
  }

  /// What the model began runs, and the window shows it.
  void turn() {
    session->runners.run();
    settle();
  }

  /// Where it is scrolled out of view it is scrolled to first.
  void clickOn(QWidget& widget) {
    for (QWidget* around = widget.parentWidget(); around != nullptr;
         around = around->parentWidget()) {
      auto* const area = qobject_cast<QScrollArea*>(around);
      if (area == nullptr || area->widget() == nullptr) continue;
      area->ensureWidgetVisible(&widget);
      settle();
      break;
    }
    click(widget.mapToGlobal(widget.rect().center()) * widget.devicePixelRatio());
    settle();
  }

  /// The child of that accessible name.
  template <class Child>
  Child* named(QWidget& window, const char* name) {
    for (Child* const child : window.findChildren<Child*>()) {
      if (child->accessibleName() == QLatin1String(name) && child->isVisible()) return child;
    }
    ADD_FAILURE() << "no " << name;
    return nullptr;
  }

  std::optional<SettingsSession> session;
  std::optional<ShortcutRecorder> recorder;
  std::shared_ptr<SettingsModel> model;
};

TEST_F(SettingsWindowTest, WhatIsClickedAndTypedIsSetAtOnceAndFollowsFromElsewhere) {
  start();
  bool isClosed = false;
  SettingsWindow window(model, [&] { isClosed = true; });
  bring(window, "Settings");
  keepPicture("settings-general");

  auto* const sounds = named<ToggleSwitch>(window, "Play sounds");
  ASSERT_NE(sounds, nullptr);
  clickOn(*sounds);
  EXPECT_FALSE(session->settings->values().playSounds);
  keepPicture("settings-general-changed");
  auto* const back = named<QToolButton>(window, "Play sounds: Back to on");
  ASSERT_NE(back, nullptr);
  clickOn(*back);
  EXPECT_TRUE(session->settings->values().playSounds);
  EXPECT_FALSE(back->isVisible());
  session->defaults.changeOutside("playSounds", JSONValue{false});
  EXPECT_FALSE(sounds->isChecked());

  auto* const name = named<QLineEdit>(window, "Name");
  ASSERT_NE(name, nullptr);
  clickOn(*name);
  name->selectAll();
  strike(XK_s);
  strike(XK_slash);
  settle();
  EXPECT_EQ(name->text(), "s/") << "what is refused stays for the one who types";
  EXPECT_EQ(session->settings->values().filenameTemplate, "s");
  keepPicture("settings-refused");
  strike(XK_Tab);
  settle();
  EXPECT_EQ(name->text(), "s/") << "nobody has to type it again";
  model->select(SettingsPane::library);
  model->select(SettingsPane::general);
  settle();
  auto* const again = named<QLineEdit>(window, "Name");
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(again->text(), "s/");
  auto* const usual = named<QToolButton>(window, "Name: Back to Screenshot");
  ASSERT_NE(usual, nullptr);
  clickOn(*usual);
  EXPECT_EQ(again->text(), "Screenshot");

  // By the keyboard alone: search, then change what is found.
  client->key(XK_Control_L, true);
  strike(XK_f);
  client->key(XK_Control_L, false);
  for (const std::uint32_t letter : {XK_d, XK_e, XK_l, XK_a, XK_y}) strike(letter);
  settle();
  keepPicture("settings-search");
  auto* const delay = named<QComboBox>(window, "Delay");
  ASSERT_NE(delay, nullptr);
  strike(XK_F6);
  settle();
  EXPECT_TRUE(delay->hasFocus());
  strike(XK_Down);
  settle();
  EXPECT_EQ(session->settings->values().captureDelaySeconds, CaptureDelay::three);

  client->key(XK_Control_L, true);
  strike(XK_w);
  client->key(XK_Control_L, false);
  ASSERT_TRUE(waitFor([&] { return isClosed; }));
}

TEST_F(SettingsWindowTest, WhatCouldNotBeSavedIsSaidUntilItIs) {
  start();
  SettingsWindow window(model, [] {});
  bring(window, "Settings");
  session->defaults.becomeUnsaved("the disk is full");
  const auto* const band = window.findChild<MessageBand*>();
  EXPECT_TRUE(band->sentence().startsWith("The settings couldn't be saved: the disk is full. "));
  const auto tryAgain = [&] {
    for (QPushButton* const button : band->findChildren<QPushButton*>()) {
      if (button->text() == QLatin1String("Try again")) button->click();
    }
    turn();
  };
  tryAgain();
  EXPECT_FALSE(band->sentence().isEmpty()) << "said once more";
  session->defaults.becomeUnsaved("");
  EXPECT_TRUE(band->sentence().isEmpty());
}

TEST_F(SettingsWindowTest, AKeyIsRecordedThoughAnotherProgramHoldsIt) {
  start();
  // As another program has it.
  TestClient other(desktop->display());
  xcb_connection_t* const grabber = other.connection();
  xcb_grab_key(grabber, 0, xcb_setup_roots_iterator(xcb_get_setup(grabber)).data->root, 0,
               hardwareKeyOf(grabber, XK_F11), XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
  other.sync();
  model->select(SettingsPane::shortcuts);
  SettingsWindow window(model, [] {});
  const auto native = nativeWindows();
  window.setPlainSymbol([&](std::uint32_t key) { return native->plainSymbol(key); });
  bring(window, "Settings");
  keepPicture("settings-shortcuts");

  auto* const timer = named<ShortcutField>(window, "Capture with self-timer");
  ASSERT_NE(timer, nullptr);
  clickOn(*timer);
  client->key(XK_Alt_L, true);
  settle();
  keepPicture("settings-recording");
  strike(XK_Print);
  client->key(XK_Alt_L, false);
  settle();
  keepPicture("settings-taken");
  EXPECT_EQ(recorder->field("timedCaptureHotKey").remark, "Alt+Print is “Capture window”.");
  const QPoint asked = timer->mapToGlobal(QPoint());
  for (LinkButton* const button : window.findChildren<LinkButton*>()) {
    if (button->isVisible() && button->text() == QLatin1String("Use it here")) clickOn(*button);
  }
  EXPECT_EQ(timer->mapToGlobal(QPoint()), asked) << "nothing moves when a question goes";
  EXPECT_EQ(session->settings->values().windowHotKey, std::nullopt);
  EXPECT_EQ(session->settings->values().timedCaptureHotKey,
            (HotKeySpec{XK_Print, HotKeySpec::option}));

  // A shifted digit is known by what it writes without Shift.
  clickOn(*timer);
  client->key(XK_Control_L, true);
  client->key(XK_Shift_L, true);
  strike(XK_7);
  client->key(XK_Shift_L, false);
  client->key(XK_Control_L, false);
  settle();
  EXPECT_EQ(session->settings->values().timedCaptureHotKey,
            (HotKeySpec{XK_7, HotKeySpec::control | HotKeySpec::shift}));

  clickOn(*timer);
  strike(XK_F11);
  settle();
  EXPECT_EQ(session->settings->values().timedCaptureHotKey, (HotKeySpec{XK_F11, 0}));

  // Keys of the window, Tab among them, are keys like others then; Escape gives up.
  clickOn(*timer);
  strike(XK_Print);
  settle();
  EXPECT_EQ(recorder->field("timedCaptureHotKey").remark, "Print is “Capture”.");
  client->key(XK_Control_L, true);
  strike(XK_w);
  client->key(XK_Control_L, false);
  settle();
  EXPECT_TRUE(window.isVisible());
  EXPECT_EQ(session->settings->values().timedCaptureHotKey,
            (HotKeySpec{XK_w, HotKeySpec::control}));
  clickOn(*timer);
  strike(XK_Escape);
  settle();
  EXPECT_EQ(recorder->listening(), "");
}

TEST_F(SettingsWindowTest, WhoIsLedToARowFindsTheKeyboardThere) {
  start();
  model->pointTo("captureHotKey");
  SettingsWindow window(model, [] {});
  bring(window, "Settings");
  auto* const capture = named<ShortcutField>(window, "Capture");
  ASSERT_NE(capture, nullptr);
  EXPECT_TRUE(capture->hasFocus());
  model->pointTo("exportFormat");
  settle();
  auto* const format = named<QComboBox>(window, "Format");
  EXPECT_TRUE(format->hasFocus());
  // The wheel turns it only while it has the keyboard.
  const auto turnWheel = [format] {
    QWheelEvent turn(QPointF(5, 5), format->mapToGlobal(QPointF(5, 5)), {}, QPoint(0, -120),
                     Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(format, &turn);
    return turn.isAccepted();
  };
  const QString chosen = format->currentText();
  EXPECT_TRUE(turnWheel());
  EXPECT_NE(format->currentText(), chosen);
  format->clearFocus();
  const QString now = format->currentText();
  EXPECT_FALSE(turnWheel());
  EXPECT_EQ(format->currentText(), now);
  QAccessibleInterface* const seen = QAccessible::queryAccessibleInterface(format);
  EXPECT_EQ(seen->text(QAccessible::Name), "Format");
  EXPECT_EQ(seen->text(QAccessible::Value), format->currentText());
  for (const auto* const field : window.findChildren<QLineEdit*>()) {
    for (auto* const button : field->findChildren<QToolButton*>()) {
      EXPECT_FALSE(button->isVisible() && button->accessibleName().isEmpty());
    }
  }
  // Once: later it is where the person has put it.
  model->select(SettingsPane::general);
  named<QLineEdit>(window, "Name")->setFocus();
  session->settings->set(&SettingsValues::playSounds, false);
  settle();
  EXPECT_TRUE(named<QLineEdit>(window, "Name")->hasFocus());
}

TEST_F(SettingsWindowTest, ALanguageInstalledMeanwhileIsThereWhenTheWindowIsBack) {
  start();
  model->select(SettingsPane::text);
  SettingsWindow window(model, [] {});
  bring(window, "Settings");
  const auto isRead = [&](const char* words) {
    for (const auto* const label : window.findChildren<QLabel*>()) {
      if (label->isVisible() && label->text() == QLatin1String(words)) return true;
    }
    return false;
  };
  EXPECT_TRUE(isRead("English"));
  EXPECT_TRUE(isRead("sudo apt install tesseract-ocr-deu"));
  for (auto* const button : window.findChildren<QPushButton*>()) {
    if (button->isVisible() && button->text() == QLatin1String("Copy")) clickOn(*button);
  }
  EXPECT_EQ(session->copied.size(), 1U);
  turn();
  EXPECT_TRUE(isRead("Copied"));

  session->recogniser->installed = {"deu", "eng"};
  QWidget terminal;
  terminal.show();
  terminal.activateWindow();
  ASSERT_TRUE(waitFor([&] { return terminal.isActiveWindow(); }));
  turn();
  EXPECT_FALSE(isRead("English; German")) << "nobody looks";
  terminal.close();
  bring(window, "Settings");
  turn();
  EXPECT_TRUE(isRead("English; German"));
}

TEST_F(SettingsWindowTest, EveryPaneFitsItsLeastSizeAndSaysWhatItIsToScreenReaders) {
  start();
  SettingsWindow window(model, [] {});
  bring(window, "Settings");
  for (const SettingsPane pane : model->panes()) {
    model->select(pane);
    for (const QSize size : {QSize(560, 420), QSize(800, 640)}) {
      window.resize(size);
      settle();
      keepPicture("settings-" + std::string(nameOf(pane)) + "-" + std::to_string(size.width()));
      const auto* const scroll = window.findChild<QScrollArea*>();
      EXPECT_LE(scroll->widget()->minimumSizeHint().width(), scroll->viewport()->width())
          << nameOf(pane) << " is cut off at " << size.width();
      for (const QWidget* const child : window.findChildren<QWidget*>()) {
        if (!child->isVisible() || !(child->focusPolicy() & Qt::TabFocus)) continue;
        const auto* const button = qobject_cast<const QAbstractButton*>(child);
        const bool hasText = button != nullptr && !button->text().isEmpty();
        EXPECT_TRUE(hasText || !child->accessibleName().isEmpty())
            << nameOf(pane) << " " << child->metaObject()->className();
      }
    }
  }
}

TEST_F(SettingsWindowTest, HelpIsSearchedAndRunsACommand) {
  start();
  const auto help = std::make_shared<HelpModel>(HelpModel::Services{
      .keys = &*session->keys,
      .obstacle = [](const DesktopCommand& command) -> std::optional<std::string> {
        if (command.name == "UndoRecentDelete") return "There is nothing to undo.";
        return std::nullopt;
      },
      .perform =
          [this](const DesktopCommand& command) { session->performed.push_back(command.name); }});
  HelpWindow window(help, [] {});
  bring(window, "Help");
  keepPicture("help");
  for (const std::uint32_t letter : {XK_w, XK_i, XK_n, XK_d, XK_o, XK_w}) strike(letter);
  settle();
  keepPicture("help-search");
  auto* const row = named<HelpRow>(window, "Capture window, Alt+Print");
  ASSERT_NE(row, nullptr);
  clickOn(*row);
  EXPECT_THAT(session->performed, ElementsAre("CaptureWindow"));
  strike(XK_Escape);
  settle();
  EXPECT_NE(named<HelpRow>(window, "Preview, Space"), nullptr);
}

TEST_F(SettingsWindowTest, TheFirstStartIsOverHoweverItIsClosed) {
  start();
  std::vector<std::string> opened;
  const auto welcome = std::make_shared<WelcomeModel>(
      WelcomeModel::Services{.settings = *session->settings,
                             .autostart = session->autostartSwitch,
                             .library = *session->pane,
                             .home = "/home/u",
                             .openShortcuts = [&] { opened.emplace_back("shortcuts"); },
                             .openHelp = [&] { opened.emplace_back("help"); },
                             .captureArea = [&] { opened.emplace_back("capture"); }});
  bool isClosed = false;
  WelcomeWindow window(welcome, [&] { isClosed = true; });
  bring(window, "Vantorel");
  keepPicture("first-start");
  auto* const toggle = named<ToggleSwitch>(window, "Start with the session");
  ASSERT_NE(toggle, nullptr);
  clickOn(*toggle);
  turn();
  EXPECT_TRUE(session->autostart.on);
  for (QPushButton* const button : window.findChildren<QPushButton*>()) {
    if (button->text() == QStringLiteral("Change…") ||
        button->text() == QLatin1String("All keys") ||
        button->text() == QLatin1String("Try a capture")) {
      clickOn(*button);
    }
  }
  EXPECT_THAT(opened, testing::UnorderedElementsAre("shortcuts", "help", "capture"));
  session->settings->set(&SettingsValues::captureHotKey, std::nullopt);
  settle();
  keepPicture("first-start-no-key");
  strike(XK_Return);
  ASSERT_TRUE(waitFor([&] { return isClosed; }));
  EXPECT_TRUE(session->settings->values().hasCompletedOnboarding);
}

}  // namespace
}  // namespace vantorel
