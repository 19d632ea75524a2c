#pragma once

#include <functional>
#include <optional>
#include <string>

#include "library/history_store.hpp"

namespace vantorel {

/// What a change of entries came to.
struct ChangeReport {
  EntryList changed;                         ///< as they are now
  std::optional<std::string> indexNotSaved;  ///< why
};

/// Calls `change` with the id of one entry after the other, and `done` when what was changed is on
/// disk; at once, with why, when one cannot be changed. Main runner.
void changeEntries(HistoryStore& store, const EntryList& entries,
                   const std::function<Result<void>(const std::string& id)>& change,
                   std::move_only_function<void(Result<ChangeReport>)> done);

/// The collection that `text` names (`HistoryStore::resolveCollection`). When there is none, one of
/// that name is made, at `now` in seconds since 1970-01-01 UTC. Valid until the next change. Main
/// runner.
[[nodiscard]] Result<const HistoryCollection*> findOrMakeCollection(HistoryStore& store,
                                                                    const std::string& text,
                                                                    double now);

}  // namespace vantorel
