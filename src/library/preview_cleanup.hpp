#pragma once

#include <memory>

#include "base/task_runner.hpp"
#include "library/history_store.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Removes previews that show what their entry does not show any more, which may be what a
/// redaction covers by now, and those of entries that went. Lives on the main runner; removes on
/// `work`, the queue that previews are made on, so that none is made of an entry's earlier state
/// afterwards.
class PreviewCleanup {
 public:
  PreviewCleanup(HistoryStore& store, std::shared_ptr<TaskRunner> work,
                 std::shared_ptr<Files> files, Path folder);

  /// Goes through all previews, for what happened in runs that could not remove theirs. Again when
  /// the library is read anew.
  void removeAllOutdated();

 private:
  void follow(const HistoryChange& change);

  HistoryStore& store_;
  std::shared_ptr<TaskRunner> work_;
  std::shared_ptr<Files> files_;
  Path folder_;
  bool isForAll_ = false;
  Observation observation_;
};

}  // namespace vantorel
