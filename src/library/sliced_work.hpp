#pragma once

#include <cstddef>
#include <functional>
#include <memory>

#include "base/task_runner.hpp"

namespace vantorel {

/// Calls `slice` with one run [begin, end) of `count` things after the other, and then `then`. Each
/// takes the runner some milliseconds at most, and it does what else waits in between: the next run
/// is posted when the one before is over. Begins at once; on `runner`.
void inSlices(const std::shared_ptr<TaskRunner>& runner, std::size_t count,
              std::move_only_function<void(std::size_t begin, std::size_t end)> slice,
              std::move_only_function<void()> then);

}  // namespace vantorel
