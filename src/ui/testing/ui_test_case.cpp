#include "ui/testing/ui_test_case.hpp"

#include <xcb/composite.h>
#include <xcb/xtest.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QGuiApplication>
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>

#include "platform/linux/desktop_session.hpp"
#include "platform/linux/linux_image_codec.hpp"
#include "render/scene_drawing.hpp"
#include "ui/qt_desktop_ui.hpp"

namespace vantorel {
namespace {

using SteadyClock = std::chrono::steady_clock;

template <class T>
std::unique_ptr<T, decltype(&std::free)> owned(T* reply) {
  return {reply, &std::free};
}

}  // namespace

UiTestCase::~UiTestCase() {
  ui.reset();
  client.reset();
}

void UiTestCase::startDesktop(TestDesktopOptions options) {
  desktop.emplace(options);
  desktop->enter();
  if (options.screen) client = std::make_unique<TestClient>(desktop->display());
}

void UiTestCase::startUi() {
  ui = makeUi();
  ASSERT_NE(ui, nullptr);
}

std::unique_ptr<DesktopUi> UiTestCase::makeUi() { return makeQtDesktopUi(*makeDisplayServer()); }

std::shared_ptr<const ImageCodec> UiTestCase::pictureCodec() {
  return std::make_shared<LinuxImageCodec>();
}

SceneDrawing& UiTestCase::drawing() { return sceneDrawing(); }

std::shared_ptr<NativeWindows> UiTestCase::nativeWindows() {
  const auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  return makeDisplayServer()->nativeWindows({.x11 = x11->connection()}, ui->mainRunner());
}

bool UiTestCase::waitFor(const std::function<bool()>& condition) {
  const auto end = SteadyClock::now() + std::chrono::seconds(8);
  while (!condition()) {
    if (SteadyClock::now() > end) return false;
    QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }
  return true;
}

void UiTestCase::settle(std::chrono::milliseconds time) {
  const auto end = SteadyClock::now() + time;
  static_cast<void>(waitFor([&] { return SteadyClock::now() > end; }));
}

void UiTestCase::movePointer(QPoint to) {
  xcb_test_fake_input(client->connection(), XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, XCB_NONE,
                      static_cast<std::int16_t>(to.x()), static_cast<std::int16_t>(to.y()), 0);
  client->sync();
  settle(std::chrono::milliseconds(30));  // events carry their own place
}

void UiTestCase::press(int button) {
  xcb_test_fake_input(client->connection(), XCB_BUTTON_PRESS, static_cast<std::uint8_t>(button),
                      XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
  client->sync();
  settle(std::chrono::milliseconds(30));  // events carry their own place
}

void UiTestCase::release(int button) {
  xcb_test_fake_input(client->connection(), XCB_BUTTON_RELEASE, static_cast<std::uint8_t>(button),
                      XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
  client->sync();
  settle(std::chrono::milliseconds(30));  // events carry their own place
}

void UiTestCase::click(QPoint at, int button) {
  movePointer(at);
  press(button);
  release(button);
}

void UiTestCase::strike(std::uint32_t keysym) {
  client->key(keysym, true);
  client->key(keysym, false);
  client->sync();
  settle();
}

QImage UiTestCase::screen(const std::string& name) {
  settle();
  xcb_connection_t* const connection = client->connection();
  const auto* const root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
  const auto pixels = owned(
      xcb_get_image_reply(connection,
                          xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, root->root, 0, 0,
                                        root->width_in_pixels, root->height_in_pixels, ~0u),
                          nullptr));
  if (!pixels) return {};
  QImage picture = QImage(xcb_get_image_data(pixels.get()), root->width_in_pixels,
                          root->height_in_pixels, QImage::Format_RGB32)
                       .copy();
  if (const char* const folder = std::getenv("VANTOREL_TEST_PICTURES")) {
    picture.save(
        QString::fromStdString((std::filesystem::path(folder) / (name + ".png")).string()));
  }
  return picture;
}

std::vector<xcb_window_t> UiTestCase::mappedWindows() {
  xcb_connection_t* const connection = client->connection();
  const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
  std::vector<xcb_window_t> mapped = mappedChildren(root);
  // The server leaves its overlay window out of the root's children.
  xcb_discard_reply(connection, xcb_composite_query_version(connection, 0, 3).sequence);
  if (const auto overlay = owned(xcb_composite_get_overlay_window_reply(
          connection, xcb_composite_get_overlay_window(connection, root), nullptr))) {
    std::ranges::copy(mappedChildren(overlay->overlay_win), std::back_inserter(mapped));
    xcb_composite_release_overlay_window(connection, root);
  }
  return mapped;
}

std::vector<xcb_window_t> UiTestCase::mappedChildren(xcb_window_t parent) {
  xcb_connection_t* const connection = client->connection();
  const auto tree =
      owned(xcb_query_tree_reply(connection, xcb_query_tree(connection, parent), nullptr));
  std::vector<xcb_window_t> mapped;
  for (int i = xcb_query_tree_children_length(tree.get()) - 1; i >= 0; --i) {
    const xcb_window_t window = xcb_query_tree_children(tree.get())[i];
    const auto attributes = owned(xcb_get_window_attributes_reply(
        connection, xcb_get_window_attributes(connection, window), nullptr));
    if (attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE &&
        attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT) {
      mapped.push_back(window);
    }
  }
  return mapped;
}

xcb_window_t UiTestCase::windowUnderPointer() {
  xcb_connection_t* const connection = client->connection();
  const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
  const auto pointer =
      owned(xcb_query_pointer_reply(connection, xcb_query_pointer(connection, root), nullptr));
  return pointer ? pointer->child : xcb_window_t{XCB_NONE};
}

std::string UiTestCase::titleOf(xcb_window_t window) {
  xcb_connection_t* const connection = client->connection();
  const auto title = owned(xcb_get_property_reply(
      connection,
      xcb_get_property(connection, 0, window, client->atom("_NET_WM_NAME"), XCB_ATOM_ANY, 0, 1000),
      nullptr));
  if (title && xcb_get_property_value_length(title.get()) > 0) {
    return {static_cast<const char*>(xcb_get_property_value(title.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(title.get()))};
  }
  const auto tree =
      owned(xcb_query_tree_reply(connection, xcb_query_tree(connection, window), nullptr));
  for (int i = 0; tree && i < xcb_query_tree_children_length(tree.get()); ++i) {
    if (auto found = titleOf(xcb_query_tree_children(tree.get())[i]); !found.empty()) return found;
  }
  return {};
}

bool UiTestCase::isTitleShown(const std::string& title) {
  for (const xcb_window_t window : mappedWindows()) {
    if (titleOf(window) == title) return true;
  }
  return false;
}

Image testPicture(PixelSize size, std::uint32_t seed) {
  MutableImage picture(size, PixelFormat::bgrx);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const std::uint32_t pixel = testPixel(seed, x, y);
      std::memcpy(picture.row(y).data() + std::ptrdiff_t{x} * 4, &pixel, 4);
    }
  }
  return std::move(picture).finish();
}

}  // namespace vantorel
