#pragma once

#include <string_view>

namespace vantorel {

/// The category of what the library logs.
inline constexpr std::string_view historyLog = "History";

}  // namespace vantorel
