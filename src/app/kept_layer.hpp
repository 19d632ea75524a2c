#pragma once

#include <string>
#include <string_view>

#include "base/result.hpp"
#include "editor/editor_model.hpp"
#include "editor/records/editor_document.hpp"
#include "platform/files.hpp"
#include "platform/image_codec.hpp"

// The pictures of layers that this program keeps in a folder of its own, for what they were taken
// from does not stay. Any thread; blocks.

namespace vantorel {

/// Of that folder, in the folder of the library's data.
inline constexpr const char* keptLayersName = "Layers";

/// Of a layer whose picture came without a name.
inline constexpr const char* pastedLayerName = "Pasted Image";

/// A picture as a file in `folder`.
[[nodiscard]] Result<LayerFile> keepLayer(Files& files, const ImageCodec& codec, const Path& folder,
                                          std::string_view bytes, std::string name);

/// An image file as a layer, where it lies, or as a copy in `folder` when some library will remove
/// it by itself: it was dragged out of an editor, or is kept for the layers of another library.
[[nodiscard]] Result<LayerFile> layerOf(const Path& file, Files& files, const ImageCodec& codec,
                                        const Path& folder);

/// The layers of a document that comes from elsewhere, likewise.
[[nodiscard]] Result<void> keepLayers(EditorDocument& document, Files& files,
                                      const ImageCodec& codec, const Path& folder);

}  // namespace vantorel
