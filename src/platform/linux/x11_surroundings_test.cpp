#include "platform/linux/x11_surroundings.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "platform/linux/x_authority.hpp"
#include "platform/testing/desktop/settings_value.hpp"
#include "platform/testing/desktop/test_client.hpp"
#include "platform/testing/desktop/test_desktop.hpp"
#include "platform/testing/desktop/test_loop.hpp"

namespace vantorel {
namespace {

using testing::ElementsAre;

struct X11SurroundingsTest : testing::Test {
  static void SetUpTestSuite() { nameXAuthority(); }

  /// Whatever was asked for before has been done when a second new look has come: the first one may
  /// have been seen before what was asked for.
  void awaitAll() {
    for (int round = 0; round < 2; ++round) {
      const DesktopLook wanted{"Sans " + std::to_string(++looks), false};
      client.setDesktopSettings(
          settingsValue({{"Gtk/FontName", wanted.font}, {"Net/ThemeName", "Adwaita"}}));
      EXPECT_TRUE(loop.runUntil([&] { return look == wanted; }));
    }
  }
  void click(int x, int y, std::uint8_t button = 1) {
    client.moveTo(x, y);
    client.button(button, true);
    client.button(button, false);
    client.sync();
  }

  TestDesktop desktop;
  TestClient client{desktop.display()};
  TestLoop loop;
  std::shared_ptr<TaskRunner> main{&loop, [](TaskRunner*) {}};
  X11Surroundings surroundings{desktop.display(), main};
  DesktopLook look;
  int looks = 0;
  Observation observation =
      surroundings.observeLook([this](const DesktopLook& now) { look = now; });
};

TEST_F(X11SurroundingsTest, TheLookIsFollowedWhoeverHasIt) {
  EXPECT_EQ(look, DesktopLook());
  awaitAll();
  client.setDesktopSettings(settingsValue({{"Net/ThemeName", "Greybird-dark"}}));
  EXPECT_TRUE(loop.runUntil([&] { return look == DesktopLook{"", true}; }));
  // The service changes its own property, and then it goes.
  auto service = std::make_unique<TestClient>(desktop.display());
  service->setDesktopSettings(settingsValue({{"Net/ThemeName", "Greybird"}}));
  EXPECT_TRUE(loop.runUntil([&] { return look == DesktopLook{"", false}; }));
  service.reset();
  EXPECT_TRUE(loop.runUntil([&] { return look == DesktopLook(); }));
}

TEST_F(X11SurroundingsTest, EveryPressIsHeardWhoeverGetsIt) {
  const auto window = client.open({.area = {100, 100, 300, 200}, .overrideRedirect = true});
  std::vector<WindowID> pressed;
  Observation presses =
      surroundings.observePresses([&](WindowID where) { pressed.push_back(where); });
  awaitAll();
  click(200, 200);
  EXPECT_TRUE(loop.runUntil([&] { return pressed.size() == 1; }));
  // A menu of another program takes all presses for itself.
  TestClient menu(desktop.display());
  xcb_grab_pointer(menu.connection(), 0,
                   xcb_setup_roots_iterator(xcb_get_setup(menu.connection())).data->root,
                   XCB_EVENT_MASK_BUTTON_PRESS, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, XCB_NONE,
                   XCB_NONE, XCB_CURRENT_TIME);
  menu.sync();
  click(200, 200, 4);
  click(700, 500, 3);
  EXPECT_TRUE(loop.runUntil([&] { return pressed.size() == 2; }));
  EXPECT_THAT(pressed, ElementsAre(window, 0U));
  presses.end();
  awaitAll();
  click(200, 200);
  awaitAll();
  EXPECT_EQ(pressed.size(), 2U);
}

}  // namespace
}  // namespace vantorel
