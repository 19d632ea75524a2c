#pragma once

#include "editor/records/editor_document.hpp"
#include "editor/records/layer_composite.hpp"
#include "platform/scene_view.hpp"

namespace vantorel {

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
