#include "library/sliced_work.hpp"

#include <algorithm>
#include <utility>

namespace vantorel {
namespace {

/// So many entries take some milliseconds, whatever is done with them.
constexpr std::size_t sliceLength = 250;

struct SlicedWork {
  std::shared_ptr<TaskRunner> runner;
  std::size_t count;
  std::move_only_function<void(std::size_t, std::size_t)> slice;
  std::move_only_function<void()> then;

  static void next(std::shared_ptr<SlicedWork> work, std::size_t begin) {
    const std::size_t end = std::min(work->count, begin + sliceLength);
    work->slice(begin, end);
    if (end == work->count) return work->then();
    TaskRunner& runner = *work->runner;
    runner.post([work = std::move(work), end]() mutable { next(std::move(work), end); });
  }
};

}  // namespace

void inSlices(const std::shared_ptr<TaskRunner>& runner, std::size_t count,
              std::move_only_function<void(std::size_t, std::size_t)> slice,
              std::move_only_function<void()> then) {
  SlicedWork::next(std::make_shared<SlicedWork>(runner, count, std::move(slice), std::move(then)),
                   0);
}

}  // namespace vantorel
