#include "text/letter_edges.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "text/code_points.hpp"

namespace vantorel {
namespace {

/// Steps in the height of a line: edges are off by a sixty-fourth at the most.
constexpr double stepsPerHeight = 32;

/// What JSON writes as one byte, in the order of their numbers; the last introduces a wide gap.
constexpr std::string_view digits =
    "!#$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[]^_`abcdefghijklmnopqrstuvwxyz{|}";
constexpr char wideMark = '~';
constexpr std::int64_t base = digits.size();
constexpr int wideDigits = 3;
constexpr std::int64_t widest = base * base * base - 1;

std::optional<std::int64_t> digitOf(char letter) {
  const std::size_t place = digits.find(letter);
  if (place == std::string_view::npos) return std::nullopt;
  return static_cast<std::int64_t>(place);
}

/// Takes the next step from `left`.
std::optional<std::int64_t> takeStep(std::string_view& left) {
  const bool isWide = left.front() == wideMark;
  const std::size_t length = isWide ? 1 + wideDigits : 1;
  if (left.size() < length) return std::nullopt;
  std::int64_t step = 0;
  for (const char letter : left.substr(isWide ? 1 : 0, isWide ? wideDigits : 1)) {
    const auto digit = digitOf(letter);
    if (!digit) return std::nullopt;
    step = step * base + *digit;
  }
  left.remove_prefix(length);
  return step;
}

}  // namespace

std::string encodedLetters(const std::vector<double>& edges) {
  std::string encoded;
  encoded.reserve(edges.size());
  std::int64_t reached = 0;
  for (const double edge : edges) {
    // What is rounded is the edge, not its distance from the one before: errors do not add up.
    const double steps = std::isfinite(edge) ? std::clamp(edge * stepsPerHeight, 0.0, 1e9) : 0;
    const std::int64_t step = std::clamp<std::int64_t>(std::llround(steps) - reached, 0, widest);
    reached += step;
    if (step < base) {
      encoded += digits[static_cast<std::size_t>(step)];
    } else {
      encoded += wideMark;
      encoded += digits[static_cast<std::size_t>(step / (base * base))];
      encoded += digits[static_cast<std::size_t>(step / base % base)];
      encoded += digits[static_cast<std::size_t>(step % base)];
    }
  }
  return encoded;
}

std::vector<double> letterEdges(const OCRLine& line, double aspect) {
  if (line.letters.empty() || !(aspect > 0) || !std::isfinite(aspect)) return {};
  const std::size_t wanted = codePointCount(line.text) + 1;
  std::vector<double> edges;
  std::int64_t reached = 0;
  for (std::string_view left = line.letters; !left.empty();) {
    const auto step = takeStep(left);
    if (!step || edges.size() == wanted) return {};
    reached += *step;
    edges.push_back(static_cast<double>(reached) / stepsPerHeight / aspect);
  }
  // The last letter ends with the line, give or take what boxes lose when they are rounded. Letters
  // that do not are another line's.
  const double slack = 0.05 + 0.25 / aspect;
  if (edges.size() != wanted || std::abs(edges.back() - 1) > slack) return {};
  for (double& edge : edges) edge = std::min(edge, 1.0);
  edges.back() = 1;
  return edges;
}

}  // namespace vantorel
