#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "capture/capture_file_placement.hpp"
#include "capture/capture_outcome.hpp"
#include "capture/redacted_originals.hpp"
#include "capture/staged_redaction.hpp"
#include "capture/staging_folder.hpp"
#include "library/library.hpp"

namespace vantorel {

/// Files staged captures into the library: gives each its final file, lists it in the index, and
/// only when the index is safe on disk forgets the staged file. A crash at any point leaves either
/// a staged capture that the next launch files, or a filed one. A capture that no folder can take
/// is listed under its staged name till one can. One that awaits its redaction is redacted before
/// anything of it leaves the staging folder. Lives on the main runner; the disk
/// work runs on `work`.
class StillCaptureFiling {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;
    std::shared_ptr<StagingFolder> staging;
    std::shared_ptr<CaptureFilePlacement> placement;
    std::shared_ptr<RedactedOriginals> originals;
    StagedRedaction* redaction = nullptr;
    Library* library = nullptr;
    std::function<CaptureFileSettings()> fileSettings;
    std::function<std::optional<std::string>()> activeCollectionID;
  };

  explicit StillCaptureFiling(Services services) : services_(std::move(services)) {}

  using Filed = std::move_only_function<void(Result<CaptureOutcome::Saved>)>;

  /// Told what has just been done, in a word for the log.
  using Reached = std::function<void(std::string_view step)>;

  /// Waits until the library is ready. `image` spares reading the staged file again; it may be
  /// empty. A failure leaves the staged file for the next launch.
  void file(StagedCapture staged, Image image, Filed filed, Reached reached = nullptr);

  /// Paths of staged files that this run has tried to file: the launch sweep leaves them alone.
  [[nodiscard]] const std::set<Path>& claimedPaths() const { return claimedPaths_; }

  /// Of those, the ones that have not come to their end.
  [[nodiscard]] const std::set<Path>& pathsUnderWay() const { return pathsUnderWay_; }

  /// Says that `path` is taken care of by the caller, before it is handed to `file`.
  void claim(const Path& path) {
    claimedPaths_.insert(path);
    pathsUnderWay_.insert(path);
  }

  /// Lets a sweep of this run have the captures that no folder could take: another one can now.
  void unclaimKept();

 private:
  void redact(StagedCapture staged, Image image, Filed filed, Reached reached);
  void fileNow(StagedCapture staged, Image image, Filed filed, Reached reached);
  void addToLibrary(StagedCapture staged, PlacedCapture placed, Filed filed,
                    const Reached& reached);
  void fileAgain(const EntryPointer& known, StagedCapture staged, Filed filed);
  void moved(const std::string& id, const PlacedCapture& placed, const StagedCapture& staged,
             Filed filed);
  void forgetStaged(const StagedCapture& staged, const Path& placed,
                    std::move_only_function<void()> done);

  Services services_;
  std::set<Path> claimedPaths_;
  std::set<Path> pathsUnderWay_;
  std::set<Path> keptPaths_;
  Lifetime lifetime_;
};

}  // namespace vantorel
