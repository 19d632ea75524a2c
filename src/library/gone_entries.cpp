#include "library/gone_entries.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

#include "library/file_look.hpp"

namespace vantorel {

EntryList settledEntries(const HistoryStore& store, const EntryList& entries) {
  EntryList settled;
  std::ranges::copy_if(entries, std::back_inserter(settled), [&](const EntryPointer& entry) {
    return store.find(entry->id) == entry && !store.claims().isFileChanging(entry->id);
  });
  return settled;
}

void lookAgain(const Files& files, TaskRunner& work, std::shared_ptr<TaskRunner> main,
               EntryList entries, std::move_only_function<void(const EntryList& gone)> done) {
  work.post([&files, main = std::move(main), entries = std::move(entries),
             done = std::move(done)]() mutable {
    main->post([gone = goneOf(files, entries), done = std::move(done)]() mutable { done(gone); });
  });
}

}  // namespace vantorel
