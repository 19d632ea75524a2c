#include "base/size_text.hpp"

#include <fmt/format.h>

namespace vantorel {

std::string sizeText(std::uint64_t bytes) {
  const auto amount = static_cast<double>(bytes);
  if (amount < 1e3) return fmt::format("{} {}", bytes, bytes == 1 ? "byte" : "bytes");
  if (amount < 1e6) return fmt::format("{:.0f} kB", amount / 1e3);
  if (amount < 1e9) return fmt::format("{:.1f} MB", amount / 1e6);
  return fmt::format("{:.1f} GB", amount / 1e9);
}

}  // namespace vantorel
