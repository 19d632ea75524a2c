#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/result.hpp"
#include "platform/files.hpp"

namespace vantorel {

// How captures' files are named. What is made here is known again by `timeInCaptureName`: whatever
// gives a capture's file a name takes it from here.

/// "Screenshot 2026-03-01 at 14.05.09.png". Of the template, what a file name cannot hold (slashes,
/// control characters, a leading point) is replaced; an empty template is "Screenshot".
[[nodiscard]] std::string captureFileName(const std::string& filenameTemplate, double capturedAt,
                                          std::string_view extension);

/// `stem` and `ending` (such as ".png" or " 2.png"); what is too much for a file name is taken from
/// the end of the stem.
[[nodiscard]] std::string fittingName(std::string_view stem, std::string_view ending);

/// "Shot 2.png" for "Shot.png", and "Shot 2 3.png" for "Shot 2.png".
[[nodiscard]] std::string numberedName(const Path& path, int number);

/// When all the numbers that are tried are taken.
[[nodiscard]] Failure noFreeName();

/// The moment (seconds since 1970-01-01 UTC) in a name without its extension that is made like
/// these, however often it was numbered: other pictures in a folder that the user chose are none of
/// the library's business.
[[nodiscard]] std::optional<double> timeInCaptureName(std::string_view stem);

}  // namespace vantorel
