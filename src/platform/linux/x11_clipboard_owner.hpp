#pragma once

#include <xcb/xcb.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/x11_clipboard_reader.hpp"
#include "platform/linux/x11_worker.hpp"

namespace vantorel {

/// What can be pasted: the names of its types, the best first, with their bytes.
using ClipboardContent = std::vector<std::pair<std::string, std::shared_ptr<const std::string>>>;

/// Owns the selection CLIPBOARD and answers whoever pastes. Source: ICCCM 2.0, section 2. Lives on
/// the worker's thread.
class X11ClipboardOwner final : public X11Client {
 public:
  /// `lost` is called when another program has copied something, and when the server went away.
  X11ClipboardOwner(xcb_connection_t* connection, int screen, std::function<void()> lost);
  ~X11ClipboardOwner() override;

  using Answer = std::move_only_function<void(bool)>;

  /// Offers `content` from now on; answers whether the server gave us the selection.
  void own(ClipboardContent content, Answer owned);

  /// Asks the clipboard manager to keep what is ours; answers false when it does not. Without a
  /// manager or anything of ours there is nothing to ask.
  void handOver(Answer kept);

  /// What is on the clipboard, ours or another program's.
  [[nodiscard]] X11ClipboardReader& reader() { return reader_; }

  void handle(const xcb_generic_event_t& event) override;

 private:
  using Bytes = std::shared_ptr<const std::string>;

  struct Offer {
    xcb_atom_t type;
    Bytes bytes;
  };

  /// Content that is fetched in pieces: the next one when the reader has removed the last.
  struct Transfer {
    xcb_window_t reader;
    xcb_atom_t property;
    xcb_atom_t type;
    Bytes bytes;
    std::size_t sent = 0;
  };

  [[nodiscard]] xcb_atom_t atom(const std::string& name) const;
  [[nodiscard]] xcb_window_t ownerOf(xcb_atom_t selection) const;
  void takeSelection(xcb_timestamp_t time);
  void propertyChanged(const xcb_property_notify_event_t& event);
  void answer(const xcb_selection_request_event_t& request);
  [[nodiscard]] bool convert(xcb_window_t reader, xcb_atom_t target, xcb_atom_t property);
  [[nodiscard]] bool convertAll(xcb_window_t reader, xcb_atom_t property);
  void sendNextPiece(std::size_t transfer);
  [[nodiscard]] std::vector<xcb_atom_t> types() const;

  xcb_connection_t* connection_;
  xcb_window_t window_;
  std::function<void()> lost_;
  X11ClipboardReader reader_;
  xcb_atom_t clipboard_;
  xcb_atom_t manager_;
  xcb_atom_t targets_;
  xcb_atom_t timestamp_;
  xcb_atom_t multiple_;
  xcb_atom_t pieces_;  // INCR
  xcb_atom_t ownProperty_;
  std::vector<Offer> offers_;
  std::vector<Transfer> transfers_;
  xcb_timestamp_t since_ = XCB_CURRENT_TIME;
  bool isOwner_ = false;
  Answer owned_;  ///< waits for the server's time
  Answer kept_;   ///< waits for the manager
};

}  // namespace vantorel
