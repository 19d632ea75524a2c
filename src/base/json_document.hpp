#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/json_value.hpp"
#include "base/result.hpp"

namespace vantorel::json {

enum class Kind { null, boolean, integer, number, string, array, object };

struct DocumentStorage;

/// One value inside a parsed `Document`: a view of three words, valid as long as the document
/// lives, also when it is moved. Typed readers answer nothing when the value is of another kind.
class Cursor {
 public:
  Cursor() = default;

  [[nodiscard]] Kind kind() const;
  [[nodiscard]] std::optional<bool> asBool() const;

  /// An integer; a number with a fraction is cut towards zero, one out of range is clamped.
  [[nodiscard]] std::optional<std::int64_t> asInt() const;

  /// Any number; one that no double holds is clamped to the largest finite one.
  [[nodiscard]] std::optional<double> asDouble() const;

  /// UTF-8, valid as long as the document.
  [[nodiscard]] std::optional<std::string_view> asString() const;

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
  struct Words {
    std::uint64_t first = 0;
    std::uint64_t second = 0;
  };
  Cursor(const DocumentStorage* storage, Words element) : storage_(storage), element_(element) {}

  const DocumentStorage* storage_ = nullptr;
  Words element_;
};

class Cursor::Items {
 public:
  /// Moves to the next item; false at the end.
  bool next(Cursor& item);

 private:
  friend class Cursor;
  const DocumentStorage* storage_ = nullptr;
  Words at_;
  Words end_;
};

class Cursor::Members {
 public:
  /// Moves to the next member; false at the end. `key` lives as long as the document.
  bool next(std::string_view& key, Cursor& value);

 private:
  friend class Cursor;
  const DocumentStorage* storage_ = nullptr;
  Words at_;
  Words end_;
};

/// A whole JSON text, checked to the last byte before any value is used: trailing rubbish, bad
/// escapes and invalid UTF-8 are refused. Numbers that no machine type holds are accepted and kept
/// as text. The document owns copies of all strings; the text may be freed after parsing.
class Document {
 public:
  /// Nesting beyond this many levels is refused.
  static constexpr int maximumDepth = 512;

  /// Fails with `malformed`.
  [[nodiscard]] static Result<Document> parse(std::string text);

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
[[nodiscard]] Result<JSONValue> parseValue(std::string text);

}  // namespace vantorel::json
