#pragma once

#include <memory>
#include <vector>

#include "platform/scene_view.hpp"
#include "render/redaction.hpp"
#include "render/shape_painter.hpp"

namespace vantorel {

/// A view that draws with cairo. It keeps all of the picture and of what is placed on it.
class SceneCanvas final : public SceneView {
 public:
  explicit SceneCanvas(SceneGround ground);

  std::vector<PixelRect> show(const ShapeList& shapes) override;
  [[nodiscard]] PixelSize size() const override { return ground_.picture.size(); }
  [[nodiscard]] const std::uint8_t* pixels() const override { return pixels_.get(); }
  [[nodiscard]] std::size_t stride() const override;

  /// Gives the picture away. Opaque pictures have no alpha channel.
  [[nodiscard]] Image finish() &&;

 private:
  [[nodiscard]] std::vector<Redaction> redactionsOf(const std::vector<PlacedShape>& shapes) const;
  [[nodiscard]] std::vector<PixelRect> changedAreas(const ShapeList& shapes,
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
  ShapeList shapes_;
  std::vector<PlacedShape> placed_;
  std::vector<Redaction> redactions_;  // of all redact shapes in `placed_`, in order
};

}  // namespace vantorel
