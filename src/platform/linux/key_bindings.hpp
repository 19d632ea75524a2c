#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/records/hot_key_spec.hpp"

namespace vantorel {

// How other programs of the desktop write down keys and what these start.

/// "A-Print" of openbox; nothing for a chain of keys, or for what is no key.
[[nodiscard]] std::optional<HotKeySpec> keyOfOpenbox(std::string_view text);

/// "<Primary><Shift>Print" of GTK and XFCE.
[[nodiscard]] std::optional<HotKeySpec> keyOfGtk(std::string_view text);

/// The number of Qt; nothing for a key that it has no number for here.
[[nodiscard]] std::optional<int> numberOfQt(const HotKeySpec& spec);

/// The program that a command starts: "scrot" for "/usr/bin/scrot -s".
[[nodiscard]] std::string programOf(std::string_view command);

/// Who has the key by the text of openbox's rc.xml: the program it starts, or "openbox" for what
/// the window manager does itself; empty for nobody.
[[nodiscard]] std::string holderInOpenbox(std::string_view settings, const HotKeySpec& spec);

/// A setting as `gsettings list-recursively` prints it: "schema name ['<Alt>Print']".
struct PrintedSetting {
  std::string name;
  std::vector<std::string> texts;  ///< of its value, which may be one text or a list of them
};
[[nodiscard]] std::vector<PrintedSetting> printedSettings(std::string_view lines);

/// Whether one of the texts is that key.
[[nodiscard]] bool hasKey(const PrintedSetting& setting, const HotKeySpec& spec);

}  // namespace vantorel
