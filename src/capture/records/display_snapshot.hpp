#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/geometry.hpp"
#include "capture/records/capture_target.hpp"

namespace vantorel {

/// One connected display as it is now.
struct DisplaySnapshot {
  DisplayID id;
  std::string uuid;  ///< stays with the monitor across restarts and, when it names itself, cables
  std::string name;  ///< for people
  PointRect bounds;  ///< in points, on the desktop all displays share
  PixelSize pixelSize;
  bool isMain = false;

  /// Pixels per point.
  [[nodiscard]] double scale() const {
    return bounds.width > 0 ? pixelSize.width / bounds.width : 1;
  }

  bool operator==(const DisplaySnapshot&) const = default;
};

/// The display called `text`: by id, by uuid or by name. Null when none is.
[[nodiscard]] const DisplaySnapshot* findDisplay(const std::vector<DisplaySnapshot>& displays,
                                                 std::string_view text);

/// The main display, or the first one; null when there is none.
[[nodiscard]] const DisplaySnapshot* mainDisplay(const std::vector<DisplaySnapshot>& displays);

/// The display that shows most of `globalRect`; the main one when none shows any of it.
[[nodiscard]] const DisplaySnapshot* displayShowing(const std::vector<DisplaySnapshot>& displays,
                                                    const PointRect& globalRect);

}  // namespace vantorel
