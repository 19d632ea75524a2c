#pragma once

#include <functional>
#include <memory>

#include "base/task_runner.hpp"
#include "library/history_store.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Of entries that were seen a while ago, those that are in the library unchanged and whose files
/// are not being changed or moved by the program itself. Main runner.
[[nodiscard]] EntryList settledEntries(const HistoryStore& store, const EntryList& entries);

/// Looks on `work` once more for the files of entries that had none, and tells `done` on `main`
/// which still have none. A deletion and its undo within a long look leave no other trace.
void lookAgain(const Files& files, TaskRunner& work, std::shared_ptr<TaskRunner> main,
               EntryList entries, std::move_only_function<void(const EntryList& gone)> done);

}  // namespace vantorel
