#pragma once

#include <string>
#include <variant>

#include "base/json_record.hpp"

namespace vantorel {

/// What the frame around the finished image is filled with.
struct BackgroundFill {
  struct None {
    bool operator==(const None&) const = default;
  };
  struct Solid {
    std::string color;
    bool operator==(const Solid&) const = default;
  };
  struct Gradient {
    std::string id;  ///< of a `BackgroundGradient`
    bool operator==(const Gradient&) const = default;
  };

  std::variant<None, Solid, Gradient> value;

  bool operator==(const BackgroundFill&) const = default;
};

/// {"none":{}}, {"solid":{"_0":"#ff0000"}} or {"gradient":{"_0":"dusk"}}; anything else fails.
VT_JSON_RECORD_DECLARATION(BackgroundFill);

/// The frame around the finished image. Without a fill there is no frame: the other values wait
/// for one.
struct BackgroundSpec {
  BackgroundFill fill;
  double paddingPercent = 8;  ///< the margin, as a percentage of the image's longer side
  double cornerRadius = 12;   ///< of the image, in its pixels
  bool shadow = true;
  double shadowStrength = 0.5;  ///< 0 to 1

  json::Extra extra;

  bool operator==(const BackgroundSpec&) const = default;
  template <class V, class S>
  static void describe(V& v, S& background);
};

/// Fails on a fill that is missing or of a kind nobody knows, so that the owner keeps it as it is.
VT_JSON_RECORD_DECLARATION(BackgroundSpec);

}  // namespace vantorel
