#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/image.hpp"
#include "base/result.hpp"
#include "editor/records/editor_document.hpp"
#include "editor/records/scene_failure.hpp"
#include "render/layer_builder.hpp"

namespace vantorel {

/// What a document is drawn over.
struct SceneSource {
  Image base;                          ///< the capture, uncropped
  std::optional<double> captureScale;  ///< pixels per point, for measure labels
  ReadLayerPicture readLayerPicture = [](const LayerSpec&) -> Result<Image> {
    return failed(FailureKind::notFound, "no layer files here");
  };
};

/// Draws the whole document: layers on the canvas, shapes and redactions, the crop, the background.
/// Redacted areas hold nothing of what was there: see `Redaction`. The result has at most 134
/// million pixels, no alpha channel when it is opaque, and is the same on every run with the same
/// fonts.
///
/// Any thread; takes as long as it takes.
[[nodiscard]] Result<Image, SceneFailure> renderScene(const EditorDocument& document,
                                                      const SceneSource& source);

}  // namespace vantorel
