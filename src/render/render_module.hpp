#pragma once

#include <optional>
#include <string>

#include "base/image.hpp"
#include "base/result.hpp"
#include "editor/records/editor_document.hpp"
#include "platform/files.hpp"
#include "platform/image_codec.hpp"

namespace vantorel {

/// What the module with the drawing offers under `exportSceneName`: `exportScene` over a
/// `sceneSource`, answered in `bytes`. Any thread.
using ExportScene = void (*)(const EditorDocument& document, const Image& base,
                             std::optional<double> captureScale, const Files& files,
                             const ImageCodec& codec, const ImageEncoding& encoding,
                             Result<std::string>& bytes);
inline constexpr const char* exportSceneName = "vantorelExportScene";

}  // namespace vantorel
