#pragma once

#include <cstdint>
#include <string>

namespace vantorel {

/// A count for people: "12,408".
[[nodiscard]] std::string countText(std::uint64_t count);

}  // namespace vantorel
