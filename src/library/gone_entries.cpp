#include "library/gone_entries.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

#include "base/round_trip.hpp"
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
  roundTrip(
      work, std::move(main),
      [&files, entries = std::move(entries)] { return goneOf(files, entries); }, std::move(done));
}

}  // namespace vantorel
