#include "library/deletion_queue.hpp"

#include <algorithm>
#include <functional>
#include <iterator>

#include "base/log.hpp"
#include "library/sliced_work.hpp"

namespace vantorel {

DeletionQueue::DeletionQueue(Services services)
    : services_(std::move(services)),
      trash_(std::make_shared<HistoryTrash>(services_.files, services_.trash)) {}

void DeletionQueue::enqueue(Operation operation) {
  waiting_.push_back(std::move(operation));
  startNext();
}

void DeletionQueue::startNext() {
  while (!isBusy_ && !waiting_.empty()) {
    Operation operation = std::move(waiting_.front());
    waiting_.pop_front();
    isBusy_ = true;
    unsettledClaims_.clear();
    operation();
  }
}

void DeletionQueue::end(Operation answer) {
  inSlices(
      claims_.size(),
      [this](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) claims_[i].end();
      },
      [this, answer = std::move(answer)]() mutable {
        claims_.clear();
        holdUnsettled();
        isBusy_ = false;
        answer();
        startNext();
      });
}

void DeletionQueue::holdUnsettled() {
  const auto hold = [this](const std::string& id, EntryWork work) {
    auto claimed = services_.store.claims().claim(id, work);
    if (claimed) unsettledClaims_.push_back(*std::move(claimed));
  };
  for (const DeletionJournal::Item& item : unended_.items) {
    if (item.mayLandUntil) hold(item.id, EntryWork::deleting);
  }
  for (const std::string& id : unsettledUndo) hold(id, EntryWork::restoring);
}

void DeletionQueue::endLater(Operation answer) {
  services_.main->post(
      lifetime_.guard([this, answer = std::move(answer)]() mutable { end(std::move(answer)); }));
}

void DeletionQueue::settle(Operation done) {
  enqueue([this, done = std::move(done)]() mutable {
    onWork([] {}, [this, done = std::move(done)]() mutable { end(std::move(done)); });
  });
}

std::expected<void, EntryBusy> DeletionQueue::claim(const std::string& id, EntryWork work) {
  auto claimed = services_.store.claims().claim(id, work);
  if (!claimed) return std::unexpected(claimed.error());
  claims_.push_back(*std::move(claimed));
  return {};
}

void DeletionQueue::inSlices(std::size_t count,
                             std::move_only_function<void(std::size_t, std::size_t)> slice,
                             Operation then) {
  vantorel::inSlices(services_.main, count, lifetime_.guard(std::move(slice)),
                     lifetime_.guard(std::move(then)));
}

void DeletionQueue::flushIndex(std::move_only_function<void(const Result<void>&)> then) {
  services_.store.flush(lifetime_.guard(std::move(then)));
}

void DeletionQueue::closeJournal(bool isSaved, const DeletionJournal& current) {
  if (current.isEmpty()) return;
  if (!isSaved) return unended_.append(current);
  const auto isDoubtful = [](const DeletionJournal::Item& item) {
    return item.mayLandUntil.has_value();
  };
  if (unended_.isEmpty()) {
    // Thousands of items, of which none stays, would hold the runner.
    unended_.offersUndo |= current.offersUndo;
    std::ranges::copy_if(current.items, std::back_inserter(unended_.items), isDoubtful);
  } else {
    unended_.append(current);
    std::erase_if(unended_.items, std::not_fn(isDoubtful));
    unended_.surplus.clear();
  }
  services_.work->post(
      [&files = services_.files, paths = services_.store.paths(), journal = unended_] {
        const auto written = writeDeletionJournal(files, paths, journal);
        if (!written) {
          logWarning("History", "the deletion journal stays: {}", written.error().reason);
        }
      });
}

bool DeletionQueue::isInDoubt(const std::string& id) const {
  return std::ranges::find(unsettledUndo, id) != unsettledUndo.end() ||
         std::ranges::any_of(unended_.items, [&](const DeletionJournal::Item& item) {
           return item.mayLandUntil && item.id == id;
         });
}

bool DeletionQueue::isUnsettled() const {
  return !unsettledUndo.empty() ||
         std::ranges::any_of(unended_.items, [](const DeletionJournal::Item& item) {
           return item.mayLandUntil.has_value();
         });
}

}  // namespace vantorel
