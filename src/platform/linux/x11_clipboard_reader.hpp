#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/clipboard.hpp"

namespace vantorel {

/// Reads what another program, or this one, offers as the selection CLIPBOARD. One reading at a
/// time. Source: ICCCM 2.0, section 2.4 and 2.7.2. Lives on the worker's thread, on the connection
/// of a client that hands its events on.
class X11ClipboardReader {
 public:
  X11ClipboardReader(xcb_connection_t* connection, xcb_window_t root);

  using Answer = std::move_only_function<void(Result<ClipboardItem>)>;

  /// Answers once, or when the next reading begins. An owner that never answers is never given up:
  /// whoever waits has a bound.
  void read(std::vector<std::string> types, std::size_t maximumBytes, Answer done);

  /// Ends the reading under way: nobody waits for it any more.
  void cancel();

  /// Whether the event was about a reading.
  bool handle(const xcb_generic_event_t& event);

 private:
  struct Reading {
    std::vector<std::string> types;
    std::size_t maximumBytes = 0;
    Answer done;
    std::optional<std::string> type;  ///< that was asked for; none while it asks what there is
    std::string bytes;
    bool comesInPieces = false;
  };

  [[nodiscard]] xcb_atom_t atom(const std::string& name) const;
  void ask(xcb_atom_t target);
  void answered(const xcb_selection_notify_event_t& notice);
  void chooseType();
  void readWhole();
  void readPiece();
  [[nodiscard]] bool take(const xcb_get_property_reply_t* reply);
  void finish(Result<ClipboardItem> result);

  xcb_connection_t* connection_;
  xcb_window_t window_;
  xcb_atom_t clipboard_;
  xcb_atom_t targets_;
  xcb_atom_t pieces_;  // INCR
  std::uint32_t asked_ = 0;
  xcb_atom_t property_ = XCB_ATOM_NONE;  ///< another one for each question: a late answer is none
  std::optional<Reading> reading_;
};

}  // namespace vantorel
