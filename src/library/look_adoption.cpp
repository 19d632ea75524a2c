#include "library/look_adoption.hpp"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "library/gone_entries.hpp"
#include "library/sliced_work.hpp"

namespace vantorel {
namespace {

/// Takes out of `moves` what would get the path of an entry that keeps it, until nothing does.
void dropConflicts(const HistoryStore& store, std::vector<const SeenFile*>& moves) {
  std::unordered_map<std::string, EntryList> holders;
  for (const SeenFile* const move : moves) holders[move->path.string()];
  for (const EntryPointer& entry : store.entries()) {
    if (const auto found = holders.find(entry->path); found != holders.end()) {
      found->second.push_back(entry);
    }
  }
  for (std::size_t before = 0; before != moves.size();) {
    before = moves.size();
    std::set<const ScreenshotEntry*> leaving;
    for (const SeenFile* const move : moves) leaving.insert(move->entry.get());
    std::erase_if(moves, [&](const SeenFile* move) {
      return !std::ranges::all_of(holders[move->path.string()], [&](const EntryPointer& holder) {
        return leaving.contains(holder.get());
      });
    });
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
  for (const SeenFile* const move : moves) {
    adopted.unsettled.erase(move->entry->id);
    settled.push_back(*move);
  }
  remember(store, settled);
  for (const SeenFile& file : look.originals) {
    const auto holder = std::ranges::find(settled, file.entry->originalPath.value_or(""),
                                          [](const SeenFile& move) { return move.path.string(); });
    if (holder == settled.end()) continue;
    (void)store.update(file.entry->id, [&](ScreenshotEntry& entry) {
      entry.originalPath = file.path.empty() ? std::nullopt : std::optional(file.path.string());
    });
  }
  std::set<EntryPointer> displaced;
  for (const SeenFile& file : look.displaced) displaced.insert(file.entry);
  for (const EntryPointer& entry : look.gone) {
    const bool isReplaced = displaced.contains(entry) && !adopted.unsettled.contains(entry->id);
    adopted.gone.push_back(isReplaced ? store.find(entry->id) : entry);
  }
  adopted.renamed = static_cast<std::size_t>(std::ranges::count_if(
      settled, [&](const SeenFile& file) { return !displaced.contains(file.entry); }));
  return adopted;
}

void remember(HistoryStore& store, const std::vector<SeenFile>& files) {
  std::vector<HistoryStore::Revision> revisions;
  for (const SeenFile& file : files) {
    ScreenshotEntry after = *file.entry;
    after.path = file.path.string();
    after.fileIdentity = file.identity;
    revisions.push_back({file.entry, std::move(after)});
  }
  store.revise(std::move(revisions));
}

void postInSlices(const std::shared_ptr<TaskRunner>& main, std::vector<SeenFile> files,
                  std::function<void(const std::vector<SeenFile>&)> learn,
                  std::move_only_function<void()> then) {
  main->post(
      [main, files = std::move(files), learn = std::move(learn), then = std::move(then)]() mutable {
        const std::size_t count = files.size();
        inSlices(
            main, count,
            [files = std::move(files), learn = std::move(learn)](std::size_t begin,
                                                                 std::size_t end) mutable {
              learn({std::make_move_iterator(files.begin() + static_cast<std::ptrdiff_t>(begin)),
                     std::make_move_iterator(files.begin() + static_cast<std::ptrdiff_t>(end))});
            },
            std::move(then));
      });
}

LookBeforeUse::LookBeforeUse(const HistoryStore& store, const std::vector<std::string>& ids)
    : scope_{.entries = store.entries(), .unreadPaths = store.unreadPaths()} {
  for (const std::string& id : ids) {
    if (EntryPointer entry = store.find(id)) wanted_.push_back(std::move(entry));
  }
}

FileLook LookBeforeUse::look(const Files& files) const {
  return lookForFiles(files, wanted_, scope_, [](std::size_t, std::size_t) { return true; });
}

AdoptedLook adoptLook(HistoryStore& store, const FileLook& look,
                      const std::set<std::string>& claimed) {
  AdoptedLook adopted = adoptNames(store, look, claimed);
  remember(store, look.learned);
  return adopted;
}

}  // namespace vantorel
