#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vantorel::command_bus_protocol {

// What the two sides of a `CommandBus` agree on.

inline constexpr const char* wellKnownName = "com.hollen.Vantorel";
inline constexpr const char* objectPath = "/com/hollen/Vantorel";
inline constexpr const char* commandsInterface = "com.hollen.Vantorel.Commands";
inline constexpr const char* leavingError = "com.hollen.Vantorel.Error.Leaving";
inline constexpr const char* busyError = "com.hollen.Vantorel.Error.Busy";

/// D-Bus strings must be UTF-8; file names and what a terminal hands over need not be.
using Bytes = std::vector<std::uint8_t>;
inline Bytes toBytes(const std::string& text) { return {text.begin(), text.end()}; }
inline std::string toText(const Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

}  // namespace vantorel::command_bus_protocol
