#pragma once

#include <optional>
#include <string>

#include "base/geometry.hpp"

namespace vantorel {

/// A width or height as it is being typed. It counts when the field is left.
class SizeEntry {
 public:
  enum class Field { width, height };

  /// The first digit typed replaces `size`'s.
  SizeEntry(Field field, PixelSize size);

  [[nodiscard]] Field field() const { return field_; }
  [[nodiscard]] const std::string& text() const { return text_; }
  [[nodiscard]] bool isReplacing() const { return isReplacing_; }

  void type(char digit);
  /// The next digit typed replaces all there is.
  void selectAll() { isReplacing_ = true; }
  void erase();

  /// The size with what was typed; nothing when that is no size.
  [[nodiscard]] std::optional<PixelSize> size() const;

 private:
  Field field_;
  PixelSize size_;
  std::string text_;
  bool isReplacing_ = true;
};

}  // namespace vantorel
