#pragma once

#include <xcb/xcb.h>

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "base/geometry.hpp"

namespace vantorel {

/// A window of another program into which things are dropped, as into a file manager: it takes
/// a copy in one type (XDND). It draws nothing and no window
/// manager sees it.
class DropTarget {
 public:
  DropTarget(const std::string& display, PixelRect area, const char* type);
  DropTarget(const DropTarget&) = delete;
  DropTarget& operator=(const DropTarget&) = delete;
  ~DropTarget();

  /// True once what is dragged is over the window and its program has heard that it may be dropped.
  [[nodiscard]] bool isAccepted();

  /// Waits for the drop and answers its bytes in the window's type; none after twenty seconds.
  [[nodiscard]] std::optional<std::string> waitForDrop();

 private:
  xcb_atom_t atom(const char* name);
  void run();
  void took(const xcb_client_message_event_t& message);
  void reply(xcb_window_t to, xcb_atom_t type, std::uint32_t flags, xcb_atom_t action);

  xcb_connection_t* connection_;
  xcb_window_t window_ = 0;
  xcb_atom_t position_;
  xcb_atom_t leave_;
  xcb_atom_t drop_;
  xcb_atom_t status_;
  xcb_atom_t finished_;
  xcb_atom_t copy_;
  xcb_atom_t selection_;
  xcb_atom_t type_;
  xcb_atom_t data_;
  xcb_window_t source_ = 0;
  std::thread thread_;
  std::mutex mutex_;
  std::condition_variable changed_;
  int positions_ = 0;  ///< told since it came over the window
  std::optional<std::string> dropped_;
};

}  // namespace vantorel
