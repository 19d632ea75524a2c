#pragma once

#include <string>

namespace vantorel {

/// `seconds` since 1970-01-01 UTC in the local time zone as "2026-03-01 at 14.05.09": the form used
/// in file names, the same in every language.
[[nodiscard]] std::string fileNameTime(double seconds);

}  // namespace vantorel
