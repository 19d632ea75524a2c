#pragma once

#include <functional>
#include <optional>
#include <variant>
#include <vector>

#include "capture/records/display_snapshot.hpp"
#include "capture/records/remembered_region.hpp"

namespace vantorel {

/// Whether the remembered region can be captured again.
struct RegionAvailability {
  struct Available {
    DisplayID displayID;
    PointRect rect;        ///< in points, from the display's corner
    PointRect globalRect;  ///< in points, on the shared desktop
    bool operator==(const Available&) const = default;
  };
  struct None {
    bool operator==(const None&) const = default;
  };
  struct DisplayDisconnected {
    bool operator==(const DisplayDisconnected&) const = default;
  };
  struct GeometryChanged {
    bool operator==(const GeometryChanged&) const = default;
  };
  std::variant<None, Available, DisplayDisconnected, GeometryChanged> value;
  bool operator==(const RegionAvailability&) const = default;
};

[[nodiscard]] RegionAvailability availabilityOf(const std::optional<RememberedRegion>& region,
                                                const std::vector<DisplaySnapshot>& displays);

/// What to remember of a region capture on `display`.
[[nodiscard]] RememberedRegion rememberRegion(const DisplaySnapshot& display,
                                              const PointRect& rect);

/// Keeps the availability of the remembered region current and tells when it changes. Lives on the
/// main runner.
class PreviousAreaMonitor {
 public:
  [[nodiscard]] const RegionAvailability& availability() const { return availability_; }
  void onChange(std::function<void()> listener) { listener_ = std::move(listener); }

  /// The displays it goes by, as told last.
  [[nodiscard]] const std::vector<DisplaySnapshot>& displays() const { return displays_; }

  void setRegion(std::optional<RememberedRegion> region);
  void setDisplays(std::vector<DisplaySnapshot> displays);

 private:
  void evaluate();

  std::optional<RememberedRegion> region_;
  std::vector<DisplaySnapshot> displays_;
  RegionAvailability availability_;
  std::function<void()> listener_;
};

}  // namespace vantorel
