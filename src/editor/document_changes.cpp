#include "editor/document_changes.hpp"

#include <fmt/format.h>

#include <string_view>
#include <unordered_map>
#include <vector>

namespace vantorel {
namespace {

struct ShapeCounts {
  int added = 0;
  int changed = 0;
  int removed = 0;
};

ShapeCounts compare(const std::vector<Shape>& opened, const std::vector<Shape>& now) {
  std::unordered_map<std::string_view, const Shape*> before;
  for (const Shape& shape : opened) before.emplace(shape.id, &shape);
  ShapeCounts counts;
  for (const Shape& shape : now) {
    const auto found = before.find(shape.id);
    if (found == before.end()) {
      ++counts.added;
      continue;
    }
    if (*found->second != shape) ++counts.changed;
    before.erase(found);
  }
  counts.removed = static_cast<int>(before.size());
  return counts;
}

std::string joined(const std::vector<std::string>& phrases) {
  std::string text;
  for (std::size_t i = 0; i < phrases.size(); ++i) {
    if (i > 0) text += i + 1 == phrases.size() ? " and " : ", ";
    text += phrases[i];
  }
  return text;
}

}  // namespace

std::string describeChanges(const EditorDocument& opened, const EditorDocument& now,
                            TextLabel typing) {
  std::vector<std::string> phrases;
  const auto count = [&](int number, std::string_view what) {
    if (number == 0) return;
    phrases.push_back(fmt::format("{} annotation{} {}", number, number == 1 ? "" : "s", what));
  };
  const ShapeCounts shapes = compare(opened.shapes, now.shapes);
  count(shapes.added, "added");
  count(shapes.changed, "changed");
  count(shapes.removed, "removed");
  if (typing == TextLabel::unfinished) phrases.emplace_back("an unfinished text label");
  if (opened.crop != now.crop) phrases.emplace_back("the crop changed");
  // The canvas colour has no phrase of its own, and it must not be lost without a word.
  if (opened.background != now.background || opened.canvas.backdropHex != now.canvas.backdropHex) {
    phrases.emplace_back("the background changed");
  }
  if (opened.layers != now.layers) phrases.emplace_back("the layers changed");
  if (opened.canvas.width != now.canvas.width || opened.canvas.height != now.canvas.height) {
    phrases.emplace_back("the canvas size changed");
  }
  return joined(phrases);
}

}  // namespace vantorel
