#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "library/file_reach.hpp"
#include "library/library.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Entries, and what was found out of their files.
struct LookedEntries {
  EntryList entries;                ///< with the paths that their files have by now
  std::vector<FileReach> reaches;   ///< one for each; none when nobody answered in time
  std::set<std::string> unsettled;  ///< ids of those whose paths are not to be trusted

  [[nodiscard]] FileReach reachOf(std::size_t place) const {
    return place < reaches.size() ? reaches[place] : FileReach::unknown;
  }
};

/// Finds out which files of some entries are there, and under which names. Lives on the main
/// runner, and looks at the disk on `work`.
class EntryFileLook {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;
    std::shared_ptr<Files> files;
    Library* library = nullptr;
  };

  explicit EntryFileLook(Services services) : services_(std::move(services)) {}

  /// Unknown ids are passed over. Waits for five seconds at most.
  void look(const std::vector<std::string>& ids,
            std::move_only_function<void(const LookedEntries&)> done);

 private:
  void reachAll(LookedEntries looked, std::move_only_function<void(LookedEntries)> done);

  Services services_;
  Lifetime lifetime_;
};

}  // namespace vantorel
