#include "base/json_writer.hpp"

#include <array>
#include <charconv>
#include <cmath>
#include <variant>

#include "base/utf8.hpp"

namespace vantorel::json {
namespace {

template <class Number>
void appendNumber(std::string& out, Number number) {
  if (!std::isfinite(number)) {
    out += "null";
    return;
  }
  if (number == 0) {
    out += '0';
    return;
  }
  std::array<char, 32> digits{};
  const bool great = std::abs(number) >= Number{9e18F};
  const auto result =
      great ? std::to_chars(digits.begin(), digits.end(), number, std::chars_format::scientific)
            : std::to_chars(digits.begin(), digits.end(), number);
  out.append(digits.data(), result.ptr);
}

constexpr auto needsEscape = [] {
  std::array<bool, 256> table{};
  for (int c = 0; c < 0x20; ++c) table[static_cast<std::size_t>(c)] = true;
  table['"'] = true;
  table['\\'] = true;
  return table;
}();

}  // namespace

void Writer::separate() {
  if (text_.empty()) return;
  const char last = text_.back();
  if (last != '{' && last != '[' && last != ':') text_ += ',';
}

void Writer::quoted(std::string_view text) {
  std::string repaired;
  if (!isUtf8(text)) {
    repaired = repairedUtf8(text);
    text = repaired;
  }
  text_ += '"';
  std::size_t copied = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (!needsEscape[c]) continue;
    text_.append(text, copied, i - copied);
    copied = i + 1;
    switch (c) {
      case '"': text_ += "\\\""; break;
      case '\\': text_ += "\\\\"; break;
      case '\n': text_ += "\\n"; break;
      case '\r': text_ += "\\r"; break;
      case '\t': text_ += "\\t"; break;
      default: {
        constexpr std::string_view hex = "0123456789abcdef";
        text_ += "\\u00";
        text_ += hex[c >> 4U];
        text_ += hex[c & 15U];
      }
    }
  }
  text_.append(text, copied);
  text_ += '"';
}

void Writer::key(std::string_view name) {
  separate();
  quoted(name);
  text_ += ':';
}

void Writer::value(std::int64_t integer) {
  separate();
  std::array<char, 24> digits{};
  text_.append(digits.data(), std::to_chars(digits.begin(), digits.end(), integer).ptr);
}

void Writer::value(double number) {
  separate();
  appendNumber(text_, number);
}

void Writer::value(float number) {
  separate();
  appendNumber(text_, number);
}

void Writer::value(std::string_view text) {
  separate();
  quoted(text);
}

void Writer::value(const JSONValue& value) {
  struct Visitor {
    Writer& writer;
    void operator()(std::nullptr_t) { writer.null(); }
    void operator()(bool flag) { writer.value(flag); }
    void operator()(std::int64_t integer) { writer.value(integer); }
    void operator()(double number) {
      const std::size_t from = writer.text_.size();
      writer.value(number);
      // A whole number stays of the kind it was read as.
      if (writer.text_.find_first_of(".en", from) == std::string::npos) writer.text_ += ".0";
    }
    void operator()(const NumberText& number) { writer.raw(number.text); }
    void operator()(const std::string& text) { writer.value(std::string_view(text)); }
    void operator()(const JSONValue::Array& array) {
      writer.beginArray();
      for (const JSONValue& item : array) writer.value(item);
      writer.endArray();
    }
    void operator()(const Object& object) {
      writer.beginObject();
      for (const auto& [key, item] : object) {
        writer.key(key);
        writer.value(item);
      }
      writer.endObject();
    }
  };
  std::visit(Visitor{*this}, value.value);
}

std::string toText(const JSONValue& value) {
  Writer writer;
  writer.value(value);
  return writer.take();
}

}  // namespace vantorel::json
