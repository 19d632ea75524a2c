#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "app/pending_archive_work.hpp"
#include "app/sensitive_scans.hpp"
#include "capture/capture_redaction.hpp"
#include "editor/shown_picture.hpp"
#include "settings/settings_store.hpp"

namespace vantorel {

/// Redactions over what was found, in the order found: one for each proposal.
[[nodiscard]] std::vector<Shape> redactionsOf(const std::vector<SmartRedact::Proposal>& proposals,
                                              RedactStyle style);

/// Looks through captures for what is sensitive and covers it for good. Lives on the main runner;
/// pictures are drawn on `work`.
class CaptureAutoRedact {
 public:
  enum class Failure {
    couldNotLook,  ///< the capture could not be scanned
    couldNotBake,  ///< the redacted image could not be produced
  };

  struct Clean {
    VisualDetectors unavailable;
    std::optional<SmartRedact::Reading> reading;
  };
  struct Baked {
    Image image;     ///< flattened: nothing of what is covered is left in it
    Image original;  ///< untouched
    std::vector<Shape> shapes;
    VisualDetectors unavailable;
  };
  /// With a clause that says why.
  struct Failed {
    Failure what = Failure::couldNotLook;
    std::string reason{};
  };
  using Outcome = std::variant<Clean, Failed, Baked>;

  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;
    SensitiveScans& scans;
    SettingsStore& settings;
    PendingArchiveWork& pendingWork;
    DrawPicture draw;  ///< called on `work`
  };

  explicit CaptureAutoRedact(Services services) : services_(std::move(services)) {}

  /// Looks through a capture of `pixelsPerPoint` as the settings say. A quit waits for it.
  void run(Image original, double pixelsPerPoint, std::move_only_function<void(Outcome)> done);

  /// The same, for filing.
  [[nodiscard]] RedactCapture forFiling();

  /// Draws `shapes` over `original`.
  void bake(Image original, double pixelsPerPoint, std::vector<Shape> shapes,
            std::move_only_function<void(Result<Image, SceneFailure>)> done);

 private:
  struct Run {
    Image original;
    double pixelsPerPoint = 1;
    std::move_only_function<void(Outcome)> done;
    std::unique_ptr<SensitiveScans::Scan> scan;
    PendingArchiveWork::Ticket ticket = 0;
  };
  void scanned(const std::shared_ptr<Run>& run, SensitiveScans::Answer answer);
  void finish(const std::shared_ptr<Run>& run, Outcome outcome);

  Services services_;
  std::set<std::shared_ptr<Run>> running_;
  Lifetime lifetime_;
};

/// "Smart Redact couldn't look through it", for one's words why a capture was kept private.
[[nodiscard]] std::string_view clause(CaptureAutoRedact::Failure failure);

}  // namespace vantorel
