#pragma once

#include <string>

#include "base/result.hpp"
#include "editor/records/editor_document.hpp"
#include "platform/files.hpp"
#include "platform/image_codec.hpp"
#include "render/scene_renderer.hpp"

namespace vantorel {

/// A source that reads layer pictures from their files. `files` and `codec` outlive it.
[[nodiscard]] SceneSource sceneSource(Image base, std::optional<double> captureScale,
                                      const Files& files, const ImageCodec& codec);

/// Draws `document` over `source` and encodes the picture. Blocks; any thread.
[[nodiscard]] Result<std::string, SceneFailure> exportScene(const EditorDocument& document,
                                                            const SceneSource& source,
                                                            const ImageCodec& codec,
                                                            const ImageEncoding& encoding);

}  // namespace vantorel
