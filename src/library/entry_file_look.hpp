#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "base/lifetime.hpp"
#include "library/file_look_services.hpp"
#include "library/file_reach.hpp"

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
  explicit EntryFileLook(FileLookServices services) : services_(std::move(services)) {}

  /// Unknown ids are passed over. Waits for five seconds at most.
  void look(const std::vector<std::string>& ids,
            std::move_only_function<void(const LookedEntries&)> done);

 private:
  void reachAll(LookedEntries looked, std::move_only_function<void(LookedEntries)> done);

  FileLookServices services_;
  Lifetime lifetime_;
};

}  // namespace vantorel
