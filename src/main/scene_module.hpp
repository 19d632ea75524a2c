#pragma once

#include <memory>

#include "app/capture_annotator.hpp"
#include "editor/shown_picture.hpp"
#include "platform/scene_view.hpp"

namespace vantorel {

/// What draws scenes, in the module "../lib/vantorel/libvantorel_render.so", which the first call
/// loads. Never null, and the same for as long as the process runs. Any thread.
[[nodiscard]] Result<SceneDrawing*, SceneFailure> loadSceneDrawing();

/// Draws documents with it, for the screen.
[[nodiscard]] DrawPicture drawPictureWithModule(std::shared_ptr<const Files> files,
                                                std::shared_ptr<const ImageCodec> codec);

/// Likewise, for files.
[[nodiscard]] CaptureAnnotator::Draw drawWithModule(std::shared_ptr<const Files> files,
                                                    std::shared_ptr<const ImageCodec> codec);

}  // namespace vantorel
