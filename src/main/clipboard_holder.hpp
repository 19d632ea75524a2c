#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vantorel {

/// The only argument of a process that `DetachedClipboard` starts.
inline constexpr std::string_view clipboardHolderArgument = "--hold-clipboard";

/// What such a process offers: a text, or a PNG picture.
struct HeldContent {
  bool isText = false;
  std::string bytes;
};

/// As it is handed over: a line that says what it is and how long it is, and the bytes.
[[nodiscard]] std::string encoded(const HeldContent& content);

/// What was handed over; nothing when it was cut short.
[[nodiscard]] std::optional<HeldContent> decoded(std::string message);

/// Offers what is handed over on standard input through the clipboard, writes a byte to standard
/// output once it does, and ends when another program copies something or the display server goes.
[[noreturn]] void holdClipboard();

}  // namespace vantorel
