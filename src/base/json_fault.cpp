#include "base/json_fault.hpp"

#include <algorithm>
#include <vector>

#include "base/json_document.hpp"

namespace vantorel::json {
namespace {

/// Reads on from `at` over one string in quotes; false where it is none.
bool skipString(std::string_view text, std::size_t& at) {
  const std::size_t begin = at++;
  for (; at < text.size(); ++at) {
    if (text[at] == '\\') {
      ++at;
    } else if (text[at] == '"') {
      ++at;
      return true;
    } else if (static_cast<unsigned char>(text[at]) < 0x20) {
      at = begin;
      return false;
    }
  }
  at = begin;
  return false;
}

/// Reads on over a number or a word; false where it is none.
bool skipPlain(std::string_view text, std::size_t& at) {
  const std::size_t end = std::min(text.find_first_of(" \t\r\n,]}:", at), text.size());
  const std::string_view word = text.substr(at, end - at);
  const bool isNumber = !word.empty() && (word[0] == '-' || (word[0] >= '0' && word[0] <= '9')) &&
                        word.find_first_not_of("0123456789+-.eE") == std::string_view::npos;
  if (!isNumber && word != "true" && word != "false" && word != "null") return false;
  at = end;
  return true;
}

/// Where the text ceases to be JSON.
std::size_t faultIn(std::string_view text) {
  enum class Next { value, valueOrEnd, key, keyOrEnd, colon, commaOrEnd, nothing };
  std::vector<char> open;
  Next next = Next::value;
  const auto close = [&] {
    open.pop_back();
    next = open.empty() ? Next::nothing : Next::commaOrEnd;
  };
  for (std::size_t at = 0;;) {
    at = text.find_first_not_of(" \t\r\n", at);
    if (at == std::string_view::npos) return text.size();
    const char c = text[at];
    const bool ends = !open.empty() && c == (open.back() == '{' ? '}' : ']');
    switch (next) {
      case Next::nothing: return at;
      case Next::colon:
        if (c != ':') return at;
        ++at;
        next = Next::value;
        break;
      case Next::commaOrEnd:
        if (ends) {
          close();
        } else if (c == ',') {
          next = open.back() == '{' ? Next::key : Next::value;
        } else {
          return at;
        }
        ++at;
        break;
      case Next::key:
      case Next::keyOrEnd:
        if (ends && next == Next::keyOrEnd) {
          close();
          ++at;
        } else if (c == '"' && skipString(text, at)) {
          next = Next::colon;
        } else {
          return at;
        }
        break;
      case Next::value:
      case Next::valueOrEnd:
        if (ends && next == Next::valueOrEnd) {
          close();
          ++at;
        } else if (c == '{' || c == '[') {
          if (open.size() == Document::maximumDepth) return at;
          open.push_back(c);
          next = c == '{' ? Next::keyOrEnd : Next::valueOrEnd;
          ++at;
        } else if (c == '"' ? skipString(text, at) : skipPlain(text, at)) {
          next = open.empty() ? Next::nothing : Next::commaOrEnd;
        } else {
          return at;
        }
        break;
    }
  }
}

}  // namespace

std::size_t faultLine(std::string_view text) {
  constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
  if (text.starts_with(byteOrderMark)) text.remove_prefix(byteOrderMark.size());
  // A break at the very end begins no line that anybody sees.
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.remove_suffix(1);
  const auto before = text.substr(0, faultIn(text));
  return 1 + static_cast<std::size_t>(std::ranges::count(before, '\n'));
}

std::string_view leadingValue(std::string_view text) {
  text = text.substr(0, faultIn(text));
  return text.substr(0, text.find_last_not_of(" \t\r\n") + 1);
}

}  // namespace vantorel::json
