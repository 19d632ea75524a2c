#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <variant>

#include "base/enum_names.hpp"
#include "base/geometry.hpp"

namespace vantorel {

/// What a still capture is taken of.
enum class CaptureMode { region, window, fullscreen };

template <>
inline constexpr auto enumNames<CaptureMode> = std::to_array<EnumName<CaptureMode>>({
    {CaptureMode::region, "region"},
    {CaptureMode::window, "window"},
    {CaptureMode::fullscreen, "fullscreen"},
});

/// The wait between the command and the grab.
enum class CaptureDelay { none, three, five, ten };

template <>
inline constexpr auto enumNames<CaptureDelay> = std::to_array<EnumName<CaptureDelay>>({
    {CaptureDelay::none, "none"},
    {CaptureDelay::three, "three"},
    {CaptureDelay::five, "five"},
    {CaptureDelay::ten, "ten"},
});

[[nodiscard]] std::chrono::seconds lengthOf(CaptureDelay delay);

/// The delay of that many seconds; `none` for a number that is no delay.
[[nodiscard]] CaptureDelay delayOfSeconds(std::int64_t seconds);

/// Names a display while it is connected, such as "DP-1": the output's name.
using DisplayID = std::string;

/// Names a window while it is open.
using WindowID = std::uint64_t;

struct DisplayTarget {
  DisplayID displayID;
  bool operator==(const DisplayTarget&) const = default;
};

/// All connected displays as one picture, each at its place on the desktop. What lies between
/// displays of unlike size is black.
struct AllDisplaysTarget {
  bool operator==(const AllDisplaysTarget&) const = default;
};

/// `displayID` is the display that shows most of the window.
struct WindowTarget {
  WindowID windowID = 0;
  DisplayID displayID;
  bool operator==(const WindowTarget&) const = default;
};

/// `rect` in points, from the display's top left corner.
struct RegionTarget {
  DisplayID displayID;
  PointRect rect;
  bool operator==(const RegionTarget&) const = default;
};

/// The desktop lets the user choose in a dialog of its own (portals); no list of targets exists.
struct DesktopChoiceTarget {
  CaptureMode mode = CaptureMode::region;
  bool operator==(const DesktopChoiceTarget&) const = default;
};

using CaptureTarget =
    std::variant<DisplayTarget, WindowTarget, RegionTarget, DesktopChoiceTarget, AllDisplaysTarget>;

}  // namespace vantorel
