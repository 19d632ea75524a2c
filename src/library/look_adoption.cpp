#include "library/look_adoption.hpp"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "library/gone_entries.hpp"
#include "library/sliced_work.hpp"

namespace vantorel {
namespace {

/// Takes out of `moves` what would get the path of a file that keeps it, and what else would change
/// of the same entry, until nothing does.
void dropConflicts(const HistoryStore& store, std::vector<const SeenFile*>& moves) {
  std::unordered_map<std::string, std::vector<EntryFile>> holders;
  for (const SeenFile* const move : moves) holders[move->path.string()];
  const auto hold = [&](EntryFile file) {
    const auto found = holders.find(file.path());
    if (found != holders.end()) found->second.push_back(std::move(file));
  };
  for (const EntryPointer& entry : store.entries()) {
    hold({entry, FileRole::shown});
    if (entry->originalPath) hold({entry, FileRole::original});
  }
  for (std::size_t before = 0; before != moves.size();) {
    before = moves.size();
    std::set<std::pair<const ScreenshotEntry*, FileRole>> leaving;
    for (const SeenFile* const move : moves) leaving.emplace(move->entry.get(), move->role);
    std::set<const ScreenshotEntry*> staying;
    std::erase_if(moves, [&](const SeenFile* move) {
      const bool isFree =
          std::ranges::all_of(holders[move->path.string()], [&](const EntryFile& holder) {
            return leaving.contains({holder.entry.get(), holder.role});
          });
      if (!isFree) staying.insert(move->entry.get());
      return !isFree;
    });
    std::erase_if(moves, [&](const SeenFile* move) { return staying.contains(move->entry.get()); });
  }
}

}  // namespace

AdoptedLook adoptNames(HistoryStore& store, const FileLook& look,
                       const std::set<std::string>& claimed) {
  std::vector<const SeenFile*> moves;
  AdoptedLook adopted;
  for (const auto* const list : {&look.renamed, &look.displaced}) {
    for (const SeenFile& file : *list) {
      adopted.unsettled.insert(file.entry->id);
      const bool isOurs =
          claimed.contains(file.entry->id) && store.find(file.entry->id) == file.entry;
      if (isOurs || !settledEntries(store, {file.entry}).empty()) moves.push_back(&file);
    }
  }
  if (!moves.empty()) dropConflicts(store, moves);
  std::vector<SeenFile> settled;
  std::set<EntryPointer> changed;
  for (const SeenFile* const move : moves) {
    adopted.unsettled.erase(move->entry->id);
    changed.insert(move->entry);
    settled.push_back(*move);
  }
  remember(store, settled);
  for (const EntryPointer& entry : look.gone) {
    adopted.gone.push_back(changed.contains(entry) ? store.find(entry->id) : entry);
  }
  std::set<EntryPointer> renamed;
  for (const SeenFile& file : look.renamed) {
    if (changed.contains(file.entry)) renamed.insert(file.entry);
  }
  adopted.renamed = renamed.size();
  return adopted;
}

void remember(HistoryStore& store, const std::vector<SeenFile>& files) {
  std::vector<HistoryStore::Revision> revisions;
  std::unordered_map<const ScreenshotEntry*, std::size_t> places;
  for (const SeenFile& file : files) {
    const auto [place, isFirst] = places.emplace(file.entry.get(), revisions.size());
    if (isFirst) revisions.push_back({file.entry, *file.entry});
    ScreenshotEntry& after = revisions[place->second].after;
    if (file.role == FileRole::shown) {
      after.path = file.path.string();
      after.fileIdentity = file.identity;
    } else {
      after.originalPath = file.path.string();
      after.originalIdentity = file.identity;
    }
  }
  store.revise(std::move(revisions));
}

void learnInSlices(const std::shared_ptr<TaskRunner>& main, std::vector<SeenFile> files,
                   std::function<void(const std::vector<SeenFile>&)> learn,
                   std::move_only_function<void()> then) {
  const std::size_t count = files.size();
  inSlices(
      main, count,
      [files = std::move(files), learn = std::move(learn)](std::size_t begin,
                                                           std::size_t end) mutable {
        learn({std::make_move_iterator(files.begin() + static_cast<std::ptrdiff_t>(begin)),
               std::make_move_iterator(files.begin() + static_cast<std::ptrdiff_t>(end))});
      },
      std::move(then));
}

LookBeforeUse::LookBeforeUse(const HistoryStore& store, std::vector<std::string> ids)
    : ids_(std::move(ids)),
      scope_{
          .entries = store.entries(), .unreadPaths = store.unreadPaths(), .paths = store.paths()} {}

FileLook LookBeforeUse::look(const Files& files) const {
  const std::unordered_set<std::string_view> ids(ids_.begin(), ids_.end());
  EntryList wanted;
  std::ranges::copy_if(scope_.entries, std::back_inserter(wanted),
                       [&](const EntryPointer& entry) { return ids.contains(entry->id); });
  return lookForFiles(files, wanted, scope_, [](std::size_t, std::size_t) { return true; });
}

AdoptedLook adoptLook(HistoryStore& store, const FileLook& look,
                      const std::set<std::string>& claimed) {
  AdoptedLook adopted = adoptNames(store, look, claimed);
  remember(store, look.learned);
  return adopted;
}

}  // namespace vantorel
