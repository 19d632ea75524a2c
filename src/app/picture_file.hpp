#pragma once

#include <memory>
#include <string>

#include "app/capture_annotator.hpp"
#include "library/records/screenshot_entry.hpp"
#include "platform/files.hpp"
#include "platform/image_codec.hpp"

namespace vantorel {

/// Why the file of a capture's picture could not be made.
struct PictureFileFailure {
  enum class Case {
    unreadAnnotations,  ///< without them what they cover would show
    notRead,            ///< the capture's file
    noImage,            ///< it holds none
    notDrawn,           ///< the annotations
    notEncoded,
  };
  Case what = Case::notRead;
  Failure why{};
};

/// What the file of a picture is made with.
struct PictureFileMaking {
  std::shared_ptr<Files> files;
  std::shared_ptr<const ImageCodec> codec;
  CaptureAnnotator::Draw draw;
};

/// A capture's picture with everything drawn and covered, as a file: its own to the last bit where
/// nothing is drawn and that has the format. Any thread; blocks.
[[nodiscard]] Result<std::string, PictureFileFailure> pictureFileOf(const ScreenshotEntry& entry,
                                                                    ExportFormat format,
                                                                    double quality,
                                                                    const PictureFileMaking& with);

/// Whether that is the capture's own file.
[[nodiscard]] bool isOwnFile(const ScreenshotEntry& entry, ExportFormat format);

}  // namespace vantorel
