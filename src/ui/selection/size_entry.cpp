#include "ui/selection/size_entry.hpp"

namespace vantorel {
namespace {

/// No display is as large as five digits say, and they fit the field.
constexpr std::size_t maximumDigits = 5;

}  // namespace

SizeEntry::SizeEntry(Field field, PixelSize size)
    : field_(field),
      size_(size),
      text_(std::to_string(field == Field::width ? size.width : size.height)) {}

void SizeEntry::type(char digit) {
  if (isReplacing_) text_.clear();
  isReplacing_ = false;
  if (text_.size() < maximumDigits) text_ += digit;
}

void SizeEntry::erase() {
  if (isReplacing_) {
    text_.clear();
  } else if (!text_.empty()) {
    text_.pop_back();
  }
  isReplacing_ = false;
}

std::optional<PixelSize> SizeEntry::size() const {
  const int typed = text_.empty() ? 0 : std::stoi(text_);
  if (typed <= 0) return std::nullopt;
  return field_ == Field::width ? PixelSize{typed, size_.height} : PixelSize{size_.width, typed};
}

}  // namespace vantorel
