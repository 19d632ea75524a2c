#include "base/time_text.hpp"

#include <fmt/format.h>

#include <cmath>
#include <ctime>

namespace vantorel {

std::string fileNameTime(double seconds) {
  const auto whole = static_cast<std::time_t>(std::floor(seconds));
  std::tm local{};
  localtime_r(&whole, &local);
  return fmt::format("{:04}-{:02}-{:02} at {:02}.{:02}.{:02}", local.tm_year + 1900,
                     local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
}

}  // namespace vantorel
