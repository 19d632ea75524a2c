#pragma once

#include <optional>
#include <string>

#include "base/json_record.hpp"
#include "editor/records/box.hpp"

namespace vantorel {

/// The red the editor starts from.
inline constexpr std::string_view standardRed = "#ff3b30";

/// The sheet that images and shapes lie on.
struct CanvasSpec {
  double width = 0;  ///< pixels; 0 by 0 stands for the size of the capture
  double height = 0;
  std::string backdropHex = "#ffffff";  ///< the colour where no image covers it

  json::Extra extra;

  bool operator==(const CanvasSpec&) const = default;
  template <class V, class S>
  static void describe(V& v, S& canvas);
};
VT_JSON_RECORD_DECLARATION(CanvasSpec);

/// A frame drawn along the inner edge of a layer.
struct LayerBorder {
  static constexpr double widest = 400;

  double width = 0;  ///< canvas pixels
  std::string color;

  json::Extra extra;

  bool operator==(const LayerBorder&) const = default;
  template <class V, class S>
  static void describe(V& v, S& border);
};
VT_JSON_RECORD_DECLARATION(LayerBorder);

/// `border` as it is kept: none unless its width is a finite number above 0, at most 400 wide, and
/// with the standard red for an empty colour.
[[nodiscard]] std::optional<LayerBorder> normalised(LayerBorder border);

/// One image on the canvas.
struct LayerSpec {
  std::string id;
  std::optional<std::string> path;  ///< the image file; without one the layer is the capture itself
  int frameIndex = 0;               ///< the frame shown, of a source with several
  int pixelWidth = 0;               ///< of the source image
  int pixelHeight = 0;
  StoredBox frame;  ///< in canvas pixels
  std::optional<double> opacity;
  bool visible = true;
  bool locked = false;  ///< cannot be moved or resized
  std::string name;
  std::optional<LayerBorder> border;  ///< normalised

  json::Extra extra;

  bool operator==(const LayerSpec&) const = default;
  template <class V, class S>
  static void describe(V& v, S& layer);
};
VT_JSON_RECORD_DECLARATION(LayerSpec);

}  // namespace vantorel
