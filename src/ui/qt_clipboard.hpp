#pragma once

#include "platform/clipboard.hpp"

namespace vantorel {

/// The desktop's clipboard through the toolkit. Lives on the main thread.
class QtClipboard : public Clipboard {
 public:
  void setImage(std::string png, std::move_only_function<void(Result<void>)> done) override;
  void setText(std::string text, std::move_only_function<void(Result<void>)> done) override;
  void setShapes(std::string json, std::move_only_function<void(Result<void>)> done) override;
  void whenLost(std::function<void()> lost) override;
  [[nodiscard]] std::string shapes() const override;

  /// Asks a clipboard manager to keep what is ours, and waits a bounded time until it has it. For
  /// the end of the program; without a manager or content of ours it answers at once.
  static void handOver();
};

}  // namespace vantorel
