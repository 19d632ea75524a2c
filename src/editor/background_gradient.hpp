#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "editor/records/box.hpp"

namespace vantorel {

/// A gradient offered for the background.
struct BackgroundGradient {
  std::string_view id;  ///< stored in documents; never changes
  std::string_view label;
  std::vector<std::string_view> stops;  ///< colours at even distances from start to end
  Pt start;  ///< in the unit square of the whole picture, (1, 1) its bottom right corner
  Pt end;
};

/// In the order of the picker.
[[nodiscard]] std::span<const BackgroundGradient> backgroundGradients();

/// Null when a document names a gradient this build does not know.
[[nodiscard]] const BackgroundGradient* findGradient(std::string_view id);

}  // namespace vantorel
