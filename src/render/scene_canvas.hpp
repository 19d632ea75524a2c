#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "base/image.hpp"
#include "editor/records/shape.hpp"
#include "editor/shape_geometry.hpp"
#include "render/redaction.hpp"
#include "render/shape_painter.hpp"

namespace vantorel {

/// What lies below the shapes, and how they come to lie on it.
struct SceneGround {
  Image picture;      ///< the layers, flattened, or a part of them
  AxisMap toPicture;  ///< from capture pixels to pixels of `picture`
  int bleed = 0;      ///< of the layers: see `LayerComposite`
  std::optional<double> captureScale;
};

/// A picture with shapes drawn over it, which follows changes of the shapes by drawing only what
/// they touch. After any row of changes it is the same, to the last bit, as drawn at once. One
/// thread at a time.
class SceneCanvas {
 public:
  explicit SceneCanvas(SceneGround ground);

  /// Brings the picture up to `shapes`, those not to be seen left out. Gives the areas drawn anew,
  /// which may overlap; none when nothing changed.
  std::vector<PixelRect> show(const std::vector<Shape>& shapes);

  [[nodiscard]] PixelSize size() const { return ground_.picture.size(); }

  /// The premultiplied pixels as they are now, `stride` bytes a row. Valid until the next `show`.
  [[nodiscard]] const std::uint8_t* pixels() const { return pixels_.get(); }
  [[nodiscard]] std::size_t stride() const;

  /// Gives the picture away. Opaque pictures have no alpha channel.
  [[nodiscard]] Image finish() &&;

 private:
  [[nodiscard]] std::vector<Redaction> redactionsOf(const std::vector<PlacedShape>& shapes) const;
  [[nodiscard]] std::vector<PixelRect> changedAreas(const std::vector<Shape>& shapes,
                                                    std::vector<PlacedShape>& now) const;
  void adaptHighlights(std::vector<PixelRect>& areas);
  void addRedactions(std::vector<PixelRect>& areas) const;
  void drawAgain(const PixelRect& area);
  void drawOn(std::uint8_t* pixels, const PixelRect& area);
  void copyGround(std::uint8_t* pixels, const PixelRect& area) const;

  SceneGround ground_;
  std::shared_ptr<std::uint8_t> pixels_;
  std::unique_ptr<std::uint8_t, void (*)(void*)> scratch_;  // as large as the picture, once needed
  bool isDrawn_ = false;
  std::vector<Shape> shapes_;
  std::vector<PlacedShape> placed_;
  std::vector<Redaction> redactions_;  // of all redact shapes in `placed_`, in order
};

}  // namespace vantorel
