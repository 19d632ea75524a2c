#include "editor/background_gradient.hpp"

#include <algorithm>

namespace vantorel {

std::span<const BackgroundGradient> backgroundGradients() {
  static const std::vector<BackgroundGradient> all{
      {"dawn", "Dawn", {"#ffd3a5", "#fd6585"}, {0, 0}, {1, 1}},
      {"dusk", "Dusk", {"#3a1c71", "#d76d77", "#ffaf7b"}, {0, 0}, {1, 1}},
      {"ocean", "Ocean", {"#2193b0", "#6dd5ed"}, {0, 1}, {1, 0}},
      {"meadow", "Meadow", {"#56ab2f", "#a8e063"}, {0, 1}, {1, 0}},
      {"aurora", "Aurora", {"#00c6a7", "#1e4d92", "#5b247a"}, {0, 0}, {1, 1}},
      {"candy", "Candy", {"#ff9a9e", "#fad0c4", "#a18cd1"}, {0, 0.5}, {1, 0.5}},
      {"sand", "Sand", {"#f3e7d3", "#d9b991"}, {0.5, 0}, {0.5, 1}},
      {"graphite", "Graphite", {"#4b5563", "#111827"}, {0.5, 0}, {0.5, 1}},
  };
  return all;
}

const BackgroundGradient* findGradient(std::string_view id) {
  const auto all = backgroundGradients();
  const auto found = std::ranges::find(all, id, &BackgroundGradient::id);
  return found == all.end() ? nullptr : &*found;
}

}  // namespace vantorel
