#pragma once

#include <memory>

#include "app/capture_annotator.hpp"
#include "platform/files.hpp"
#include "platform/image_codec.hpp"

namespace vantorel {

/// Draws documents with the module "../lib/vantorel/libvantorel_render.so", loaded when the first
/// one is drawn.
[[nodiscard]] CaptureAnnotator::Draw sceneDrawing(std::shared_ptr<const Files> files,
                                                  std::shared_ptr<const ImageCodec> codec);

}  // namespace vantorel
