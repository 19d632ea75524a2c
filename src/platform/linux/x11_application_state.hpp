#pragma once

#include <optional>

#include "platform/linux/x11_session.hpp"

namespace vantorel {

enum class ApplicationState {
  works,    ///< it answers, or has never promised to
  stopped,  ///< its process was halted
  hangs,    ///< it promises to answer and does not within half a second
};

/// Whether the application of `window` can be expected to paint.
[[nodiscard]] ApplicationState applicationState(X11Session& session, xcb_window_t window);

/// Why that application cannot be expected to have painted what was covered; none when it can.
[[nodiscard]] std::optional<Failure> whyUnpainted(X11Session& session, xcb_window_t window);

}  // namespace vantorel
