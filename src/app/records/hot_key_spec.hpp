#pragma once

#include <cstdint>
#include <string>

#include "base/json_record.hpp"

namespace vantorel {

/// A key with modifiers. `keyCode` is the X keysym of the key's unshifted symbol;
/// `carbonModifiers` is a mask of the four constants below. Both names are those of the stored
/// JSON, so that bindings survive every build.
struct HotKeySpec {
  static constexpr std::uint32_t command = 1U << 8U;  ///< the Super (logo) key
  static constexpr std::uint32_t shift = 1U << 9U;
  static constexpr std::uint32_t option = 1U << 11U;  ///< the Alt key
  static constexpr std::uint32_t control = 1U << 12U;

  std::uint32_t keyCode = 0;
  std::uint32_t carbonModifiers = 0;

  bool operator==(const HotKeySpec&) const = default;
};

/// Exactly the keys "keyCode" and "carbonModifiers"; anything out of range fails.
VT_JSON_RECORD_DECLARATION(HotKeySpec);

}  // namespace vantorel
