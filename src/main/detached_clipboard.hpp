#pragma once

#include <memory>

#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "platform/clipboard.hpp"

namespace vantorel {

/// The clipboard of a command, which ends long before its picture or text is pasted: a process of
/// its own offers it until somebody else copies something. Lives on the main runner.
class DetachedClipboard final : public Clipboard {
 public:
  /// `queue` is a serial queue that may block.
  DetachedClipboard(std::shared_ptr<TaskRunner> main, std::shared_ptr<TaskRunner> queue)
      : main_(std::move(main)), queue_(std::move(queue)) {}

  /// Answers when the clipboard has it.
  void setImage(std::string png, std::move_only_function<void(Result<void>)> done) override;

  void setText(std::string text, std::move_only_function<void(Result<void>)> done) override;
  void setShapes(std::string json, std::move_only_function<void(Result<void>)> done) override;
  [[nodiscard]] std::string shapes() const override { return {}; }
  void handOver() override {}

 private:
  std::shared_ptr<TaskRunner> main_;
  std::shared_ptr<TaskRunner> queue_;
  Lifetime lifetime_;
};

}  // namespace vantorel
