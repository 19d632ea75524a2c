#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/json_value.hpp"
#include "base/result.hpp"

namespace vantorel::json {

enum class Kind { null, boolean, integer, number, string, array, object };

/// A parsed text as the parser lays it out: one word for each bracket, key and value, numbers with
/// a second one. A word has its kind in the highest byte (the kind's first character in JSON, or l,
/// u and d for the three machine types of numbers) and says below where a string lies in `strings`,
/// behind four bytes of length, or at which word the closing bracket is passed.
///
/// The parser's documentation describes this layout. Read here and not through the parser's own
/// element type, because that costs 17 % more CPU for decoding shapes and 6 % for loading an index
/// of 100,000 entries, and because its header, which 208 of the 295 translation units would then
/// include, takes 1.1 s to compile (simdjson 3.0.1, both in one run).
struct Tape {
  const std::uint64_t* words = nullptr;
  const char* strings = nullptr;

  /// Not empty when numbers that no machine type holds were carried through the parser as strings
  /// that begin with this mark. No string of the text begins with it.
  std::string numberMark;
};

struct DocumentStorage;

/// One value inside a parsed `Document`: a view of two words, valid as long as the document lives,
/// also when it is moved. Typed readers answer nothing when the value is of another kind.
class Cursor {
 public:
  Cursor() = default;

  [[nodiscard]] [[gnu::always_inline]] Kind kind() const {
    switch (mark()) {
      case '[': return Kind::array;
      case '{': return Kind::object;
      case 'l': return Kind::integer;
      case 'u':
      case 'd': return Kind::number;
      case '"': return isCarriedNumber() ? Kind::number : Kind::string;
      case 't':
      case 'f': return Kind::boolean;
      default: return Kind::null;
    }
  }

  [[nodiscard]] std::optional<bool> asBool() const {
    if (mark() != 't' && mark() != 'f') return std::nullopt;
    return mark() == 't';
  }

  /// An integer; a number with a fraction is cut towards zero, one out of range is clamped.
  [[nodiscard]] std::optional<std::int64_t> asInt() const {
    if (mark() == 'l') return std::bit_cast<std::int64_t>(tape_->words[at_ + 1]);
    return clampedInt();
  }

  /// Any number; one that no double holds is clamped to the largest finite one.
  [[nodiscard]] std::optional<double> asDouble() const {
    const std::uint64_t second = tape_->words[at_ + 1];  // there is always one, if not the value's
    switch (mark()) {
      case 'd': return std::bit_cast<double>(second);
      case 'l': return static_cast<double>(std::bit_cast<std::int64_t>(second));
      case 'u': return static_cast<double>(second);
      default: return clampedDouble();
    }
  }

  /// UTF-8, valid as long as the document.
  [[nodiscard]] std::optional<std::string_view> asString() const {
    if (mark() != '"' || isCarriedNumber()) return std::nullopt;
    return characters();
  }

  /// A copy that stands on its own.
  [[nodiscard]] JSONValue toValue() const;

  class Items;
  class Members;

  /// The items of an array; none for any other kind.
  [[nodiscard]] Items items() const;

  /// The members of an object in file order, repeated keys included; none for any other kind.
  [[nodiscard]] Members members() const;

 private:
  friend class Document;
  friend class DocumentParser;
  Cursor(const Tape* tape, std::size_t at) : tape_(tape), at_(at) {}

