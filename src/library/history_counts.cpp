#include "library/history_counts.hpp"

namespace vantorel {

HistoryCounts::HistoryCounts(const HistoryStore& store) : store_(store) { countAll(); }

void HistoryCounts::countAll() {
  counts_ = {};
  applications_.clear();
  for (const EntryPointer& entry : store_.entries()) add(*entry);
}

void HistoryCounts::follow(const HistoryChange& change) {
  if (change.loaded) return countAll();
  for (const EntryPointer& entry : change.added) add(*entry);
  for (const EntryPointer& entry : change.removed) remove(*entry);
  for (const HistoryChange::Update& update : change.updated) {
    remove(*update.before);
    add(*update.after);
  }
}

void HistoryCounts::add(const ScreenshotEntry& entry) {
  for (std::size_t i = 0; i < counts_.size(); ++i) {
    if (shows(static_cast<HistoryScope>(i), entry, {})) ++counts_[i];
  }
  if (entry.sourceApp && !entry.sourceApp->name.empty()) ++applications_[entry.sourceApp->name];
}

void HistoryCounts::remove(const ScreenshotEntry& entry) {
  for (std::size_t i = 0; i < counts_.size(); ++i) {
    if (shows(static_cast<HistoryScope>(i), entry, {})) --counts_[i];
  }
  if (!entry.sourceApp) return;
  const auto found = applications_.find(entry.sourceApp->name);
  if (found != applications_.end() && --found->second == 0) applications_.erase(found);
}

}  // namespace vantorel
