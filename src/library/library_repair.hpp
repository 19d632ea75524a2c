#pragma once

#include <functional>
#include <memory>
#include <set>
#include <vector>

#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "library/library.hpp"
#include "library/library_check.hpp"
#include "library/verify_report.hpp"
#include "platform/clock.hpp"
#include "platform/trash.hpp"

namespace vantorel {

/// Looks through the library for what does not fit together, and repairs what can be repaired
/// without losing anything. Lives on the main runner, and looks at the disk on `work`.
class LibraryRepair {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;
    std::shared_ptr<Files> files;
    std::shared_ptr<const ImageCodec> codec;
    std::shared_ptr<const Clock> clock;
    Trash* trash = nullptr;
    Library* library = nullptr;
    std::function<std::vector<Path>()> captureFolders;
    std::function<std::vector<Path>()> filesOfStaged{};         ///< see `LibraryScope`
    std::function<bool(const PictureBytes&)> isWholePicture{};  ///< see `LibraryScope`
  };

  explicit LibraryRepair(Services services);

  using Done = std::move_only_function<void(VerifyReport)>;

  /// With `repairs` what is found is repaired as far as nothing can be lost by it. `progress` is
  /// called on `work` after each capture. Stopped by it, nothing was changed; a repair that has
  /// begun goes on to its end. After `Library::whenReady`.
  void run(bool repairs, CheckProgress progress, Done done);

  /// Moves originals that no entry needs to the Trash, as a repair does, and removes half files
  /// among them. Those of a capture whose
  /// file went stay while the program lives in the tray, for the file may come back; after that
  /// they are nobody's.
  void clearOriginals();

  /// Set by who files staged captures: files them, since a repair would do so a second time.
  std::function<void(std::function<void()> done)> recoverStaged;

  /// Answers which staged captures this process is filing; empty: none.
  std::function<void(std::function<void(const std::set<Path>& underWay)>)> whenStagingKnown;

 private:
  struct Run;
  using RunPointer = std::shared_ptr<Run>;

  [[nodiscard]] LibraryScope scope() const;
  void look(const RunPointer& run, CheckProgress progress);
  void whenSettled(std::function<void(const std::set<Path>& staging)> go);
  void lookAgain(const RunPointer& run);
  void judge(const RunPointer& run, bool wasQuiet);
  void repair(const RunPointer& run);
  void adopt(const RunPointer& run);
  void clearUp(const RunPointer& run);
  void setCopiesAside(const RunPointer& run);
  void finish(const RunPointer& run);
  void measure(VerifyReport report, Done done);
  [[nodiscard]] bool isQuiet() const;

  Services services_;
  double startedAt_;
  Lifetime lifetime_;
};

}  // namespace vantorel
