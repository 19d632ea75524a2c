#pragma once

#include <string_view>

namespace vantorel {

/// The only argument of a process that `DetachedClipboard` starts.
inline constexpr std::string_view clipboardHolderArgument = "--hold-clipboard";

/// Offers the PNG picture on standard input through the clipboard, writes a byte to standard output
/// once it does, and ends when another program copies something or the display server goes.
[[noreturn]] void holdClipboard();

}  // namespace vantorel
