#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "editor/records/shape.hpp"

namespace vantorel {

/// The shapes of a document, lowest first. Shapes are shared between lists and never changed.
using ShapeList = std::vector<std::shared_ptr<const Shape>>;

[[nodiscard]] inline ShapeList shared(std::vector<Shape> shapes) {
  ShapeList list;
  list.reserve(shapes.size());
  for (Shape& shape : shapes) list.push_back(std::make_shared<const Shape>(std::move(shape)));
  return list;
}

}  // namespace vantorel
