#pragma once

#include <functional>
#include <optional>

#include "base/image.hpp"
#include "base/result.hpp"
#include "editor/records/editor_document.hpp"
#include "editor/records/scene_failure.hpp"
#include "library/entry_look.hpp"

namespace vantorel {

/// Draws a document over its base image (`captureScale` pixels per point). Any thread; blocks.
using DrawPicture = std::function<Result<Image, SceneFailure>(
    const EditorDocument& document, Image base, std::optional<double> captureScale)>;

/// What draws the annotations of entries over what their files hold. An entry without any keeps its
/// picture; one with annotations that this version cannot read, or cannot draw, is refused. A layer
/// whose picture cannot be had is left out.
[[nodiscard]] PictureFinish withAnnotations(DrawPicture draw);

}  // namespace vantorel
