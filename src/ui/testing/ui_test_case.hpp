#pragma once

#include <gtest/gtest.h>

#include <QImage>
#include <QPoint>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/image_codec.hpp"
#include "platform/scene_view.hpp"
#include "platform/testing/desktop/test_client.hpp"
#include "platform/testing/desktop/test_desktop.hpp"
#include "ui/desktop_ui.hpp"

namespace vantorel {

/// The real windows on a desktop of the test's own, with the test's hands on mouse and keyboard.
class UiTestCase : public testing::Test {
 protected:
  ~UiTestCase() override;

  void startDesktop(TestDesktopOptions options = {});

  /// The windows' side; after the desktop, and after monitors and resources were set.
  void startUi();

  /// Null when no display server answers.
  [[nodiscard]] static std::unique_ptr<DesktopUi> makeUi();

  /// Of real files.
  [[nodiscard]] static std::shared_ptr<const ImageCodec> pictureCodec();

  /// As the program draws.
  [[nodiscard]] static SceneDrawing& drawing();

  /// On the toolkit's connection.
  [[nodiscard]] std::shared_ptr<NativeWindows> nativeWindows();

  /// Handles events until `condition` holds; false when it does not within some seconds.
  [[nodiscard]] bool waitFor(const std::function<bool()>& condition);

  /// Handles events for a moment: for what must not happen.
  void settle(std::chrono::milliseconds time = std::chrono::milliseconds(150));

  void movePointer(QPoint to);
  void press(int button = 1);
  void release(int button = 1);
  void click(QPoint at, int button = 1);

  /// Press and release.
  void strike(std::uint32_t keysym);

  /// The whole screen as it is. With VANTOREL_TEST_PICTURES set to a folder, kept there as
  /// `name`.png for people to look at.
  [[nodiscard]] QImage screen(const std::string& name);

  /// Keeps a picture without needing it.
  void keepPicture(const std::string& name) { static_cast<void>(screen(name)); }

  /// The windows on the screen, topmost first.
  [[nodiscard]] std::vector<xcb_window_t> mappedWindows();
  [[nodiscard]] std::vector<xcb_window_t> mappedChildren(xcb_window_t parent);

  /// Who would get a click.
  [[nodiscard]] xcb_window_t windowUnderPointer();

  /// The text of a window's title, here or in a child that a window manager framed.
  [[nodiscard]] std::string titleOf(xcb_window_t window);
  [[nodiscard]] bool isTitleShown(const std::string& title);

  std::optional<TestDesktop> desktop;
  std::unique_ptr<TestClient> client;
  std::unique_ptr<DesktopUi> ui;
};

/// Picture `seed`, as `differenceFromTestPicture` knows it.
[[nodiscard]] Image testPicture(PixelSize size, std::uint32_t seed);

}  // namespace vantorel
