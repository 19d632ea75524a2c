#include "ui/kit/native_display.hpp"

#include <QGuiApplication>
#include <QTimer>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

namespace vantorel::native_display {
namespace {

/// A compositor was seen to show windows up to 106 ms after they were unmapped.
constexpr int compositorDelayMilliseconds = 150;

template <class T>
using Reply = std::unique_ptr<T, decltype(&std::free)>;

template <class T>
Reply<T> owned(T* reply) {
  return {reply, &std::free};
}

}  // namespace

xcb_connection_t* connection() {
  auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  return x11 != nullptr ? x11->connection() : nullptr;
}

xcb_window_t root() { return xcb_setup_roots_iterator(xcb_get_setup(connection())).data->root; }

xcb_atom_t atom(const char* name) {
  const auto reply = owned(xcb_intern_atom_reply(
      connection(),
      xcb_intern_atom(connection(), 0, static_cast<std::uint16_t>(std::strlen(name)), name),
      nullptr));
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

bool isOwned(const char* selection) {
  if (connection() == nullptr) return false;
  const auto reply = owned(xcb_get_selection_owner_reply(
      connection(), xcb_get_selection_owner(connection(), atom(selection)), nullptr));
  return reply && reply->owner != XCB_NONE;
}

void sync() {
  if (connection() == nullptr) return;
  owned(xcb_get_input_focus_reply(connection(), xcb_get_input_focus(connection()), nullptr));
}

bool isComposited() { return isOwned("_NET_WM_CM_S0"); }

bool hasWindowManager() {
  if (connection() == nullptr) return false;
  const auto reply = owned(xcb_get_property_reply(
      connection(),
      xcb_get_property(connection(), 0, root(), atom("_NET_SUPPORTING_WM_CHECK"), XCB_ATOM_WINDOW,
                       0, 1),
      nullptr));
  return reply && xcb_get_property_value_length(reply.get()) == 4;
}

std::optional<QPoint> pointer() {
  if (connection() == nullptr) return std::nullopt;
  const auto reply = owned(
      xcb_query_pointer_reply(connection(), xcb_query_pointer(connection(), root()), nullptr));
  if (!reply) return std::nullopt;
  return QPoint(reply->root_x, reply->root_y);
}

void movePointer(QPoint to) {
  if (connection() == nullptr) return;
  xcb_warp_pointer(connection(), XCB_NONE, root(), 0, 0, 0, 0, static_cast<std::int16_t>(to.x()),
                   static_cast<std::int16_t>(to.y()));
  xcb_flush(connection());
}

void whenShown(QObject* context, std::function<void()> then) {
  sync();
  QTimer::singleShot(isComposited() ? compositorDelayMilliseconds : 0, context, std::move(then));
}

}  // namespace vantorel::native_display
