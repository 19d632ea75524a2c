#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/lifetime.hpp"
#include "library/file_look.hpp"
#include "library/file_look_services.hpp"

namespace vantorel {

/// What taking captures out of History came to. Their files stay.
struct ForgetReport {
  struct Stayed {
    EntryPointer entry;
    std::string reason;  ///< a sentence: what somebody does with it
  };
  EntryList entries{};           ///< that went
  std::vector<Stayed> stayed{};  ///< those that were to go as well

  /// Why; nothing else means anything then.
  std::optional<std::string> indexNotSaved{};
};

/// What pruning came to.
struct PruneReport {
  ForgetReport forgotten{};
  std::size_t renamed = 0;     ///< captures whose files were found under other names
  std::size_t outOfReach = 0;  ///< captures that stay, for their files may be there
  std::size_t inDoubt = 0;     ///< those that stay because several files may be theirs
  std::size_t replaced = 0;    ///< those that stay although another folder of the name lacks them
  std::vector<std::string> silentFolders{};  ///< of captures, that do not answer
  bool wasStopped = false;                   ///< nothing was changed, and nothing else is told
};

/// Takes captures out of History whose files are gone, or that somebody names. Lives on the main
/// runner, and looks at the disk on `work`.
class LibraryPrune {
 public:
  explicit LibraryPrune(FileLookServices services) : services_(std::move(services)) {}

  /// What has no file goes; with `takesReplaced` also what is not in a folder that was put in the
  /// place of its own. `progress` is called on `work` after each capture and can stop the look.
  void run(bool takesReplaced, CheckProgress progress,
           std::move_only_function<void(PruneReport)> done);

  /// The captures go that have these ids; unknown ones are passed over.
  void forget(const std::vector<std::string>& ids,
              std::move_only_function<void(ForgetReport)> done);

 private:
  void takeOut(EntryList entries, std::move_only_function<void(ForgetReport)> done);
  [[nodiscard]] std::string reasonToStay(const std::string& id) const;

  FileLookServices services_;
  Lifetime lifetime_;
};

}  // namespace vantorel
