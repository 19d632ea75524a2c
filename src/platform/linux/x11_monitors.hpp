#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace vantorel {

/// What a monitor says of itself in its EDID block.
struct MonitorIdentity {
  std::string name;  ///< such as "DELL U2720Q"; may be empty
};

[[nodiscard]] MonitorIdentity monitorIdentity(std::string_view edid);

/// An identifier made from `seed` alone, in the form of a UUID. Source: RFC 9562, version 8, over
/// two FNV-1a hashes.
[[nodiscard]] std::string uuidOf(std::string_view seed);

/// Pixels per point from the X resources (the text of RESOURCE_MANAGER): "Xft.dpi" over 96, to the
/// nearest quarter and at least 1. Desktops offer steps of a quarter; what lies between comes from
/// the millimetres a monitor claims and is no wish of the user.
[[nodiscard]] double scaleFromResources(std::string_view resources);

}  // namespace vantorel
