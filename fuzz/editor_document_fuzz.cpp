#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "editor/editor_snapshot.hpp"
#include "editor/export_gate.hpp"
#include "editor/layer_layout.hpp"
#include "editor/shape_geometry.hpp"

/// Whatever the bytes: no crash, and what was read once is written so that it reads back the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vantorel;
  const auto document =
      json::fromText<EditorDocument>(std::string(reinterpret_cast<const char*>(data), size));
  if (!document) return 0;
  const std::string once = json::toText(*document);
  const auto again = json::fromText<EditorDocument>(once);
  if (!again || *again != *document || json::toText(*again) != once) std::abort();

  constexpr PixelSize capture{640, 480};
  const AxisMap toCanvas = captureToCanvas(document->layers, capture);
  for (const Shape& shape : document->shapes) {
    const Shape onCanvas = mapped(shape, toCanvas);
    if (shape.type == ShapeType::polygon && polygonVertices(onCanvas).size() < 3) std::abort();
    static_cast<void>(measureLabel(onCanvas, 2));
  }
  for (const LayerSpec& layer : document->layers) {
    if (layer.border && !(layer.border->width > 0)) std::abort();
  }
  const PixelRect shown = shownPart(*document, capture);
  if (shown.isEmpty()) std::abort();
  EditorDocument withoutExtra = *document;
  withoutExtra.extra = {};
  if (EditorSnapshot::of(withoutExtra).document() != withoutExtra) std::abort();
  return 0;
}