  [[nodiscard]] char mark() const { return static_cast<char>(tape_->words[at_] >> 56U); }
  [[nodiscard]] std::uint64_t payload() const { return tape_->words[at_] & 0x00FF'FFFF'FFFF'FFFFU; }
  [[nodiscard]] [[gnu::always_inline]] std::string_view characters() const {
    const char* const start = tape_->strings + payload();
    std::uint32_t length = 0;
    std::memcpy(&length, start, sizeof(length));
    return {start + sizeof(length), length};
  }

  /// Behind the last word of this value.
  [[nodiscard]] [[gnu::always_inline]] std::size_t end() const {
    switch (mark()) {
      case '[':
      case '{': return static_cast<std::uint32_t>(payload());
      case 'l':
      case 'u':
      case 'd': return at_ + 2;
      default: return at_ + 1;
    }
  }

  /// Whether this string is really a number that no machine type holds.
  [[nodiscard]] bool isCarriedNumber() const {
    return !tape_->numberMark.empty() && characters().starts_with(tape_->numberMark);
  }
  [[nodiscard]] std::optional<std::int64_t> clampedInt() const;
  [[nodiscard]] std::optional<double> clampedDouble() const;

  const Tape* tape_ = nullptr;
  std::size_t at_ = 0;
};

class Cursor::Items {
 public:
  /// Moves to the next item; false at the end.
  bool next(Cursor& item) {
    if (at_ == end_) return false;
    item = Cursor(tape_, at_);
    at_ = item.end();
    return true;
  }

  /// How many there are, counted up to 16,777,215.
  [[nodiscard]] std::size_t count() const { return count_; }

  /// A measure of how much text there is in the items not yet passed: no more than its bytes and
  /// twice eight for each value.
  [[nodiscard]] std::size_t weight() const { return (end_ - at_) * sizeof(std::uint64_t); }

 private:
  friend class Cursor;
  const Tape* tape_ = nullptr;
  std::size_t at_ = 0;
  std::size_t end_ = 0;
  std::size_t count_ = 0;
};

class Cursor::Members {
 public:
  /// Moves to the next member; false at the end. `key` lives as long as the document.
  bool next(std::string_view& key, Cursor& value) {
    if (!peek(key, value)) return false;
    pass(value);
    return true;
  }

  /// Names the next member without moving; false at the end.
  [[nodiscard]] [[gnu::always_inline]] bool peek(std::string_view& key, Cursor& value) const {
    if (at_ == end_) return false;
    key = Cursor(tape_, at_).characters();
    value = Cursor(tape_, at_ + 1);
    return true;
  }

  /// Moves behind the member whose value was peeked at.
  void pass(Cursor value) { at_ = value.end(); }

 private:
  friend class Cursor;
  const Tape* tape_ = nullptr;
  std::size_t at_ = 0;
  std::size_t end_ = 0;
};

inline Cursor::Items Cursor::items() const {
  Items items;
  if (mark() != '[') return items;
  items.tape_ = tape_;
  items.at_ = at_ + 1;
  items.end_ = end() - 1;
  items.count_ = payload() >> 32U;
  return items;
}

inline Cursor::Members Cursor::members() const {
  Members members;
  if (mark() != '{') return members;
  members.tape_ = tape_;
  members.at_ = at_ + 1;
  members.end_ = end() - 1;
  return members;
}

/// A whole JSON text, checked to the last byte before any value is used: trailing rubbish, bad
/// escapes and invalid UTF-8 are refused. Numbers that no machine type holds are accepted and kept
/// as text. The document owns copies of all strings; the text may be freed after parsing.
class Document {
 public:
  /// Nesting beyond this many levels is refused.
  static constexpr int maximumDepth = 512;

  /// Fails with `malformed`.
  [[nodiscard]] static Result<Document> parse(std::string_view text);

  Document(Document&&) noexcept;
  Document& operator=(Document&&) noexcept;
  ~Document();

  [[nodiscard]] Cursor root() const;

 private:
  explicit Document(std::unique_ptr<DocumentStorage> storage);

  std::unique_ptr<DocumentStorage> storage_;
};

/// Parses many small texts one after the other in the same memory.
class DocumentParser {
 public:
  DocumentParser();
  ~DocumentParser();
  DocumentParser(const DocumentParser&) = delete;
  DocumentParser& operator=(const DocumentParser&) = delete;

  /// As `Document::parse`. The cursor and all that comes from it are valid until the next call.
  [[nodiscard]] Result<Cursor> parse(std::string_view text);

 private:
  struct Memory;
  std::unique_ptr<Memory> memory_;
};

/// Parses a text into a value that stands on its own. Fails with `malformed`.
[[nodiscard]] Result<JSONValue> parseValue(std::string_view text);

}  // namespace vantorel::json
