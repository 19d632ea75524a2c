#pragma once

#include <optional>
#include <set>
#include <vector>

#include "platform/linux/x11_redirection.hpp"
#include "platform/linux/x11_session.hpp"

namespace vantorel {

/// A window's place together with how far its traces reach, about: a compositor's shadow of it, or
/// what it uncovered a moment ago while it moved and nobody painted yet.
[[nodiscard]] PixelRect withTraces(const PixelRect& window);

/// Blackens what no monitor shows of a picture of `area`: nobody has seen what the server keeps
/// there.
void blankUnseen(const PixelRect& area, const std::vector<XMonitor>& monitors,
                 const PixelBuffer& buffer);

/// Reads a part of the screen without this program's own windows: where those are, what lies below
/// them is drawn anew from what the server keeps of the windows of others. While it lives, the
/// server goes on keeping that.
class X11AreaReader {
 public:
  /// All own windows are left out but those of `kept`.
  X11AreaReader(X11Session& session, std::vector<WindowID> kept)
      : session_(session), kept_(std::move(kept)) {}

  /// `buffer` is as large as `area`, which may reach beyond the root window: black, as on the
  /// monitor. Own windows have been at the places `vacated`, on the root window, a moment ago.
  /// The first time may take long where windows have to be painted by their applications. Fails
  /// with `notFound` (nothing of the area is on the root window), `unsupported` (own windows cannot
  /// be left out), `unreachable`.
  [[nodiscard]] Result<void> read(const PixelRect& area, const std::vector<XMonitor>& monitors,
                                  const std::vector<PixelRect>& vacated, const PixelBuffer& buffer);

 private:
  struct OwnWindows;
  [[nodiscard]] OwnWindows ownWindowsOver(const std::vector<XTopLevel>& windows,
                                          const PixelRect& area,
                                          const std::vector<PixelRect>& vacated) const;

  X11Session& session_;
  std::vector<WindowID> kept_;
  std::set<xcb_window_t> prepared_;
  std::optional<XRedirection> redirection_;
};

}  // namespace vantorel
