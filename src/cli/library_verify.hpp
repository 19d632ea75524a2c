#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "cli/command_reply.hpp"
#include "library/library.hpp"
#include "library/library_check.hpp"
#include "platform/clock.hpp"
#include "platform/trash.hpp"

namespace vantorel {

/// Runs "library verify". Lives on the main runner, and looks at the disk on `work`.
class LibraryVerify {
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

    /// Files what is staged; otherwise such a file and its entry-to-be would be repaired twice.
    std::function<void(std::function<void()> done)> recoverStaged;

    /// Answers which staged captures this process is filing; empty: none.
    std::function<void(std::function<void(const std::set<Path>& underWay)>)> whenStagingKnown{};

    std::function<std::vector<Path>()> filedPaths{};            ///< see `LibraryScope`
    std::function<bool(const PictureBytes&)> isWholePicture{};  ///< see `LibraryScope`
  };

  explicit LibraryVerify(Services services);

  /// Set on any thread to end a look that is under way.
  using StopFlag = std::shared_ptr<const std::atomic<bool>>;

  /// With `repairs` what is found is repaired as far as nothing can be lost by it. A repair that
  /// has begun goes on to its end.
  void run(bool repairs, bool json, StopFlag stopped, ShowProgress show, CommandDone done);

  /// Moves originals that no entry needs to the Trash, as a repair does. Those of a capture whose
  /// file went stay while the program lives in the tray, for the file may come back; after that
  /// they are nobody's.
  void clearOriginals();

  /// What a look through the library is told to do after each capture: to show each hundredth, and
  /// to go on until `stopped`.
  [[nodiscard]] static CheckProgress keepGoingUntil(StopFlag stopped, ShowProgress show);

 private:
  [[nodiscard]] LibraryScope scope() const;
  void look(bool repairs, bool json, const CheckProgress& keepGoing, CommandDone done);
  void whenSettled(std::function<void(const std::set<Path>& staging)> go);
  struct Repairing;
  void repair(const std::shared_ptr<Repairing>& repairing);
  void adopt(const std::shared_ptr<Repairing>& repairing);
  void clearUp(const std::shared_ptr<Repairing>& repairing);
  void lookAgain(const std::shared_ptr<Repairing>& repairing);
  void judge(const std::shared_ptr<Repairing>& repairing, bool wasQuiet);
  void finish(const std::shared_ptr<Repairing>& repairing);
  void measure(CommandReply reply, bool json, CommandDone done);
  using Claims = std::map<std::string, EntryClaim>;  // by the entries' ids
  void dropSettled(LibraryFindings& findings, const Claims& claimed) const;
  [[nodiscard]] bool claim(const std::string& id, Claims& claimed) const;
  void claimOriginals(LibraryFindings& findings, Claims& claimed) const;
  void claimFaulty(LibraryFindings& findings, Claims& claimed) const;
  [[nodiscard]] bool isQuiet() const;

  Services services_;
  double startedAt_;
  Lifetime lifetime_;
};

}  // namespace vantorel
