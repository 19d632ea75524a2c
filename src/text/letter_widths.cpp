#include "text/letter_widths.hpp"

#include <algorithm>
#include <numeric>

namespace vantorel {
namespace {

/// Of an ASCII letter in a plain typeface, in em.
double widthOfASCII(char letter) {
  constexpr std::string_view thin = "ijl'|";
  constexpr std::string_view narrow = " ftI.,:;!/\\[]";
  constexpr std::string_view slim = "r-()`{}\"*";
  constexpr std::string_view small = "ckszvxyJ^";
  constexpr std::string_view wide = "wCDHNRUGOQ&";
  constexpr std::string_view broad = "mMW@%";
  if (thin.contains(letter)) return 0.23;
  if (narrow.contains(letter)) return 0.28;
  if (slim.contains(letter)) return 0.34;
  if (small.contains(letter)) return 0.5;
  if (wide.contains(letter)) return 0.73;
  if (broad.contains(letter)) return 0.88;
  if (letter >= 'A' && letter <= 'Z') return 0.65;
  return 0.56;
}

/// The height of a line in em, by how far its letters reach up and down.
double heightOf(std::string_view text) {
  const bool isLow = text.find_first_not_of("acemnorsuvwxz.,:;-_gpqy ") == std::string_view::npos;
  const bool hangs = text.find_first_of("gpqyjQ,;()[]{}|/@$_") != std::string_view::npos;
  return (isLow ? 0.53 : 0.74) + (hangs ? 0.21 : 0);
}

}  // namespace

double usualLetterWidth(std::string_view letter) {
  const auto lead = static_cast<unsigned char>(letter.front());
  if (lead < 0x80) return widthOfASCII(letter.front());
  if (lead == 0xCC || lead == 0xCD) return 0;  // marks on the letter before
  return lead >= 0xE1 ? 1 : 0.58;              // from the scripts of Asia on, as wide as high
}

LineStretch widestStretch(std::string_view text, const std::vector<std::size_t>& letters,
                          std::size_t first, std::size_t last, double aspect) {
  const std::size_t count = letters.size() - 1;
  if (first == 0 && last == count) return {};
  std::vector<double> places{0};
  for (std::size_t i = 0; i < count; ++i) {
    places.push_back(places.back() +
                     usualLetterWidth(text.substr(letters[i], letters[i + 1] - letters[i])));
  }
  const double whole = places.back();
  const auto letterCount = static_cast<double>(count);
  // In em of a wide typeface, of a bold one, and of one of even widths.
  const double widest = std::max(1.35 * whole, 0.68 * letterCount);
  if (!(whole > 0) || aspect * heightOf(text) > 1.15 * widest) return {};

  const auto even = [&](std::size_t letter) { return static_cast<double>(letter) / letterCount; };
  const auto uneven = [&](std::size_t letter) { return places[letter] / whole; };
  // A letter to spare, and more the farther from the ends, whose places are known.
  const auto margin = [&](double place) {
    return 1.3 / letterCount + 0.1 * std::min(place, 1 - place);
  };
  const double from = std::min(even(first), uneven(first));
  const double to = std::max(even(last), uneven(last));
  return {std::max(from - margin(from), 0.0), std::min(to + margin(to), 1.0)};
}

}  // namespace vantorel
