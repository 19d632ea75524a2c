#include "platform/linux/key_bindings.hpp"

#include <algorithm>
#include <array>
#include <utility>

#include "app/records/hot_key_text.hpp"

namespace vantorel {
namespace {

constexpr std::string_view openbox = "openbox";

/// X's own names, "Page_Up", as they are typed here.
std::optional<HotKeySpec> keyNamed(std::string name, std::uint32_t modifiers) {
  std::ranges::replace(name, '_', ' ');
  auto key = hotKeyFromText(name);
  if (key) key->carbonModifiers |= modifiers;
  return key;
}

/// What stands between `open` and `close`; nothing where one of them is missing.
std::optional<std::string_view> between(std::string_view text, std::string_view open,
                                        std::string_view close) {
  const std::size_t from = text.find(open);
  if (from == std::string_view::npos) return std::nullopt;
  text.remove_prefix(from + open.size());
  const std::size_t to = text.find(close);
  if (to == std::string_view::npos) return std::nullopt;
  return text.substr(0, to);
}

std::string withoutComments(std::string_view text) {
  std::string out;
  for (;;) {
    const std::size_t from = text.find("<!--");
    out += text.substr(0, from);
    const std::size_t to = from == std::string_view::npos ? from : text.find("-->", from);
    if (to == std::string_view::npos) return out;
    text.remove_prefix(to + 3);
  }
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view blank = " \t\r\n";
  const std::size_t from = text.find_first_not_of(blank);
  if (from == std::string_view::npos) return {};
  return text.substr(from, text.find_last_not_of(blank) - from + 1);
}

/// The texts in a value as GLib prints it: in single quotes, or in double ones where it holds such.
std::vector<std::string> quotedTexts(std::string_view value) {
  std::vector<std::string> texts;
  for (std::size_t at = value.find_first_of("'\""); at < value.size();
       at = value.find_first_of("'\"", at + 1)) {
    const char quote = value[at];
    std::string& text = texts.emplace_back();
    for (++at; at < value.size() && value[at] != quote; ++at) {
      if (value[at] == '\\' && at + 1 < value.size()) ++at;
      text += value[at];
    }
  }
  return texts;
}

}  // namespace

std::optional<HotKeySpec> keyOfOpenbox(std::string_view text) {
  constexpr auto modifiers = std::to_array<std::pair<char, std::uint32_t>>({
      {'C', HotKeySpec::control},
      {'A', HotKeySpec::option},
      {'S', HotKeySpec::shift},
      {'W', HotKeySpec::command},
  });
  text = trimmed(text);
  if (text.find(' ') != std::string_view::npos) return std::nullopt;
  std::uint32_t mask = 0;
  while (text.size() > 2 && text[1] == '-') {
    const auto* const found =
        std::ranges::find(modifiers, text[0], &std::pair<char, std::uint32_t>::first);
    if (found == modifiers.end()) return std::nullopt;
    mask |= found->second;
    text.remove_prefix(2);
  }
  return keyNamed(std::string(text), mask);
}

std::optional<HotKeySpec> keyOfGtk(std::string_view text) {
  constexpr auto modifiers = std::to_array<std::pair<std::string_view, std::uint32_t>>({
      {"Primary", HotKeySpec::control},
      {"Control", HotKeySpec::control},
      {"Ctrl", HotKeySpec::control},
      {"Alt", HotKeySpec::option},
      {"Mod1", HotKeySpec::option},
      {"Shift", HotKeySpec::shift},
      {"Super", HotKeySpec::command},
      {"Mod4", HotKeySpec::command},
  });
  std::uint32_t mask = 0;
  while (text.starts_with('<')) {
    const std::size_t end = text.find('>');
    if (end == std::string_view::npos) return std::nullopt;
    const auto* const found = std::ranges::find(modifiers, text.substr(1, end - 1),
                                                &std::pair<std::string_view, std::uint32_t>::first);
    if (found == modifiers.end()) return std::nullopt;
    mask |= found->second;
    text.remove_prefix(end + 1);
  }
  return keyNamed(std::string(text), mask);
}

std::optional<int> numberOfQt(const HotKeySpec& spec) {
  // X keysyms and Qt's numbers of keys that write nothing.
  constexpr auto keys = std::to_array<std::pair<std::uint32_t, int>>({
      {0xFF1B, 0x01000000},  // Esc
      {0xFF09, 0x01000001},  // Tab
      {0xFF08, 0x01000003},  // Backspace
      {0xFF0D, 0x01000004},  // Return
      {0xFF63, 0x01000006},  // Insert
      {0xFFFF, 0x01000007},  // Delete
      {0xFF13, 0x01000008},  // Pause
      {0xFF61, 0x01000009},  // Print
      {0xFF50, 0x01000010},  // Home
      {0xFF57, 0x01000011},  // End
      {0xFF51, 0x01000012},  // Left
      {0xFF52, 0x01000013},  // Up
      {0xFF53, 0x01000014},  // Right
      {0xFF54, 0x01000015},  // Down
      {0xFF55, 0x01000016},  // Page Up
      {0xFF56, 0x01000017},  // Page Down
      {0xFF14, 0x01000026},  // Scroll Lock
      {0xFF67, 0x01000055},  // Menu
  });
  constexpr std::uint32_t firstFunctionKey = 0xFFBE;
  constexpr std::uint32_t lastFunctionKey = firstFunctionKey + 34;
  int number = 0;
  const auto* const named =
      std::ranges::find(keys, spec.keyCode, &std::pair<std::uint32_t, int>::first);
  if (named != keys.end()) {
    number = named->second;
  } else if (spec.keyCode >= firstFunctionKey && spec.keyCode <= lastFunctionKey) {
    number = 0x01000030 + static_cast<int>(spec.keyCode - firstFunctionKey);
  } else if (spec.keyCode >= 'a' && spec.keyCode <= 'z') {
    number = static_cast<int>(spec.keyCode) - 'a' + 'A';
  } else if (spec.keyCode >= 0x20 && spec.keyCode < 0x7F) {
    number = static_cast<int>(spec.keyCode);
  } else {
    return std::nullopt;
  }
  if ((spec.carbonModifiers & HotKeySpec::shift) != 0) number |= 0x02000000;
  if ((spec.carbonModifiers & HotKeySpec::control) != 0) number |= 0x04000000;
  if ((spec.carbonModifiers & HotKeySpec::option) != 0) number |= 0x08000000;
  if ((spec.carbonModifiers & HotKeySpec::command) != 0) number |= 0x10000000;
  return number;
}

std::string programOf(std::string_view command) {
  command = trimmed(command);
  command = command.substr(0, command.find_first_of(" \t\n"));
  return std::string(command.substr(command.rfind('/') + 1));
}

std::string holderInOpenbox(std::string_view settings, const HotKeySpec& spec) {
  const std::string text = withoutComments(settings);
  std::string_view rest = text;
  constexpr std::string_view binding = "<keybind ";
  for (std::size_t at = rest.find(binding); at != std::string_view::npos; at = rest.find(binding)) {
    rest.remove_prefix(at + binding.size());
    const std::string_view head = rest.substr(0, rest.find('>'));
    const auto keys = between(head, "key=\"", "\"");
    if (!keys || keyOfOpenbox(*keys) != spec) continue;
    const std::string_view body = rest.substr(0, rest.find("</keybind>"));
    auto command = between(body, "<command>", "</command>");
    if (!command) command = between(body, "<execute>", "</execute>");
    const std::string program = programOf(command.value_or(openbox));
    return program.empty() ? std::string(openbox) : program;
  }
  return {};
}

std::vector<PrintedSetting> printedSettings(std::string_view lines) {
  std::vector<PrintedSetting> settings;
  while (!lines.empty()) {
    std::string_view line = lines.substr(0, lines.find('\n'));
    lines.remove_prefix(std::min(line.size() + 1, lines.size()));
    const std::size_t afterSchema = line.find(' ');
    const std::size_t afterName =
        afterSchema == std::string_view::npos ? afterSchema : line.find(' ', afterSchema + 1);
    if (afterName == std::string_view::npos) continue;
    settings.push_back({std::string(line.substr(afterSchema + 1, afterName - afterSchema - 1)),
                        quotedTexts(line.substr(afterName + 1))});
  }
  return settings;
}

bool hasKey(const PrintedSetting& setting, const HotKeySpec& spec) {
  return std::ranges::any_of(setting.texts,
                             [&](const std::string& text) { return keyOfGtk(text) == spec; });
}

}  // namespace vantorel
