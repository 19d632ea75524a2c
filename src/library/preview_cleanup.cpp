#include "library/preview_cleanup.hpp"

#include <string>
#include <unordered_map>
#include <utility>

#include "base/log.hpp"
#include "library/preview_name.hpp"

namespace vantorel {
namespace {

/// What there is of each of some entries; nothing of those that went.
struct Remains {
  EntryList there;
  EntryList gone;
  bool isAll = false;  ///< there is no entry besides

  void removeOutdated(Files& files, const Path& folder) const {
    const auto found = files.list(folder);
    if (!found || found->empty()) return;
    std::unordered_map<std::string, EntryPointer> owners;
    for (const EntryPointer& entry : gone) owners[PreviewName::owner(entry->id)] = nullptr;
    for (const EntryPointer& entry : there) owners[PreviewName::owner(entry->id)] = entry;
    for (const FolderItem& item : *found) {
      if (!PreviewName::isOne(item.name)) continue;
      const auto owner = owners.find(std::string(PreviewName::ownerIn(item.name)));
      if (owner == owners.end() && !isAll) continue;
      const bool isGone = owner == owners.end() || owner->second == nullptr;
      if (!isGone && item.name.starts_with(PreviewName::look(*owner->second))) continue;
      if (const auto removed = files.remove(folder / item.name); !removed) {
        logWarning("Previews", "an outdated preview stays: {}", removed.error().reason);
      }
    }
  }
};

}  // namespace

PreviewCleanup::PreviewCleanup(HistoryStore& store, std::shared_ptr<TaskRunner> work,
                               std::shared_ptr<Files> files, Path folder)
    : store_(store),
      work_(std::move(work)),
      files_(std::move(files)),
      folder_(std::move(folder)),
      observation_(store.observe([this](const HistoryChange& change) { follow(change); })) {}

void PreviewCleanup::removeAllOutdated() {
  isForAll_ = true;
  work_->post([files = files_, folder = folder_,
               remains = Remains{.there = store_.newestFirst(), .isAll = true}] {
    remains.removeOutdated(*files, folder);
  });
}

void PreviewCleanup::follow(const HistoryChange& change) {
  if (change.loaded && isForAll_) return removeAllOutdated();
  if (change.updated.empty() && change.removed.empty()) return;
  Remains remains{.gone = change.removed};
  for (const HistoryChange::Update& update : change.updated) {
    remains.there.push_back(update.after);
  }
  work_->post([files = files_, folder = folder_, remains = std::move(remains)] {
    remains.removeOutdated(*files, folder);
  });
}

}  // namespace vantorel
