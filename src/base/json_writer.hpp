#pragma once

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
  void key(std::string_view name);

  void null() { literal("null"); }
  void value(bool flag) { literal(flag ? "true" : "false"); }
  void value(std::int64_t integer);
  void value(int integer) { value(std::int64_t{integer}); }
  void value(double number);
  void value(float number);
  void value(std::string_view text);
  void value(const char* text) { value(std::string_view(text)); }
  void value(const JSONValue& value);

  /// Appends JSON text made elsewhere as one value, as it stands.
  void raw(std::string_view json) { literal(json); }

  [[nodiscard]] const std::string& text() const { return text_; }
  [[nodiscard]] std::string take() { return std::move(text_); }

 private:
  void separate();
  void open(char bracket) {
    separate();
    text_ += bracket;
  }
  void literal(std::string_view json) {
    separate();
    text_ += json;
  }
  void quoted(std::string_view text);

  std::string text_;
};

/// The compact text of one value.
[[nodiscard]] std::string toText(const JSONValue& value);

}  // namespace vantorel::json
