#include "platform/linux/x_settings.hpp"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <optional>

namespace vantorel {
namespace {

/// Numbers, texts and their padding, one after the other. What lies beyond the end is zero, and
/// `isWhole` tells.
class Reader {
 public:
  explicit Reader(std::string_view value)
      : value_(value), isLittle_(!value.empty() && value[0] == 0) {}

  std::uint32_t number(std::size_t size) {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < size && at_ + i < value_.size(); ++i) {
      const std::size_t place = isLittle_ ? i : size - 1 - i;
      number |= std::uint32_t{static_cast<std::uint8_t>(value_[at_ + i])} << (8 * place);
    }
    at_ += size;
    return number;
  }

  std::string_view text(std::size_t size) {
    const std::string_view text = at_ < value_.size() ? value_.substr(at_, size) : "";
    at_ += (size + 3) / 4 * 4;
    return text;
  }

  void skip(std::size_t size) { at_ += size; }
  [[nodiscard]] bool isWhole() const { return at_ <= value_.size(); }

 private:
  std::string_view value_;
  bool isLittle_;
  std::size_t at_ = 0;
};

/// One of the words that make up a theme's name is "dark".
bool isDarkTheme(std::string_view theme) {
  if (theme == "HighContrastInverse") return true;
  std::string word;
  for (const char c : std::string(theme) + " ") {
    if (std::isalnum(static_cast<unsigned char>(c)) != 0) {
      word += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
      continue;
    }
    if (word == "dark") return true;
    word.clear();
  }
  return false;
}

}  // namespace

// The format: "XSETTINGS, cross toolkit configuration settings", version 0.5.
XSettings xSettingsFrom(std::string_view value) {
  enum : unsigned { number = 0, text = 1, color = 2 };
  constexpr std::size_t colorSize = 8;
  Reader reader(value);
  reader.skip(8);  // the byte order and the serial number
  const std::uint32_t count = reader.number(4);
  XSettings settings;
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::uint32_t type = reader.number(1);
    reader.skip(1);
    const std::uint32_t length = reader.number(2);
    const std::string name(reader.text(length));
    reader.skip(4);  // the serial number of its last change
    switch (type) {
      case number: settings.numbers[name] = reader.number(4); break;
      case text: settings.texts[name] = reader.text(reader.number(4)); break;
      case color: reader.skip(colorSize); break;
      default: return {};
    }
    if (!reader.isWhole()) return {};
  }
  return settings;
}

double scalingFactor(const XSettings& settings) {
  if (settings.numbers.contains("Gdk/UnscaledDPI")) return 1;
  const auto factor = settings.numbers.find("Gdk/WindowScalingFactor");
  const bool isUsable =
      factor != settings.numbers.end() && factor->second >= 1 && factor->second <= 8;
  return isUsable ? factor->second : 1;
}

DesktopLook lookOf(const XSettings& settings) {
  DesktopLook look;
  const auto font = settings.texts.find("Gtk/FontName");
  if (font != settings.texts.end()) look.font = font->second;
  const auto theme = settings.texts.find("Net/ThemeName");
  if (theme != settings.texts.end()) look.isDark = isDarkTheme(theme->second);
  const auto wish = settings.numbers.find("Gtk/ApplicationPreferDarkTheme");
  if (wish != settings.numbers.end() && wish->second != 0) look.isDark = true;
  return look;
}

}  // namespace vantorel
