#pragma once

#include <string>
#include <string_view>
#include <variant>

#include "base/result.hpp"
#include "editor/canvas_size.hpp"
#include "editor/records/editor_document.hpp"
#include "editor/records/export_block.hpp"
#include "library/records/screenshot_entry.hpp"
#include "platform/files.hpp"
#include "platform/image_codec.hpp"

// The editor's document as it lies in a library entry.

namespace vantorel {

/// The document of an entry whose base image has `capture` pixels: without a canvas of its own it
/// has the capture's size. The pieces of an old combined entry have become layers. An image that
/// was scaled since the entry took note of its size has its annotations scaled with it.
[[nodiscard]] EditorDocument documentOf(const ScreenshotEntry& entry, PixelSize capture);

/// Puts `document` into `entry` in place of what was there. Layers and canvas are left out when
/// they say no more than the capture itself, and redactions when there is nothing below them. The
/// entry's pixel size, which says what its annotations are made for, becomes `capture`.
void putDocument(const EditorDocument& document, PixelSize capture, ScreenshotEntry& entry);

/// Whether the entry's picture is more, or less, than what its file holds.
[[nodiscard]] bool isAnnotated(const ScreenshotEntry& entry);

/// Whether it covers something, which its file may still show.
[[nodiscard]] bool isRedacted(const ScreenshotEntry& entry);

/// The image of `entry` has become one of `size` pixels. One that was scaled takes its annotations,
/// what was covered in its file, and the pixels per point along; of any other change only the size
/// is noted.
void followPictureSize(ScreenshotEntry& entry, PixelSize size);

/// What is wrong with the text of a document.
struct DocumentFault {
  enum class Case {
    notJSON,   ///< `reason` says where
    noObject,  ///< but another kind of value
    tooDeep,   ///< nested
    unusable,  ///< `reason` says what of it, and why
  };
  Case what = Case::unusable;
  std::string reason{};
};

/// Why a document cannot be stored: its text, its size, or what it would draw.
using DocumentFailure = std::variant<DocumentFault, CanvasSizeFault, ExportBlock>;

[[nodiscard]] std::string sentence(const DocumentFault& fault);
[[nodiscard]] std::string sentence(const DocumentFailure& failure);

/// Reads a document that is to be stored in an entry with a base image of `capture` pixels. Where
/// reading a library is tolerant, this is strict: what would be dropped or do nothing (an unknown
/// key of the document, a redaction that hides nothing, a crop that shows nothing), a canvas size
/// or padding beyond the limits, and a layer whose file is missing, no picture, without the layer's
/// frame or too large are refused. The paths of layers are absolute, or start in `folder`, and come
/// out absolute. Layers get the pixel size of their frame when they state none, and a name. Blocks
/// on files.
[[nodiscard]] Result<EditorDocument, DocumentFailure> checkedDocument(std::string_view text,
                                                                      PixelSize capture,
                                                                      const Path& folder,
                                                                      const Files& files,
                                                                      const ImageCodec& codec);

/// Reads a frame, counted from 0, of the picture file of a layer: `notFound`, `malformed` or
/// `tooLarge`. Blocks.
[[nodiscard]] Result<Image> readPictureFile(const Path& path, int frameIndex, const Files& files,
                                            const ImageCodec& codec);

/// Whether the entry has annotations of a newer version, or damaged ones: they are kept, but nobody
/// knows what they draw or cover.
[[nodiscard]] bool hasUnreadAnnotations(const ScreenshotEntry& entry);

/// What is said of such an entry, a clause.
inline constexpr const char* unreadAnnotationsReason =
    "it has annotations that this version can't read";

}  // namespace vantorel
