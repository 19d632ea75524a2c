#pragma once

#include <xcb/xcb.h>

#include <QPoint>
#include <functional>
#include <optional>

class QObject;

/// What the toolkit does not offer of the X server, on the toolkit's own connection. Positions are
/// device pixels on the root window. Where there is no X server (the offscreen platform) nothing
/// happens and the answers are empty. Main thread.
namespace vantorel::native_display {

/// Null without an X server.
[[nodiscard]] xcb_connection_t* connection();

[[nodiscard]] xcb_window_t root();
[[nodiscard]] xcb_atom_t atom(const char* name);

/// Whether anybody owns the selection `name`.
[[nodiscard]] bool isOwned(const char* name);

/// Answers when the server has done everything asked for so far.
void sync();

/// Whether a compositor paints the screen. It shows a window a moment longer than it is mapped.
[[nodiscard]] bool isComposited();

[[nodiscard]] bool hasWindowManager();

[[nodiscard]] std::optional<QPoint> pointer();
void movePointer(QPoint to);

/// Calls `then` when windows mapped, painted or unmapped just now are so in every picture of the
/// screen. Not called when `context` is gone by then.
void whenShown(QObject* context, std::function<void()> then);

}  // namespace vantorel::native_display
