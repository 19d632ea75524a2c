#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/json_value.hpp"

namespace vantorel::json {

/// Builds a compact JSON text. Separators are its own affair: calls only name keys and values.
///
/// Numbers take the fewest digits that read back the same. From 9e18 up they carry an exponent, so
/// that no reader mistakes them for an integer it cannot hold; minus zero becomes zero, and what
/// is not finite becomes null. Bytes that are not UTF-8 become U+FFFD.
class Writer {
 public:
  void beginObject() { open('{'); }
  void endObject() { text_ += '}'; }
  void beginArray() { open('['); }
  void endArray() { text_ += ']'; }

  /// `name` is escaped like any string.
  void key(std::string_view name) {
    separate();
    quoted(name);
    text_ += ':';
  }

  /// A key of printable ASCII without quotes and backslashes.
  void plainKey(std::string_view name) {
    separate();
    const std::size_t from = text_.size();
    const std::size_t size = from + name.size() + 3;
    text_.resize_and_overwrite(size, [&](char* text, std::size_t /*room*/) {
      text[from] = '"';
      name.copy(text + from + 1, name.size());
      text[size - 2] = '"';
      text[size - 1] = ':';
      return size;
    });
  }

  void null() { literal("null"); }
  void value(bool flag) { literal(flag ? "true" : "false"); }
  void value(std::int64_t integer);
  void value(int integer) { value(std::int64_t{integer}); }
  void value(double number);
  void value(float number);
  void value(std::string_view text);
  void value(const char* text) { value(std::string_view(text)); }
  void value(const JSONValue& value);

  /// A key and its value.
  void member(std::string_view name, const auto& content) {
    key(name);
    value(content);
  }

  /// Appends JSON text made elsewhere as one value, as it stands.
  void raw(std::string_view json) { literal(json); }

  /// Makes room for about so many more bytes.
  void expect(std::size_t bytes) {
    const std::size_t wanted = text_.size() + bytes;
    if (wanted > text_.capacity()) text_.reserve(std::max(wanted, 2 * text_.capacity()));
  }

  [[nodiscard]] const std::string& text() const { return text_; }
  [[nodiscard]] std::string take() { return std::move(text_); }

 private:
  void separate() {
    if (text_.empty()) return;
    const char last = text_.back();
    if (last != '{' && last != '[' && last != ':') text_ += ',';
  }
  void open(char bracket) {
    separate();
    text_ += bracket;
  }
  void literal(std::string_view json) {
    separate();
    text_ += json;
  }
  void quoted(std::string_view text);
  void escaped(std::string_view text);

  std::string text_;
};

/// The compact text of one value.
[[nodiscard]] std::string toText(const JSONValue& value);

}  // namespace vantorel::json
