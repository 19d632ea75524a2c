#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "base/task_runner.hpp"
#include "capture/scrolling_spool.hpp"

namespace vantorel {

/// Keeps a running scrolling session's picture on disk, never more than a moment behind: twice a
/// second at most it copies what has changed, a bounded part at a time, and hands that to the
/// disk's runner. The next copy waits until the disk has taken the last one, so that a slow disk is
/// caught up with and never queued for. When the disk takes nothing, the session goes on, and it is
/// tried again. Lives on the frames' runner; held by `std::shared_ptr`.
class ScrollingSafekeeping : public std::enable_shared_from_this<ScrollingSafekeeping> {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> frames;
    std::shared_ptr<TaskRunner> disk;
    std::shared_ptr<ScrollingSpool> spool;  ///< used on `disk` alone

    /// See `ScrollingCanvas::changes`. On the frames' runner.
    std::function<TallChanges(const TallState& known, std::size_t most)> changes;

    /// Told once for a row of failures.
    std::function<void(std::string reason)> failed;
  };

  explicit ScrollingSafekeeping(Services services) : services_(std::move(services)) {}

  /// There may be something new.
  void changed();

  /// There will be nothing new: what there is goes to the disk now.
  void keepRest();

 private:
  void schedule(std::chrono::milliseconds delay);
  void keep(std::size_t most);
  void kept(const Result<void>& written, const TallChanges& changes);

  Services services_;
  TallState known_;           // what the disk has
  bool isScheduled_ = false;  // or on its way to the disk
  bool hasChanged_ = false;   // since
  bool isFailing_ = false;
};

}  // namespace vantorel
