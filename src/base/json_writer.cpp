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
  std::array<char, 32> digits;  // NOLINT(cppcoreguidelines-pro-type-member-init): written below
  // A short whole number has no shorter form with an exponent.
  if (std::abs(number) < Number{100'000} &&
      static_cast<Number>(static_cast<int>(number)) == number) {
    const auto whole = std::to_chars(digits.begin(), digits.end(), static_cast<int>(number));
    out.append(digits.data(), static_cast<std::size_t>(whole.ptr - digits.data()));
    return;
  }
  const bool great = std::abs(number) >= Number{9e18F};
  const auto result =
      great ? std::to_chars(digits.begin(), digits.end(), number, std::chars_format::scientific)
            : std::to_chars(digits.begin(), digits.end(), number);
  out.append(digits.data(), static_cast<std::size_t>(result.ptr - digits.data()));
}

constexpr bool needsEscape(unsigned char c) { return c < 0x20 || c == '"' || c == '\\'; }

/// ASCII that stands in a JSON string as it is.
bool isPlain(std::string_view text) {
  unsigned special = 0;
  for (const char character : text) {
    const auto c = static_cast<unsigned char>(character);
    special |= static_cast<unsigned>(needsEscape(c)) | (c & 0x80U);
  }
  return special == 0;
}

}  // namespace

void Writer::quoted(std::string_view text) {
  text_ += '"';
  if (isPlain(text)) {
    text_ += text;
  } else {
    escaped(text);
  }
  text_ += '"';
}

void Writer::escaped(std::string_view text) {
  std::string repaired;
  if (!isUtf8(text)) {
    repaired = repairedUtf8(text);
    text = repaired;
  }
  std::size_t copied = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (!needsEscape(c)) continue;
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
}

void Writer::value(std::int64_t integer) {
  separate();
  std::array<char, 24> digits;  // NOLINT(cppcoreguidelines-pro-type-member-init): written below
  const auto result = std::to_chars(digits.begin(), digits.end(), integer);
  text_.append(digits.data(), static_cast<std::size_t>(result.ptr - digits.data()));
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
        writer.member(key, item);
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
