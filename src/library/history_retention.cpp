#include "library/history_retention.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>

#include "base/log.hpp"

namespace vantorel {
namespace {

constexpr auto sweepInterval = std::chrono::hours(1);
constexpr double secondsADay = 86400;

}  // namespace

double lastEditOf(const ScreenshotEntry& entry) {
  return std::max({entry.capturedAt, entry.editedAt.value_or(0), entry.trimmedAt.value_or(0)});
}

std::vector<std::string> expiredEntries(const HistoryStore& store, RetentionPolicy policy,
                                        double now) {
  std::vector<std::string> expired;
  if (policy == RetentionPolicy::off) return expired;
  const double age = daysOf(policy) * secondsADay;
  for (const EntryPointer& entry : store.entries()) {
    if (entry->starred || entry->medium == CaptureMedium::project) continue;
    if (!entry->collectionIDs.empty()) continue;
    if (now - lastEditOf(*entry) > age) expired.push_back(entry->id);
  }
  return expired;
}

RetentionConfirmation confirmRetention(std::size_t count, RetentionPolicy policy) {
  return {fmt::format("Move {} {} older than {} to the Trash?", count,
                      count == 1 ? "capture" : "captures", displayName(policy)),
          "Age is counted from each capture’s last edit. You can put the files back from the "
          "Trash, but these captures leave History for good, along with their editable annotations "
          "and recognized text. Starred captures, captures in a Collection and Studio projects are "
          "never auto-deleted."};
}

HistoryRetention::HistoryRetention(HistoryStore& store, HistoryDeletion& deletion,
                                   const Clock& clock, std::shared_ptr<TaskRunner> main)
    : store_(store),
      deletion_(deletion),
      clock_(clock),
      main_(std::move(main)),
      observation_(store.observe([this](const HistoryChange& change) {
        if (change.loaded) sweep();
      })) {}

void HistoryRetention::setPolicy(RetentionPolicy policy) {
  policy_ = policy;
  sweep();
}

void HistoryRetention::sweep() {
  timer_.renew();
  if (policy_ == RetentionPolicy::off) return;
  main_->postAfter(sweepInterval, timer_.guard([this] { sweep(); }));
  if (!store_.isLoaded() || store_.indexRefusal() || isSweeping_) return;
  const std::vector<std::string> expired = expiredEntries(store_, policy_, clock_.now());
  if (expired.empty()) return;
  isSweeping_ = true;
  deletion_.trash(expired, HistoryDeletion::Undo::none,
                  alive_.guard([this](const TrashSweep& swept) {
                    isSweeping_ = false;
                    logInfo("History", "{} capture(s) reached their age; {} stayed",
                            swept.removed.size(), swept.failures.size());
                  }));
}

}  // namespace vantorel
