#include "ui/pin/pin_window.hpp"

#include <X11/keysym.h>
#include <gtest/gtest.h>
#include <xcb/xcb.h>

#include <QApplication>
#include <cstdlib>
#include <memory>

#include "ui/testing/ui_test_case.hpp"

namespace vantorel {
namespace {

/// A pin on a real desktop of 1280 x 800, in the middle of it.
class PinWindowTest : public UiTestCase {
 protected:
  PinWindowTest() {
    startDesktop({.windowManager = true});
    startUi();
    movePointer({20, 20});
    model = std::make_shared<PinModel>(PinModel::Services{}, "Plan", testPicture({300, 200}, 3), 1);
    window = std::make_shared<PinWindow>(model, nativeWindows(), [this] { isClosed = true; });
    window->show();
    model->moveBy(500 - model->frame().x, 300 - model->frame().y);
    EXPECT_TRUE(waitFor([&] { return isTitleShown("Plan"); }));
  }

  /// Whether another program can have the keyboard to itself, and so keys as ever.
  bool othersGetKeys() {
    xcb_connection_t* const c = client->connection();
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    const auto cookie =
        xcb_grab_keyboard(c, 0, root, XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    const std::unique_ptr<xcb_grab_keyboard_reply_t, decltype(&std::free)> reply(
        xcb_grab_keyboard_reply(c, cookie, nullptr), &std::free);
    xcb_ungrab_keyboard(c, XCB_CURRENT_TIME);
    xcb_flush(c);
    return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
  }

  std::shared_ptr<PinModel> model;
  std::shared_ptr<PinWindow> window;
  bool isClosed = false;
};

TEST_F(PinWindowTest, TakesKeysByAClickAndKeepsThemWhileThePointerIsOnIt) {
  // What is moved aside takes nothing from the program that is typed in.
  movePointer({600, 400});
  press();
  for (int x = 604; x <= 640; x += 4) movePointer({x, 420});
  release();
  EXPECT_TRUE(waitFor([&] { return model->frame().x == 540 && model->frame().y == 320; }));
  settle();
  EXPECT_TRUE(othersGetKeys());

  click({650, 420});
  EXPECT_TRUE(waitFor([&] { return !othersGetKeys(); }));
  // By keys it takes the pointer along, and so keeps them.
  for (int i = 0; i < 30; ++i) strike(XK_Right);
  strike(XK_bracketleft);
  EXPECT_TRUE(waitFor([&] { return model->frame().x == 570 && model->opacity() < 0.95; }));
  EXPECT_FALSE(othersGetKeys());

  movePointer({20, 20});
  EXPECT_TRUE(waitFor([&] { return othersGetKeys(); }));
  EXPECT_FALSE(isClosed);

  click({650, 420});
  EXPECT_TRUE(waitFor([&] { return !othersGetKeys(); }));
  strike(XK_Escape);
  EXPECT_TRUE(waitFor([&] { return isClosed; }));
  EXPECT_TRUE(othersGetKeys());
}

}  // namespace
}  // namespace vantorel
