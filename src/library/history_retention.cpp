#include "library/history_retention.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "base/json_record.hpp"
#include "base/log.hpp"
#include "base/round_trip.hpp"

namespace vantorel {
namespace {

constexpr auto sweepInterval = std::chrono::hours(1);
constexpr double secondsADay = 86400;

}  // namespace

double lastEditOf(const ScreenshotEntry& entry) {
  return std::max({entry.capturedAt, entry.editedAt.value_or(0), entry.trimmedAt.value_or(0)});
}

bool isKeptAtAnyAge(const ScreenshotEntry& entry) {
  return entry.starred || entry.medium == CaptureMedium::project || !entry.collectionIDs.empty();
}

std::vector<std::string> expiredEntries(const HistoryStore& store, RetentionPolicy policy,
                                        double now) {
  std::vector<std::string> expired;
  if (policy == RetentionPolicy::off) return expired;
  const double age = daysOf(policy) * secondsADay;
  for (const EntryPointer& entry : store.entries()) {
    if (isKeptAtAnyAge(*entry)) continue;
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

HistoryRetention::HistoryRetention(Services services)
    : services_(std::move(services)),
      observation_(services_.store.observe([this](const HistoryChange& change) {
        if (change.loaded) sweep();
      })) {}

void HistoryRetention::setPolicy(RetentionPolicy policy) {
  policy_ = policy;
  isPolicyKnown_ = true;
  isAsking_ = false;
  isRefused_ = false;
  sweep();
}

void HistoryRetention::readAgreement() {
  if (std::exchange(isReading_, true)) return;
  roundTrip(
      *services_.work, services_.main,
      [&files = services_.files, path = services_.store.paths().retention()] {
        const auto text = files.read(path);
        auto read = text ? json::fromText<RetentionAgreement>(*text)
                         : Result<RetentionAgreement>(std::unexpected(text.error()));
        // What cannot be read was agreed by nobody, and is asked again.
        return read ? *std::move(read) : RetentionAgreement();
      },
      lifetime_.guard([this](RetentionAgreement found) {
        agreement_ = std::move(found);
        sweep();
      }));
}

void HistoryRetention::sweep() {
  timer_.renew();
  if (!isPolicyKnown_) return;
  if (policy_ != RetentionPolicy::off) {
    services_.main->postAfter(sweepInterval, timer_.guard([this] { sweep(); }));
  }
  if (!services_.store.isLoaded() || services_.store.indexRefusal() || isSweeping_) return;
  if (!agreement_) return readAgreement();
  withdrawIfLonger();
  if (policy_ == RetentionPolicy::off) return;
  const double now = services_.clock.now();
  std::vector<std::string> expired = expiredEntries(services_.store, policy_, now);
  const std::size_t count = expired.size();
  if (count > 0 && !mayMove()) {
    if (isRefused_ || std::exchange(isAsking_, true)) return;
    if (onQuestion) onQuestion(count, policy_);
    return;
  }
  // Nothing of an age that was not agreed to is noted; and not every hour is worth a write.
  const bool isOld = std::abs(now - agreement_->lookedAt) > secondsADay;
  if (agreement_->policy() == policy_ && isOld) {
    RetentionAgreement later = *agreement_;
    later.lookedAt = now;
    keep(std::move(later), [](bool) {});
  }
  if (count > 0) move(std::move(expired));
}

/// Who chooses a longer age, or none, takes back the yes to the one before.
void HistoryRetention::withdrawIfLonger() {
  const bool isLonger =
      policy_ == RetentionPolicy::off || daysOf(policy_) > daysOf(agreement_->policy());
  if (agreement_->policy() == RetentionPolicy::off || !isLonger) return;
  // In force at once, even if it cannot be written.
  agreement_->days = 0;
  keep(*agreement_, [](bool) {});
}

bool HistoryRetention::mayMove() const {
  const std::chrono::duration<double> pause(services_.clock.now() - agreement_->lookedAt);
  return agreement_->policy() == policy_ && pause <= longestPause;
}

void HistoryRetention::answer(RetentionPolicy policy, bool isAgreed) {
  if (policy != policy_ || !std::exchange(isAsking_, false) || !agreement_) return;
  if (!isAgreed) {
    isRefused_ = true;
    return;
  }
  RetentionAgreement agreement = *agreement_;
  agreement.days = daysOf(policy);
  agreement.lookedAt = services_.clock.now();
  keep(std::move(agreement), [this](bool kept) {
    if (kept) sweep();
  });
}

// Known here once it is on disk: what goes by it must not be asked about again.
void HistoryRetention::keep(RetentionAgreement agreement,
                            std::move_only_function<void(bool)> done) {
  roundTrip(
      *services_.work, services_.main,
      [&files = services_.files, path = services_.store.paths().retention(), agreement] {
        return files.replace(path, json::toText(agreement), Privacy::ownerOnly);
      },
      lifetime_.guard(
          [this, agreement, done = std::move(done)](const Result<void>& written) mutable {
            if (written) {
              agreement_ = std::move(agreement);
            } else {
              logWarning("History", "the agreed age could not be kept: {}", written.error().reason);
            }
            done(written.has_value());
          }));
}

void HistoryRetention::move(std::vector<std::string> expired) {
  isSweeping_ = true;
  services_.deletion.trash(std::move(expired), HistoryDeletion::Undo::none,
                           lifetime_.guard([this](const TrashSweep& swept) {
                             isSweeping_ = false;
                             logInfo("History", "{} capture(s) reached their age; {} stayed",
                                     swept.removed.size(), swept.failures.size());
                           }));
}

}  // namespace vantorel
