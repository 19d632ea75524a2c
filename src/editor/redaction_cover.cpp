#include "editor/redaction_cover.hpp"

#include <algorithm>
#include <optional>

#include "editor/layer_layout.hpp"
#include "editor/shape_geometry.hpp"
#include "editor/shape_layers.hpp"

namespace vantorel {

std::vector<Box> redactedBoxes(const ShapeList& shapes, const std::vector<LayerSpec>& layers,
                               PixelSize capture) {
  std::vector<Box> boxes;
  const AxisMap toCanvas = captureToCanvas(layers, capture);
  const auto isSeen = shownBy(layers, capture);
  for (const auto& shape : shapes) {
    if (shape->type != ShapeType::redact || !isSeen(*shape)) continue;
    boxes.push_back(toCanvas(frameOf(*shape)));
  }
  return boxes;
}

bool isCovered(const Box& box, const std::vector<Box>& covers) {
  constexpr double tolerance = 0.5;  // pixels
  const Box inside = grown(box, -std::min({tolerance, box.w / 4, box.h / 4}));
  std::vector<Box> near;
  std::ranges::copy_if(covers, std::back_inserter(near),
                       [&](const Box& cover) { return intersects(cover, inside); });
  // Between neighbouring edges of covers a strip is covered as it is at its middle.
  std::vector<double> edges{inside.y, inside.bottom()};
  for (const Box& cover : near) {
    for (const double edge : {cover.y, cover.bottom()}) {
      if (edge > inside.y && edge < inside.bottom()) edges.push_back(edge);
    }
  }
  std::ranges::sort(edges);
  std::ranges::sort(near, {}, &Box::x);
  for (std::size_t i = 0; i + 1 < edges.size(); ++i) {
    if (!(edges[i] < edges[i + 1])) continue;
    const double middle = (edges[i] + edges[i + 1]) / 2;
    double reached = inside.x;
    for (const Box& cover : near) {
      if (middle < cover.y || middle > cover.bottom() || cover.x > reached) continue;
      reached = std::max(reached, cover.right());
    }
    if (reached < inside.right()) return false;
  }
  return true;
}

}  // namespace vantorel
