#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "library/history_trash.hpp"

namespace vantorel {

/// What a deletion came to.
struct TrashSweep {
  struct Failure {
    std::string id;
    std::string reason;
  };
  std::vector<RemovedEntry> removed;
  std::vector<Failure> failures;
  std::set<std::string> attempted;
  std::optional<std::string> indexNotSaved;  ///< the files moved, but the index was not written

  /// It is for the Trash alone to bring back: an earlier undo still waits for its disk.
  bool isUndoTaken = false;
};

/// What an undo came to.
struct UndoOutcome {
  std::vector<std::string> restored;  ///< ids that are back in the library
  std::vector<TrashSweep::Failure> failures;
  std::optional<std::string> indexNotSaved;
};

}  // namespace vantorel
