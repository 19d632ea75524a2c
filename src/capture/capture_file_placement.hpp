#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/image.hpp"
#include "capture/capture_outcome.hpp"
#include "capture/records/export_format.hpp"
#include "capture/staging_folder.hpp"
#include "editor/records/shape.hpp"
#include "library/records/file_identity.hpp"
#include "platform/files.hpp"
#include "platform/image_codec.hpp"

namespace vantorel {

/// Where and how captures are to be written.
struct CaptureFileSettings {
  Path storageFolder;
  Path defaultFolder;  ///< used when `storageFolder` cannot be

  /// Of the last capture that was put into `storageFolder`; empty when none is known.
  BoxedOptional<FileIdentity> seenInStorage{};

  ExportFormat format = ExportFormat::png;
  double quality = 0.9;  ///< 0 to 1, for lossy formats
  std::string filenameTemplate = "Screenshot";
};

/// The file a capture ended up in.
struct PlacedCapture {
  Path path;
  PixelSize pixelSize;
  std::vector<CaptureNote> notes;
  std::optional<FileIdentity> identity{};
  std::vector<Shape> covering{};  ///< what covers something in it, if it was redacted
};

/// Gives a staged capture its final file: converts where another format is chosen, finds a free
/// name ("... 2.png", "... 3.png"), never replaces a file and never leaves half a one. The staged
/// file stays; its record says where the final one was put, so that a launch after a crash
/// recognises it. Blocks; any runner that may wait for the disk.
class CaptureFilePlacement {
 public:
  CaptureFilePlacement(std::shared_ptr<Files> files, std::shared_ptr<const ImageCodec> codec,
                       std::shared_ptr<StagingFolder> staging);

  /// `image` spares reading the staged file again; empty after a restart. Never fails for want of a
  /// folder: in the end the staged file itself is the placed one, with a note.
  [[nodiscard]] Result<PlacedCapture> place(StagedCapture& staged, Image image,
                                            const CaptureFileSettings& settings);

 private:
  struct Encoded {
    ExportFormat format = ExportFormat::png;
    std::optional<std::string> bytes;  ///< none: the staged PNG as it is
    PixelSize pixelSize;
    std::vector<CaptureNote> notes;
  };

  [[nodiscard]] Result<Encoded> encode(const StagedCapture& staged, Image image,
                                       const CaptureFileSettings& settings);
  [[nodiscard]] Result<Path> placeIn(const Path& folder, StagedCapture& staged,
                                     const Encoded& encoded, const std::string& filenameTemplate);
  [[nodiscard]] Result<Path> nameFor(const Path& source, bool link, const Path& folder,
                                     StagedCapture& staged, const std::string& filenameTemplate,
                                     std::string_view extension);

  std::shared_ptr<Files> files_;
  std::shared_ptr<const ImageCodec> codec_;
  std::shared_ptr<StagingFolder> staging_;
};

}  // namespace vantorel
