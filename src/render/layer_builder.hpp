#pragma once

#include <functional>
#include <string>

#include "base/result.hpp"
#include "editor/layer_composite.hpp"
#include "editor/records/editor_document.hpp"

namespace vantorel {

/// Reads the picture of a layer: `notFound` or `malformed` make the layer a missing one,
/// `tooLarge` an oversized one. Called on the thread that builds.
using ReadLayerPicture = std::function<Result<Image>(const LayerSpec& layer)>;

/// Draws the canvas colour and the visible layers, lowest first. The colour lies below all of them
/// and shows through what they leave transparent; the result is opaque. Layers that cannot be read
/// are left out and named. A document without layers and with a canvas of the capture's size has no
/// canvas to be seen: it gives `base` itself, shared, with its transparent corners.
///
/// Any thread. The same on every run.
[[nodiscard]] LayerComposite buildLayers(const EditorDocument& document, const Image& base,
                                         const ReadLayerPicture& readPicture);

/// The shown part of what `buildLayers` draws, without building the rest: for exports.
[[nodiscard]] LayerComposite buildLayers(const EditorDocument& document, const Image& base,
                                         const ReadLayerPicture& readPicture,
                                         const PixelRect& part);

}  // namespace vantorel
