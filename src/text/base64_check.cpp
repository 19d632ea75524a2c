#include "text/base64_check.hpp"

#include <algorithm>
#include <cstddef>

#include "text/code_points.hpp"

namespace vantorel {
namespace {

enum class LetterClass { upper, lower, digit, other };

LetterClass classOf(char c) {
  if (isAsciiUpper(c)) return LetterClass::upper;
  if (isAsciiLower(c)) return LetterClass::lower;
  return isAsciiDigit(c) ? LetterClass::digit : LetterClass::other;
}

bool isHexDigit(char c) {
  return isAsciiDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

/// Folders and files one behind the other. Random letters change their class at 0.65 of the places,
/// words at a third of them.
bool looksLikePath(std::string_view run) {
  if (std::ranges::count(run, '/') < 3 || run.find_first_of("+=") != run.npos) return false;
  std::size_t changes = 0;
  for (std::size_t i = 1; i < run.size(); ++i)
    changes += classOf(run[i]) != classOf(run[i - 1]) ? 1 : 0;
  return static_cast<double>(changes) < 0.45 * static_cast<double>(run.size() - 1);
}

}  // namespace

bool isPlausibleBase64(std::string_view run) {
  const bool mixes = std::ranges::any_of(run, isAsciiUpper) &&
                     std::ranges::any_of(run, isAsciiLower) &&
                     std::ranges::any_of(run, isAsciiDigit);
  return mixes && !std::ranges::all_of(run, isHexDigit) && !looksLikePath(run);
}

}  // namespace vantorel
