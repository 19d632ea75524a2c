#include "library/index_writer.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <utility>

#include "base/log.hpp"
#include "base/round_trip.hpp"

namespace vantorel {
namespace {

constexpr auto persistDebounce = std::chrono::milliseconds(250);

/// Changes that never pause are written this often all the same.
constexpr auto longestDebounce = std::chrono::seconds(2);

std::string whyNotWritten(IndexLoad load, const std::string& reason) {
  switch (load) {
    case IndexLoad::newer: return "a newer version of Vantorel wrote it";
    case IndexLoad::unreadable: return "it can't be read" + (reason.empty() ? "" : ": " + reason);
    case IndexLoad::notParked: return "it is damaged, and no copy of it can be kept";
    case IndexLoad::absent:
    case IndexLoad::read:
    case IndexLoad::parked:
    case IndexLoad::inUse: break;
  }
  std::unreachable();
}

}  // namespace

IndexWriter::IndexWriter(const Clock& clock, std::shared_ptr<TaskRunner> main,
                         std::shared_ptr<TaskRunner> persist, std::shared_ptr<IndexStorage> storage)
    : clock_(clock),
      main_(std::move(main)),
      persist_(std::move(persist)),
      storage_(std::move(storage)) {}

void IndexWriter::opened(IndexLoad load, std::string reason) {
  load_ = load;
  reason_ = std::move(reason);
  // Of the library as it was before, when this is not the first time.
  pending_.clear();
  unwritten_ = false;
  failures_ = 0;
  saveFailure_.reset();
}

std::optional<std::string> IndexWriter::refusal() const {
  if (!load_) return notLoaded;
  if (*load_ == IndexLoad::inUse) return reason_ + " has the library";
  if (!allowsWrites(*load_)) {
    return fmt::format("the index can't be written this run: {}", whyNotWritten(*load_, reason_));
  }
  return std::nullopt;
}

void IndexWriter::changed(IndexChange change) {
  ++writeSequence_;
  if (refusal()) return;
  pending_.push_back(std::move(change));
  schedule();
}

void IndexWriter::schedule() {
  const std::chrono::nanoseconds now = clock_.monotonic();
  if (!unwritten_) unwrittenSince_ = now;
  unwritten_ = true;
  if (now - unwrittenSince_ >= longestDebounce) return;  // what is scheduled stays scheduled
  debounce_.renew();
  main_->postAfter(persistDebounce, debounce_.guard([this] {
    if (inFlight_) {
      again_ = true;
    } else {
      start();
    }
  }));
}

void IndexWriter::flush(Done done) {
  if (const auto reason = refusal()) {
    main_->post(lifetime_.guard([done = std::move(done), reason = *reason]() mutable {
      done(failed(FailureKind::denied, reason));
    }));
    return;
  }
  if (!unwritten_ && !inFlight_) {
    main_->post(lifetime_.guard([done = std::move(done)]() mutable { done({}); }));
    return;
  }
  waiters_.push_back({writeSequence_, std::move(done)});
  if (!unwritten_) return;  // the write in flight has everything
  if (inFlight_) {
    again_ = true;
  } else {
    start();
  }
}

void IndexWriter::secure(Done done) {
  roundTrip(
      *persist_, main_, [storage = storage_] { return storage->isLost(); },
      lifetime_.guard([this, done = std::move(done)](bool isLost) mutable {
        if (isLost && !refusal()) unwritten_ = true;
        flush(std::move(done));
      }));
}

void IndexWriter::start() {
  if (!unwritten_ || refusal()) return;
  debounce_.renew();
  unwritten_ = false;
  inFlight_ = true;
  roundTrip(
      *persist_, main_,
      [storage = storage_, changes = std::exchange(pending_, {}),
       sequence = writeSequence_]() mutable {
        storage->apply(std::move(changes));
        Written written{sequence, storage->write(), {}};
        written.foreign = storage->takeForeign();
        return written;
      },
      lifetime_.guard([this](Written written) { landed(std::move(written)); }));
}

void IndexWriter::landed(Written written) {
  auto& [sequence, result, foreign] = written;
  inFlight_ = false;
  for (const ForeignIndex& one : foreign) {
    if (allowsWrites(one.load)) continue;
    load_ = one.load;
    reason_ = one.load == IndexLoad::inUse ? "another process" : "";
  }
  if (result) {
    landedSequence_ = sequence;
    failures_ = 0;
    saveFailure_.reset();
  } else {
    logError("History", "index write failed: {}", result.error().reason);
    saveFailure_ = result.error().reason;
    ++failures_;
    unwritten_ = true;  // the storage has the changes; only the file lacks them
  }
  const auto rest = std::ranges::stable_partition(
      waiters_, [&](const Waiter& waiter) { return waiter.sequence > sequence; });
  std::vector<Waiter> ended(std::make_move_iterator(rest.begin()),
                            std::make_move_iterator(rest.end()));
  waiters_.erase(rest.begin(), rest.end());
  if (const auto refused = refusal()) {
    pending_.clear();
    for (Waiter& waiter : std::exchange(waiters_, {})) {
      waiter.done(failed(FailureKind::denied, *refused));
    }
  } else if (std::exchange(again_, false) || !waiters_.empty()) {
    start();
  } else if (!result && !refusal()) {
    retryLater();
  }
  for (Waiter& waiter : ended) {
    waiter.done(result);
  }
  if (onWritten) onWritten();
  for (const ForeignIndex& one : foreign) {
    if (onForeign) onForeign(one);
  }
}

// A full disk is emptied, a folder is mounted again: the changes are still in memory.
void IndexWriter::retryLater() {
  const auto delay = std::chrono::seconds(std::min(5 << std::min(failures_ - 1, 4), 60));
  main_->postAfter(delay, debounce_.guard([this] {
    if (!inFlight_) start();
  }));
}

}  // namespace vantorel
