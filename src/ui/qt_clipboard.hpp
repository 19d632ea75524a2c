#pragma once

#include "platform/clipboard.hpp"

namespace vantorel {

/// The desktop's clipboard through the toolkit, which hands the content to a clipboard manager
/// when the application object goes. Lives on the main thread.
class QtClipboard : public Clipboard {
 public:
  void setImage(std::string png, std::move_only_function<void(Result<void>)> done) override;
  void setText(std::string text, std::move_only_function<void(Result<void>)> done) override;
};

}  // namespace vantorel
