#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vantorel {

/// `seconds` since 1970-01-01 UTC in the local time zone as "2026-03-01 at 14.05.09": the form used
/// in file names, the same in every language. A zone that changes under the running program counts
/// from the next call on, here and below.
[[nodiscard]] std::string fileNameTime(double seconds);

/// The same moment as "2026-03-01 14:05:09", for tables.
[[nodiscard]] std::string tableTime(double seconds);

/// The same moment as "2026:03:01 14:05:09", for picture files.
[[nodiscard]] std::string exifTime(double seconds);

/// A local time as people write it: "2026-03-01", "2026-03-01 14:05" or "2026-03-01T14:05:09".
/// Seconds since 1970-01-01 UTC; nothing when it is no such time.
[[nodiscard]] std::optional<double> parseLocalTime(std::string_view text);

}  // namespace vantorel
