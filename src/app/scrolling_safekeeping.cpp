#include "app/scrolling_safekeeping.hpp"

#include <chrono>
#include <utility>

#include "base/log.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;

constexpr auto interval = 400ms;
constexpr auto failureInterval = 3s;

/// Pieces that are copied at once: 2,048 rows, some 16 MB of a full HD page.
constexpr std::size_t mostPieces = 8;

}  // namespace

void ScrollingSafekeeping::changed() {
  hasChanged_ = true;
  if (!isScheduled_) schedule(interval);
}

void ScrollingSafekeeping::keepRest() {
  if (!isScheduled_ || hasChanged_) keep(2 * mostPieces);
}

void ScrollingSafekeeping::schedule(std::chrono::milliseconds delay) {
  isScheduled_ = true;
  services_.frames->postAfter(delay, [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->keep(mostPieces);
  });
}

void ScrollingSafekeeping::keep(std::size_t most) {
  isScheduled_ = false;
  hasChanged_ = false;
  TallChanges changes = services_.changes(known_, most);
  if (changes.isEmpty()) return;
  isScheduled_ = true;
  services_.disk->post([spool = services_.spool, frames = services_.frames, weak = weak_from_this(),
                        changes = std::move(changes)]() mutable {
    auto written = spool->write(changes);
    changes.strips.clear();
    changes.ends.clear();
    frames->post(
        [weak = std::move(weak), written = std::move(written), changes = std::move(changes)] {
          if (const auto self = weak.lock()) self->kept(written, changes);
        });
  });
}

void ScrollingSafekeeping::kept(const Result<void>& written, const TallChanges& changes) {
  isScheduled_ = false;
  if (!written) {
    if (!std::exchange(isFailing_, true)) {
      logWarning("Scrolling", "what is joined can't be kept on disk: {}", written.error().reason);
      services_.failed(written.error().reason);
    }
    return schedule(failureInterval);
  }
  if (std::exchange(isFailing_, false)) logInfo("Scrolling", "what is joined is on disk again");
  known_ = changes.then;
  if (!changes.isAll) return schedule(0ms);
  if (hasChanged_) schedule(interval);
}

}  // namespace vantorel
