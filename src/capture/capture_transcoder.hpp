#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "base/image.hpp"
#include "capture/capture_outcome.hpp"
#include "capture/compress_plan.hpp"
#include "library/records/file_identity.hpp"
#include "platform/files.hpp"
#include "platform/image_codec.hpp"

namespace vantorel {

class IndexedPNGEncoder;

enum class TranscodeTask { convert, compress };

/// Why a capture could not be converted or compressed. Its file is then as it was.
struct TranscodeFailure {
  enum class Case {
    writeFailed,    ///< `reason` says why
    unreadable,     ///< there is no file, or it is no picture
    tooLarge,       ///< `format` cannot hold the pixel size
    animated,       ///< more than the first picture would be lost
    larger,         ///< `format` would not save room; `reason` gives the sizes
    encodeRefused,  ///< the encoder failed or is not installed; `reason` says why
    noPicture,      ///< but a recording or a text
  };
  Case what = Case::writeFailed;
  std::string reason;
  ExportFormat format = ExportFormat::png;  ///< that it was to get
  TranscodeTask task = TranscodeTask::convert;
};

[[nodiscard]] std::string sentence(const TranscodeFailure& failure);

/// Converts and compresses the files of captures. Keeps the old file until the new one is whole and
/// on the disk. Blocks: for a runner that may wait.
class CaptureTranscoder {
 public:
  /// The capture to work on.
  struct Source {
    Path path;
    double scale = 1;                                ///< pixels per point
    std::optional<double> createdAt = std::nullopt;  ///< told to the new file

    /// Where the file as it was is to be kept, made before anything changes; one that stands there
    /// already, from an earlier change, stays. None: it is not kept.
    std::optional<Path> keepOriginalAs = std::nullopt;

    /// What redactions cover of a picture of this size; may be empty. It is blanked in every file
    /// that does not hold the picture to the last bit: an encoder spreads what it loses beyond the
    /// redactions. The file's size then decides nothing either, as what is covered has a part in
    /// it.
    std::function<std::vector<PixelRect>(PixelSize)> redacted = {};

    /// Whether a free name is kept for a file that is away; may be empty.
    std::function<bool(const Path& path)> isReserved = {};

    /// Told before a new file, which is whole at `temporary`, gets its name; may be empty. A
    /// failure ends the work.
    std::function<vantorel::Result<void>(const Path& path, const Path& temporary)> willMake = {};

    /// Told before so many bytes are put in the file's place; may be empty. A failure ends the
    /// work.
    std::function<vantorel::Result<void>(std::uint64_t bytes)> willReplace = {};
  };

  /// What the library's entry is to say from now on.
  struct Result {
    Path path;

    /// The old file, when the new one has another name. It still stands: whoever asked removes it
    /// once the entry names the new one, so that a crash leaves no entry without its file.
    std::optional<Path> oldPath;

    ExportFormat format = ExportFormat::png;
    PixelSize pixelSizeBefore;
    PixelSize pixelSize;
    double scale = 1;  ///< pixels per point
    Image preview;     ///< the picture before a lossy format's own losses
    std::uint64_t bytesBefore = 0;
    std::uint64_t bytesAfter = 0;
    bool downscaled = false;
    bool isBlanked = false;  ///< what redactions cover is not in the new file
    std::vector<CaptureNote> notes;
    std::optional<FileIdentity> identity{};     ///< of the file at `path`
    std::optional<FileIdentity> oldIdentity{};  ///< of the file at `oldPath`
  };

  CaptureTranscoder(std::shared_ptr<Files> files, std::shared_ptr<const ImageCodec> codec);

  /// Writes the capture in `format`, beside the old file under its name with the other extension
  /// (numbered when that is taken). A capture that has the format already is left as it is, and so
  /// is a PNG file that would grow as HEIC. Animations are refused, here and by `compress`.
  [[nodiscard]] std::expected<Result, TranscodeFailure> convert(const Source& source,
                                                                ExportFormat format,
                                                                double quality);

  /// What one format, or compressing, would make of a capture's file.
  struct Weight {
    std::optional<ExportFormat> format = std::nullopt;  ///< none: compressed
    /// Bytes of the file; nothing when compressing would not be worth it.
    std::expected<std::optional<std::uint64_t>, TranscodeFailure> bytes;
  };

  /// Makes in memory what `convert` to each format and `compress` would write, and tells how large
  /// each is, the quick ones first, until `tell` answers false.
  void weigh(const Source& source, double quality,
             const std::function<bool(const Weight&)>& tell) const;

  /// How `compress` ended.
  struct Compacted {
    Result result;
  };
  struct AlreadyCompact {};  ///< nothing was to be had: the file is as it was
  struct TooLarge {
    ExportFormat format = ExportFormat::png;
  };
  struct Failed {
    TranscodeFailure failure;
  };
  using CompressOutcome = std::variant<Compacted, AlreadyCompact, TooLarge, Failed>;

  /// Makes the file smaller in the way that suits the picture; never larger. In the same format it
  /// keeps its name.
  [[nodiscard]] CompressOutcome compress(const Source& source, bool downscaleTo1x);

 private:
  struct Opened;
  struct Encoded;
  template <class Value>
  using Answer = vantorel::Result<Value, TranscodeFailure>;

  [[nodiscard]] Answer<Opened> open(const Source& source) const;
  [[nodiscard]] Answer<Opened> openBlanked(const Source& source) const;
  [[nodiscard]] Answer<std::string> encode(const Image& image, const ImageEncoding& encoding) const;
  [[nodiscard]] Answer<std::uint64_t> bytesToBeat(const Opened& opened,
                                                  ImageEncoding encoding) const;
  [[nodiscard]] Answer<std::string> encodePalette(const IndexedPNGEncoder& palette,
                                                  const ImageEncoding& encoding) const;
  [[nodiscard]] static ImageEncoding encodingOf(const Source& source, ExportFormat format,
                                                double quality);
  [[nodiscard]] Answer<Result> rewritten(const Source& source, ExportFormat format, double quality);
  [[nodiscard]] Answer<std::string> converted(const Opened& opened,
                                              const ImageEncoding& encoding) const;
  [[nodiscard]] Answer<std::optional<Encoded>> smallest(const Source& source, const Opened& opened,
                                                        bool downscaleTo1x) const;
  [[nodiscard]] Answer<std::optional<Result>> compacted(const Source& source, bool downscaleTo1x);
  [[nodiscard]] Answer<Result> write(const Source& source, const Opened& opened, const Image& image,
                                     const ImageEncoding& encoding, std::string_view bytes);
  [[nodiscard]] vantorel::Result<void> removeIfThere(const Path& path);
  [[nodiscard]] vantorel::Result<void> keepOriginal(const Path& path, const Path& original);
  [[nodiscard]] vantorel::Result<Path> writeBeside(const Source& source, std::string_view bytes,
                                                   ExportFormat format);

  std::shared_ptr<Files> files_;
  std::shared_ptr<const ImageCodec> codec_;
};

}  // namespace vantorel
