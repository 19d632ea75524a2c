#pragma once

#include <optional>
#include <vector>

#include "base/json_record.hpp"
#include "editor/records/background_spec.hpp"
#include "editor/records/layer_spec.hpp"
#include "editor/records/shape.hpp"

namespace vantorel {

/// Everything the user added to a capture; the capture's own pixels stay as they were.
struct EditorDocument {
  std::vector<Shape> shapes;  ///< lowest first
  std::optional<StoredBox> crop;
  BackgroundSpec background;
  std::vector<LayerSpec> layers;  ///< lowest first
  CanvasSpec canvas;

  json::Extra extra;

  bool operator==(const EditorDocument&) const = default;
  template <class V, class S>
  static void describe(V& v, S& document);
};
VT_JSON_RECORD_DECLARATION(EditorDocument);

}  // namespace vantorel
