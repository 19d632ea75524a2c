#pragma once

#include <xcb/xcb.h>

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "capture/records/display_snapshot.hpp"
#include "platform/linux/desktop_applications.hpp"
#include "platform/linux/x11_atoms.hpp"
#include "platform/linux/x11_call.hpp"
#include "platform/linux/x11_pixel_reader.hpp"
#include "platform/linux/x11_settings_source.hpp"
#include "platform/linux/x11_worker.hpp"

namespace vantorel {

/// When windows start to keep their whole content, also the parts that others cover.
enum class WindowContents {
  keptFromStart,  ///< from the first connection on: for a program that stays
  onDemand,       ///< when a covered window is asked for: for a single command
};

/// One monitor in points and in pixels.
struct XMonitor {
  DisplaySnapshot display;
  PixelRect pixels;  ///< on the root window
  double scale = 1;  ///< pixels per point, the same on all monitors of an X server

  bool operator==(const XMonitor&) const = default;
};

/// A child of the root window: an application's window or the frame a window manager put around
/// it.
struct XTopLevel {
  xcb_window_t id = 0;
  PixelRect outer;  ///< on the root window, border included
  int border = 0;
  int depth = 0;
  xcb_visualid_t visual = 0;
  bool isViewable = false;  ///< mapped and able to show anything
};

/// The capturing side's connection to the X server, its set-up and what is remembered between two
/// requests. Lives on the worker's thread.
class X11Session final : public X11Client {
 public:
  [[nodiscard]] static Result<std::unique_ptr<X11Client>> make(xcb_connection_t* connection,
                                                               int screenNumber,
                                                               WindowContents contents);

  [[nodiscard]] xcb_connection_t* connection() const { return connection_; }
  [[nodiscard]] const xcb_screen_t& screen() const { return *screen_; }
  [[nodiscard]] xcb_atom_t atom(XAtom name) const { return atoms_[static_cast<std::size_t>(name)]; }
  [[nodiscard]] bool hasComposite() const { return hasComposite_; }
  [[nodiscard]] bool hasFixes() const { return hasFixes_; }
  [[nodiscard]] bool hasRender() const { return hasRender_; }
  [[nodiscard]] std::optional<std::uint8_t> damageEvent() const { return damageEvent_; }
  /// When windows began to keep their content; the epoch when they do not.
  [[nodiscard]] std::chrono::steady_clock::time_point keptSince() const { return keptSince_; }
  [[nodiscard]] bool isLost() const { return xcb_connection_has_error(connection_) != 0; }
  [[nodiscard]] X11PixelReader& pixels() { return pixels_; }
  [[nodiscard]] DesktopApplications& applications() { return applications_; }

  /// The monitors now, the main one first.
  [[nodiscard]] Result<std::vector<XMonitor>> monitors();

  /// The root window's children, the lowest first.
  [[nodiscard]] Result<std::vector<XTopLevel>> topLevels();

  /// True when a compositor draws the desktop; windows then always keep their content.
  [[nodiscard]] bool hasCompositor();

  /// Called on the worker's thread when the monitors have changed.
  void onMonitorsChange(std::function<void()> listener);

  /// Called with every event, whoever of those that read events came across it.
  void onEvent(std::function<void(const xcb_generic_event_t&)> listener) {
    eventListener_ = std::move(listener);
  }

  /// Why a request failed that the server should have answered.
  [[nodiscard]] Failure failure(FailureKind kind, std::string reason) const;

  /// The next event, waiting until `end` at most; those meant for the session are handled on the
  /// way.
  [[nodiscard]] XOwned<xcb_generic_event_t> nextEvent(std::chrono::steady_clock::time_point end);

  void handle(const xcb_generic_event_t& event) override;
  void eventsHandled() override;

 private:
  X11Session(xcb_connection_t* connection, xcb_screen_t* screen, int screenNumber,
             WindowContents contents);
  Result<void> setUp();
  [[nodiscard]] Result<std::vector<XMonitor>> readMonitors();

  xcb_connection_t* connection_;
  xcb_screen_t* screen_;
  int screenNumber_;
  WindowContents contents_;
  X11PixelReader pixels_;
  DesktopApplications applications_;
  std::array<xcb_atom_t, static_cast<std::size_t>(XAtom::count)> atoms_{};
  xcb_atom_t compositorSelection_ = 0;
  std::optional<X11SettingsSource> settings_;
  std::optional<std::uint8_t> randrEvent_;
  std::optional<std::uint8_t> damageEvent_;
  bool hasMonitors_ = false;  // RandR 1.5
  bool hasComposite_ = false;
  bool hasFixes_ = false;
  bool hasRender_ = false;
  std::chrono::steady_clock::time_point keptSince_;
  bool monitorsAreStale_ = true;
  std::vector<XMonitor> monitors_;
  std::vector<XMonitor> announcedMonitors_;
  std::function<void()> monitorsListener_;
  std::function<void(const xcb_generic_event_t&)> eventListener_;
};

}  // namespace vantorel
