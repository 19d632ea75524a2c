#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>

#include "base/lifetime.hpp"
#include "base/observers.hpp"
#include "base/task_runner.hpp"
#include "capture/capture_redaction.hpp"
#include "capture/redacted_originals.hpp"
#include "capture/staging_folder.hpp"
#include "platform/image_codec.hpp"

namespace vantorel {

/// Sees to it that of a staged capture that awaits its redaction nothing is published before: its
/// picture is looked through, and where something is to be covered a covered one takes its place in
/// the staging folder, after the original has been made safe. A crash at any moment leaves the
/// staged capture as it was, or both the original and the covered one; never a raw one that does
/// not await redaction. One after the other, in the order in which they came. Lives on the main
/// runner; the disk work runs on `work`.
class StagedRedaction {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;
    std::shared_ptr<const ImageCodec> codec;
    std::shared_ptr<StagingFolder> staging;
    std::shared_ptr<RedactedOriginals> originals;
    RedactCapture redact;  ///< empty: nobody can look, and such captures stay staged
  };

  explicit StagedRedaction(Services services) : services_(std::move(services)) {}

  /// A staged capture that may be published.
  struct Publishable {
    StagedCapture staged;
    Image image;              ///< may be empty: the file has it
    std::size_t covered = 0;  ///< places
    VisualDetectors unavailable{};
  };
  using Done = std::move_only_function<void(Result<Publishable>)>;

  /// `image` spares reading the staged file; it may be empty. On failure the capture stays staged
  /// and private.
  void run(StagedCapture staged, Image image, Done done);

  /// How many captures are being looked through, or wait for it.
  [[nodiscard]] std::size_t underWay() const { return waiting_.size(); }

  /// Told when that has changed.
  [[nodiscard]] Observation observe(std::function<void()> changed) {
    return changed_.add(std::move(changed));
  }

 private:
  struct Waiting {
    StagedCapture staged;
    Image image;
    Done done;
  };

  void begin();
  void end(Result<Publishable> result);
  void look(StagedCapture staged, Image original, Done done);
  void settle(StagedCapture staged, Image original, CaptureRedaction redaction, Done done);

  Services services_;
  std::deque<Waiting> waiting_;  ///< the first one is being looked through
  Observers<> changed_;
  Lifetime lifetime_;
};

/// What is read while `captures` are looked through; empty for none.
[[nodiscard]] std::string scanningWords(std::size_t captures);

}  // namespace vantorel
