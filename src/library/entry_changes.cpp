#include "library/entry_changes.hpp"

#include <utility>

#include "base/random_id.hpp"

namespace vantorel {

void changeEntries(HistoryStore& store, const EntryList& entries,
                   const std::function<Result<void>(const std::string& id)>& change,
                   std::move_only_function<void(Result<ChangeReport>)> done) {
  ChangeReport report;
  for (const EntryPointer& entry : entries) {
    if (const auto outcome = change(entry->id); !outcome) {
      return done(std::unexpected(outcome.error()));
    }
    report.changed.push_back(store.find(entry->id));
  }
  store.flush(
      [report = std::move(report), done = std::move(done)](const Result<void>& saved) mutable {
        if (!saved) report.indexNotSaved = saved.error().reason;
        done(std::move(report));
      });
}

Result<const HistoryCollection*> findOrMakeCollection(HistoryStore& store, const std::string& text,
                                                      double now) {
  const auto found = store.resolveCollection(text);
  if (found || found.error().kind != FailureKind::notFound) return found;
  HistoryCollection made;
  made.id = randomID();
  made.name = text;
  made.createdAt = now;
  const std::string id = made.id;
  VT_TRY(store.addCollection(std::move(made)));
  return store.findCollection(id);
}

}  // namespace vantorel
