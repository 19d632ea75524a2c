#include "platform/testing/fake_runners.hpp"

#include "base/sequence_checker.hpp"

namespace vantorel {

class FakeRunners::Runner final : public TaskRunner {
 public:
  Runner(FakeRunners& owner, std::string name) : owner_(owner), name_(std::move(name)) {}

  [[nodiscard]] bool isHanging() const { return owner_.hanging_.contains(name_); }

  void post(Task task) override { postAfter({}, std::move(task)); }

  void postAfter(std::chrono::nanoseconds delay, Task task) override {
    owner_.tasks_.emplace(std::pair(owner_.time_ + delay, owner_.sequence_++),
                          Pending{this, std::move(task)});
  }

  [[nodiscard]] bool isCurrent() const override { return currentSequence() == sequence(); }

  /// The test itself runs on the main runner.
  [[nodiscard]] Sequence sequence() const { return name_ == "main" ? sequenceOfThread() : this; }

 private:
  FakeRunners& owner_;
  std::string name_;
};

// Tasks may own objects that post again when they go.
FakeRunners::~FakeRunners() {
  while (!held_.empty()) std::exchange(held_, {});
  while (!tasks_.empty()) tasks_.extract(tasks_.begin());
}

std::shared_ptr<TaskRunner> FakeRunners::runner(const std::string& name) {
  std::shared_ptr<Runner>& found = runners_[name];
  if (!found) found = std::make_shared<Runner>(*this, name);
  return found;
}

void FakeRunners::resume(const std::string& name) {
  hanging_.erase(name);
  for (Pending& pending : std::exchange(held_, {})) {
    pending.runner->post(std::move(pending.task));
  }
}

void FakeRunners::run() { advance({}); }

void FakeRunners::advance(std::chrono::nanoseconds time) {
  const std::chrono::nanoseconds until = time_ + time;
  while (!tasks_.empty() && tasks_.begin()->first.first <= until) {
    auto next = tasks_.extract(tasks_.begin());
    time_ = std::max(time_, next.key().first);
    if (next.mapped().runner->isHanging()) {
      held_.push_back(std::move(next.mapped()));
      continue;
    }
    const SequenceScope scope(next.mapped().runner->sequence());
    std::exchange(next.mapped().task, nullptr)();
  }
  time_ = until;
}

double FakeRunners::now() const {
  return start + offset_ + std::chrono::duration<double>(time_).count();
}

}  // namespace vantorel
