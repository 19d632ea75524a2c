#pragma once

#include <cstdint>
#include <string>

namespace vantorel {

/// An amount of bytes for people: "12 kB", "3.4 MB", "1.2 GB". Decimal, as file managers count.
[[nodiscard]] std::string sizeText(std::uint64_t bytes);

}  // namespace vantorel
