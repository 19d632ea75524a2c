#include "library/capture_file_name.hpp"

#include <fmt/format.h>

#include <algorithm>

#include "base/time_text.hpp"
#include "base/utf8.hpp"

namespace vantorel {
namespace {

constexpr std::size_t longestBaseBytes = 180;  // leaves room for time, numbers and extension in 255

std::string cleanedBase(const std::string& filenameTemplate) {
  std::string base = repairedUtf8(filenameTemplate);
  for (char& c : base) {
    if (c == '/' || static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '-';
  }
  base = beginningOf(base, longestBaseBytes);
  if (base.starts_with('.')) base.front() = '-';
  return base.empty() ? "Screenshot" : base;
}

std::string_view withoutNumbers(std::string_view stem) {
  for (;;) {
    const std::size_t digits = stem.find_last_not_of("0123456789") + 1;
    if (digits == stem.size() || digits == 0 || stem[digits - 1] != ' ') return stem;
    stem = stem.substr(0, digits - 1);
  }
}

}  // namespace

std::string captureFileName(const std::string& filenameTemplate, double capturedAt,
                            std::string_view extension) {
  return fmt::format("{} {}.{}", cleanedBase(filenameTemplate), fileNameTime(capturedAt),
                     extension);
}

std::string fittingName(std::string_view stem, std::string_view ending) {
  const std::size_t room = longestFileName - std::min(ending.size(), longestFileName - 1);
  return std::string(beginningOf(stem, room)).append(ending);
}

Failure noFreeName() { return {FailureKind::exists, "every file name is taken"}; }

std::string numberedName(const Path& path, int number) {
  return fittingName(path.stem().string(), fmt::format(" {}{}", number, path.extension().string()));
}

std::optional<double> timeInCaptureName(std::string_view stem) {
  constexpr std::string_view between = " at ";
  constexpr std::size_t dateLength = std::string_view("2026-03-01").size();
  constexpr std::size_t timeLength = std::string_view("14.05.09").size();
  constexpr std::size_t length = dateLength + between.size() + timeLength;
  stem = withoutNumbers(stem);
  if (stem.size() < length + 2 || stem[stem.size() - length - 1] != ' ') return std::nullopt;
  stem = stem.substr(stem.size() - length);
  std::string time(stem.substr(dateLength + between.size()));
  if (stem.substr(dateLength, between.size()) != between) return std::nullopt;
  if (time[2] != '.' || time[5] != '.') return std::nullopt;
  time[2] = time[5] = ':';
  return parseLocalTime(std::string(stem.substr(0, dateLength)) + " " + time);
}

}  // namespace vantorel
