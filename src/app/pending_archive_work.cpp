#include "app/pending_archive_work.hpp"

#include <utility>

namespace vantorel {

void PendingArchiveWork::end(Ticket ticket) {
  items_.erase(ticket);
  if (!items_.empty()) return;
  for (const auto& landed : std::exchange(waiting_, {})) landed();
}

std::vector<QuitFilingNote::Item> PendingArchiveWork::items() const {
  std::vector<QuitFilingNote::Item> found;
  found.reserve(items_.size());
  for (const auto& [ticket, item] : items_) found.push_back(item);
  return found;
}

void PendingArchiveWork::whenEmpty(std::function<void()> landed) {
  if (items_.empty()) {
    landed();
  } else {
    waiting_.push_back(std::move(landed));
  }
}

}  // namespace vantorel
