#pragma once

#include <asio/io_context.hpp>
#include <asio/strand.hpp>

#include <deque>
#include <memory>
#include <shared_mutex>

#include "base/sequence_checker.hpp"
#include "base/task_runner.hpp"

namespace vantorel {

/// An Asio context and the strands on it, shared by those who post and ended by its one owner. A
/// runner may outlive the end: what is posted to it then is dropped at once.
class AsioGate {
 public:
  AsioGate();
  ~AsioGate();

  AsioGate(const AsioGate&) = delete;
  AsioGate& operator=(const AsioGate&) = delete;

  using Strand = asio::strand<asio::io_context::executor_type>;

  /// Valid until `close`.
  [[nodiscard]] asio::io_context& context() { return *context_; }
  [[nodiscard]] Strand* newStrand();

  /// Destroys the context with all that waits on it, unrun; no thread may be running it. Those
  /// tasks may still hold runners and post.
  void close();

  /// Calls `use` unless the gate is closed.
  void pass(auto use) {
    const std::shared_lock lock(mutex_);
    if (context_) use();
  }

 private:
  std::shared_mutex mutex_;
  std::unique_ptr<asio::io_context> context_;
  std::deque<Strand> strands_;
};

/// A serial queue on a gate's context.
class AsioRunner final : public TaskRunner {
 public:
  enum class Home {
    none,
    thisThread,  ///< runs its tasks alone, so that every call on it counts as current
  };
  explicit AsioRunner(std::shared_ptr<AsioGate> gate, Home home = Home::none);

  void post(Task task) override;
  void postAfter(std::chrono::nanoseconds delay, Task task) override;
  [[nodiscard]] bool isCurrent() const override;

 private:
  std::shared_ptr<AsioGate> gate_;
  AsioGate::Strand* strand_;
  Sequence sequence_;
};

}  // namespace vantorel
