#pragma once

#include <memory>
#include <type_traits>
#include <utility>

#include "base/task_runner.hpp"

namespace vantorel {

/// Runs `job` on `away`, and then `reply` on `home` with what it returned, which is the reply's to
/// move from; without an argument when it returned nothing. Any thread. When a runner ends first,
/// what is left of the trip never runs. What `job` holds is given back on `away`, what `reply`
/// holds on `home`. A reply that must not outlive its class is guarded by the class's `Lifetime`.
template <class Job, class Reply>
void roundTrip(TaskRunner& away, std::shared_ptr<TaskRunner> home, Job job, Reply reply) {
  // The reply stays where it is: what is left of a moved one may still hold something.
  away.post([home = std::move(home), job = std::move(job),
             reply = std::make_unique<Reply>(std::move(reply))]() mutable {
    if constexpr (std::is_void_v<std::invoke_result_t<Job&>>) {
      job();
      home->post([reply = std::move(reply)] { (*reply)(); });
    } else {
      home->post(
          [result = job(), reply = std::move(reply)]() mutable { (*reply)(std::move(result)); });
    }
  });
}

}  // namespace vantorel
