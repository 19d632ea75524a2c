#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/image.hpp"
#include "base/result.hpp"
#include "editor/records/axis_map.hpp"
#include "editor/records/editor_document.hpp"
#include "editor/records/layer_composite.hpp"
#include "editor/records/scene_failure.hpp"
#include "editor/records/shape_list.hpp"
#include "platform/files.hpp"
#include "platform/image_codec.hpp"
#include "platform/text_geometry.hpp"

namespace vantorel {

/// What lies below the shapes, and how they come to lie on it.
struct SceneGround {
  Image picture;                       ///< the layers, flattened, or a part of them
  AxisMap toPicture;                   ///< from capture pixels to pixels of `picture`
  int bleed = 0;                       ///< of the layers: see `LayerComposite`
  std::optional<double> captureScale;  ///< pixels per point, for measure labels
};

/// A picture with shapes drawn over it, which follows changes of the shapes by drawing only what
/// they touch. After any row of changes it is the same, to the last bit, as drawn at once, and as
/// exported. Any thread, one at a time.
class SceneView {
 public:
  virtual ~SceneView() = default;

  /// Brings the picture up to `shapes`, those not to be seen left out. Gives the areas drawn anew,
  /// which may overlap; none when nothing changed. Shapes that are shared with the list before are
  /// not compared. Throws std::bad_alloc.
  virtual std::vector<PixelRect> show(const ShapeList& shapes) = 0;

  /// Puts `patch` in place of a part of the ground, of its size, with its corner at `x` and `y`,
  /// and brings the picture up to `shapes` likewise.
  virtual std::vector<PixelRect> patchGround(const Image& patch, int x, int y,
                                             const ShapeList& shapes) = 0;

  /// The ground's.
  [[nodiscard]] virtual PixelSize size() const = 0;

  /// The pixels as they are now, `PixelFormat::bgraPremultiplied`, `stride` bytes a row. Valid
  /// until the next `show`, and without meaning before the first.
  [[nodiscard]] virtual const std::uint8_t* pixels() const = 0;
  [[nodiscard]] virtual std::size_t stride() const = 0;
};

/// A picture with its background around it, which follows changes of the picture. The same, to the
/// last bit, as an export frames it. Any thread, one at a time.
class FramedView {
 public:
  virtual ~FramedView() = default;

  /// Takes over these areas of the picture, which keeps its size and its format; all of it the
  /// first time. Gives the areas of the result that changed. Throws std::bad_alloc.
  virtual std::vector<PixelRect> follow(const Image& picture,
                                        const std::vector<PixelRect>& areas) = 0;

  /// How far the picture lies from each edge, in pixels.
  [[nodiscard]] virtual int margin() const = 0;

  [[nodiscard]] virtual PixelSize size() const = 0;

  /// Opaque; the fourth byte of a pixel means nothing. Valid until the next `follow`.
  [[nodiscard]] virtual const std::uint8_t* pixels() const = 0;
  [[nodiscard]] virtual std::size_t stride() const = 0;
};

/// Reads the picture of a layer: `notFound` or `malformed` make the layer a missing one,
/// `tooLarge` an oversized one. Called on the thread that builds.
using ReadLayerPicture = std::function<Result<Image>(const LayerSpec& layer)>;

/// Draws scenes. Any thread, several at a time.
class SceneDrawing {
 public:
  virtual ~SceneDrawing() = default;

  /// Never null. Throws std::bad_alloc when there is no memory for a picture of that size.
  [[nodiscard]] virtual std::unique_ptr<SceneView> makeView(SceneGround ground) = 0;

  /// Frames a picture of this size. `background` has a fill, and the result is of a possible size
  /// (`isPossibleSize`). Never null. Throws std::bad_alloc.
  [[nodiscard]] virtual std::unique_ptr<FramedView> makeFrame(const BackgroundSpec& background,
                                                              PixelSize picture) = 0;

  /// Draws canvas and layers of `document` within `part`, in canvas pixels. Blocks, as
  /// `readPicture` does. Throws std::bad_alloc.
  [[nodiscard]] virtual LayerComposite buildLayers(const EditorDocument& document,
                                                   const Image& base,
                                                   const ReadLayerPicture& readPicture,
                                                   const PixelRect& part) = 0;

  /// Where the letters of a `text` shape are drawn. Never null.
  [[nodiscard]] virtual std::unique_ptr<TextGeometry> layOut(const Shape& text) = 0;

  /// Draws `document` over its base image (`captureScale` pixels per point), with the layers'
  /// pictures read from their files. Blocks.
  [[nodiscard]] virtual Result<Image, SceneFailure> drawScene(const EditorDocument& document,
                                                              Image base,
                                                              std::optional<double> captureScale,
                                                              const Files& files,
                                                              const ImageCodec& codec) = 0;

  /// Likewise, and encodes the picture.
  [[nodiscard]] virtual Result<std::string, SceneFailure> exportScene(
      const EditorDocument& document, Image base, std::optional<double> captureScale,
      const Files& files, const ImageCodec& codec, const ImageEncoding& encoding) = 0;
};

}  // namespace vantorel
