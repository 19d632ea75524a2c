#pragma once

#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "base/image.hpp"
#include "base/result.hpp"
#include "editor/records/box.hpp"
#include "platform/text_recogniser.hpp"
#include "platform/visual_detector.hpp"
#include "text/records/detected_code.hpp"
#include "text/records/ocr_block.hpp"
#include "text/records/sensitive_match.hpp"
#include "text/records/visual_detectors.hpp"
#include "text/sensitive_text_detector.hpp"

namespace vantorel {

/// Finds what should not be shared in a picture and proposes what to cover. Any thread; blocks for
/// as long as the picture takes to read, and stops early when asked to.
class SmartRedact {
 public:
  /// The text that a run worked from.
  struct Reading {
    std::vector<OCRBlock> blocks;  ///< as a library entry keeps them
    std::vector<OCRLine> lines;    ///< all of theirs
    std::string text;              ///< the lines, joined
    std::vector<DetectedCode> codes;
    bool isTruncated = false;
  };

  /// Something to cover. What runs over a line's end is one proposal for each line, with one
  /// `match`.
  struct Proposal {
    SensitiveMatchKind kind = SensitiveMatchKind::email;
    Box rect;            ///< in pixels of the picture, and within it
    int match = 0;       ///< counts what was found: proposals of one find have the same
    std::string text{};  ///< as it was read; empty for faces and people
  };

  struct Outcome {
    std::vector<Proposal> proposals;
    VisualDetectors unavailable;     ///< that were enabled and could not run
    std::optional<Reading> reading;  ///< none when the text could not be read
  };

  /// Counts for the user.
  struct Report {
    int text = 0;  ///< finds, not boxes; codes are among them
    int faces = 0;
    int people = 0;
    bool visualEnabled = false;
    VisualDetectors unavailable;
  };
  [[nodiscard]] static Report report(const Outcome& outcome, VisualDetectors enabled);

  struct Services {
    std::shared_ptr<TextRecogniser> recogniser;
    std::shared_ptr<VisualDetector> visual;  ///< null: faces and people are unavailable
    std::shared_ptr<const SensitiveTextDetector> detector;
  };

  explicit SmartRedact(Services services) : services_(std::move(services)) {}

  /// Looks at all of `picture`, of `pixelsPerPoint`. Fails when its text cannot be read; a detector
  /// of faces or people that cannot run is told in the outcome instead.
  [[nodiscard]] Result<Outcome, RecognitionFailure> run(const Image& picture, double pixelsPerPoint,
                                                        VisualDetectors enabled,
                                                        const std::stop_token& stop) const;

 private:
  Services services_;
};

}  // namespace vantorel
