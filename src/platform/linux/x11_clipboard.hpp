#pragma once

#include <chrono>
#include <memory>

#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "platform/clipboard.hpp"
#include "platform/linux/x11_clipboard_owner.hpp"

namespace vantorel {

/// The clipboard of an X11 desktop, on a connection and a thread of its own: a server that does not
/// answer holds nobody else. Connects when something is first copied.
class X11Clipboard final : public Clipboard {
 public:
  /// `bound` is how long the server may take.
  X11Clipboard(const std::string& display, std::shared_ptr<TaskRunner> main,
               std::chrono::nanoseconds bound = std::chrono::seconds(2));

  void setImage(std::string png, std::move_only_function<void(Result<void>)> done) override;
  void setText(std::string text, std::move_only_function<void(Result<void>)> done) override;
  void setShapes(std::string json, std::move_only_function<void(Result<void>)> done) override;

  /// Calls `lost` when another program puts something on it. One listener.
  void whenLost(std::function<void()> lost) { lost_ = std::move(lost); }
  [[nodiscard]] std::string shapes() const override { return shapes_; }
  void read(std::vector<std::string> types, Read done) override;
  void handOver() override;

 private:
  void put(ClipboardContent content, std::string shapes, const char* refusal,
           std::move_only_function<void(Result<void>)> done);

  std::shared_ptr<TaskRunner> main_;
  std::chrono::nanoseconds bound_;
  std::string shapes_;
  std::function<void()> lost_;
  bool hasCopied_ = false;
  Lifetime lifetime_;
  std::unique_ptr<X11Worker> worker_;
};

}  // namespace vantorel
