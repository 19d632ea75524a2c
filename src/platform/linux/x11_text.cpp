#include "platform/linux/x11_text.hpp"

#include "base/utf8.hpp"

namespace vantorel {
namespace {

void appendLatin1(std::string& text, std::string_view bytes) {
  for (const char c : bytes) {
    const auto code = static_cast<unsigned char>(c);
    if (code < 0x80) {
      text += c;
    } else {
      text += static_cast<char>(0xC0U | code >> 6U);
      text += static_cast<char>(0x80U | (code & 0x3FU));
    }
  }
}

/// Source: Compound Text Encoding, X Consortium standard 1.1, with the UTF-8 escape of XFree86.
std::string textOfCompound(std::string_view bytes) {
  constexpr std::string_view startUtf8 = "\x1B%G";
  constexpr std::string_view endUtf8 = "\x1B%@";
  std::string text;
  bool isLatin1 = true;
  while (!bytes.empty()) {
    if (bytes.starts_with(startUtf8)) {
      bytes.remove_prefix(startUtf8.size());
      const std::size_t end = std::min(bytes.find(endUtf8), bytes.size());
      text += repairedUtf8(bytes.substr(0, end));
      bytes.remove_prefix(std::min(end + endUtf8.size(), bytes.size()));
    } else if (bytes[0] == '\x1B') {
      // ESC, intermediate bytes 0x20-0x2F, one final byte: another character set from here on.
      std::size_t length = 1;
      while (length < bytes.size() && bytes[length] >= 0x20 && bytes[length] <= 0x2F) ++length;
      const std::string_view escape = bytes.substr(0, std::min(length + 1, bytes.size()));
      isLatin1 = escape == "\x1B(B" || escape == "\x1B-A";
      bytes.remove_prefix(escape.size());
    } else {
      const std::string_view run = bytes.substr(0, bytes.find('\x1B'));
      if (isLatin1) {
        appendLatin1(text, run);
      } else {
        text += "\uFFFD";
      }
      bytes.remove_prefix(run.size());
    }
  }
  return text;
}

}  // namespace

std::string textOfProperty(std::string_view bytes, XTextEncoding encoding) {
  switch (encoding) {
    case XTextEncoding::utf8: return repairedUtf8(bytes);
    case XTextEncoding::compound: return textOfCompound(bytes);
    case XTextEncoding::latin1: break;
  }
  std::string text;
  appendLatin1(text, bytes);
  return text;
}

}  // namespace vantorel
