#pragma once

#include <functional>
#include <string>

#include "base/result.hpp"

namespace vantorel {

/// The desktop's clipboard. The content stays while the program runs, and is handed to a clipboard
/// manager at exit when there is one. Lives on the main runner.
class Clipboard {
 public:
  virtual ~Clipboard() = default;

  /// Puts a PNG picture on it.
  virtual void setImage(std::string png, std::move_only_function<void(Result<void>)> done) = 0;

  virtual void setText(std::string text, std::move_only_function<void(Result<void>)> done) = 0;
};

}  // namespace vantorel
