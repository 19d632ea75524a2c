#include "library/index_outline.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace vantorel {
namespace {

/// What the walk stops at: quotes, brackets of both kinds, and separators.
constexpr auto stops = [] {
  std::array<bool, 256> table{};
  for (const char c : std::string_view("\"{}[],")) table[static_cast<unsigned char>(c)] = true;
  return table;
}();

class Walk {
 public:
  Walk(std::string_view text, std::size_t at) : text_(text), at_(at) {}

  [[nodiscard]] bool atEnd() const { return at_ >= text_.size(); }
  [[nodiscard]] char here() const { return text_[at_]; }
  [[nodiscard]] std::size_t place() const { return at_; }
  void step() { ++at_; }

  void skipSpace() {
    while (!atEnd() && (here() == ' ' || here() == '\n' || here() == '\r' || here() == '\t')) {
      step();
    }
  }

  /// Behind the closing quote of the string that begins here; to the end when it has none.
  void skipString() {
    const std::size_t first = ++at_;
    while (true) {
      const void* const found = std::memchr(text_.data() + at_, '"', text_.size() - at_);
      if (found == nullptr) {
        at_ = text_.size();
        return;
      }
      const auto quote = static_cast<std::size_t>(static_cast<const char*>(found) - text_.data());
      std::size_t backslashes = 0;
      while (quote - backslashes > first && text_[quote - backslashes - 1] == '\\') ++backslashes;
      at_ = quote + 1;
      if (backslashes % 2 == 0) return;
    }
  }

  /// To the separator or the closing bracket behind the value that begins here.
  void skipValue() {
    int depth = 0;
    while (true) {
      while (!atEnd() && !stops[static_cast<unsigned char>(here())]) step();
      if (atEnd()) return;
      switch (here()) {
        case '"': skipString(); continue;
        case '{':
        case '[': ++depth; break;
        case ',':
          if (depth == 0) return;
          break;
        default:
          if (depth == 0) return;
          --depth;
      }
      step();
    }
  }

 private:
  std::string_view text_;
  std::size_t at_;
};

/// The part of the text that is in memory. Grows at its end.
class Window {
 public:
  explicit Window(const TextSource& source) : source_(source) {}

  [[nodiscard]] const std::string& text() const { return text_; }
  [[nodiscard]] std::uint64_t placeOf(std::size_t at) const { return offset_ + at; }
  [[nodiscard]] bool isLast() const { return offset_ + text_.size() == source_.size; }

  /// Forgets what stands before `from`, which becomes 0, and reads on: at least as much as is kept,
  /// so that looking again from the start stays cheap.
  Result<void> grow(std::size_t& from) {
    text_.erase(0, from);
    offset_ += std::exchange(from, 0);
    const std::uint64_t read = offset_ + text_.size();
    const std::uint64_t wanted = std::max<std::uint64_t>(1 << 20, text_.size());
    text_ += VT_TRY(source_.read(read, std::min(wanted, source_.size - read)));
    return {};
  }

 private:
  const TextSource& source_;
  std::string text_;
  std::uint64_t offset_ = 0;
};

enum class Found { yes, no, needsMore };

/// Looks for the list "entries" of the object that begins in `text`; `inside` is behind its
/// bracket.
Found findEntries(std::string_view text, std::size_t& inside) {
  Walk walk(text, 0);
  const auto next = [&](char wanted) {
    walk.skipSpace();
    if (walk.atEnd()) return Found::needsMore;
    if (walk.here() != wanted) return Found::no;
    walk.step();
    return Found::yes;
  };
  if (const Found found = next('{'); found != Found::yes) return found;
  while (true) {
    walk.skipSpace();
    if (walk.atEnd()) return Found::needsMore;
    if (walk.here() != '"') return Found::no;
    const std::size_t key = walk.place() + 1;
    walk.skipString();
    const bool isEntries = text.substr(key, walk.place() - key) == "entries\"";
    if (const Found found = next(':'); found != Found::yes) return found;
    if (isEntries) break;
    walk.skipSpace();
    walk.skipValue();
    if (const Found found = next(','); found != Found::yes) return found;
  }
  const Found found = next('[');
  inside = walk.place();
  return found;
}

std::string_view withoutSpaceBehind(std::string_view text) {
  const std::size_t last = text.find_last_not_of(" \n\r\t");
  return text.substr(0, last == std::string_view::npos ? 0 : last + 1);
}

}  // namespace

Result<std::optional<std::string>> outlineIndex(
    const TextSource& source, const std::function<void(TextRun, std::string_view)>& item) {
  Window window(source);
  std::size_t at = 0;
  Found found = findEntries(window.text(), at);
  while (found == Found::needsMore && !window.isLast()) {
    at = 0;
    VT_TRY(window.grow(at));
    found = findEntries(window.text(), at);
  }
  if (found != Found::yes) return std::nullopt;
  std::string outline = window.text().substr(0, at);

  // An empty list has no items. Any other has one more than commas; where nothing stands between
  // two of them there is an item of no text, which is no JSON value.
  bool isFirst = true;
  while (true) {
    Walk walk(window.text(), at);
    walk.skipSpace();
    if (isFirst && !walk.atEnd() && walk.here() == ']') break;
    const std::size_t from = walk.place();
    walk.skipValue();
    if (walk.atEnd()) {
      if (window.isLast()) return std::nullopt;
      VT_TRY(window.grow(at));
      continue;  // the same item again
    }
    const std::string_view text =
        withoutSpaceBehind(std::string_view(window.text()).substr(from, walk.place() - from));
    item({window.placeOf(from), text.size()}, text);
    isFirst = false;
    at = walk.place();
    if (walk.here() != ',') break;
    ++at;
  }
  outline += std::string_view(window.text()).substr(at);
  while (!window.isLast()) {
    at = window.text().size();
    VT_TRY(window.grow(at));
    outline += window.text();
  }
  return outline;
}

}  // namespace vantorel
