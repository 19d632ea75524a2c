#include "platform/linux/desktop_key_holders.hpp"

#include <fmt/format.h>
#include <sdbus-c++/sdbus-c++.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/log.hpp"
#include "base/round_trip.hpp"
#include "platform/linux/key_bindings.hpp"
#include "platform/linux/program_output.hpp"
#include "platform/linux/x11_call.hpp"

namespace vantorel {
namespace {

constexpr std::chrono::seconds callBound{2};
constexpr std::size_t longestSettings = std::size_t{4} << 20U;  // bytes

bool hasOwner(sdbus::IConnection& bus, const std::string& name) {
  bool owned = false;
  sdbus::createProxy(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus")
      ->callMethod("NameHasOwner")
      .onInterface("org.freedesktop.DBus")
      .withTimeout(callBound)
      .withArguments(name)
      .storeResultsTo(owned);
  return owned;
}

std::string holderInKDE(sdbus::IConnection& bus, const HotKeySpec& spec) {
  constexpr const char* service = "org.kde.kglobalaccel";
  const auto number = numberOfQt(spec);
  if (!number || !hasOwner(bus, service)) return {};
  using Keys = std::vector<std::int32_t>;
  using Shortcut = sdbus::Struct<std::string, std::string, std::string, std::string, std::string,
                                 std::string, Keys, Keys>;
  std::vector<Shortcut> shortcuts;
  sdbus::createProxy(bus, service, "/kglobalaccel")
      ->callMethod("getGlobalShortcutsByKey")
      .onInterface("org.kde.KGlobalAccel")
      .withTimeout(callBound)
      .withArguments(std::int32_t{*number})
      .storeResultsTo(shortcuts);
  if (shortcuts.empty()) return {};
  // Of the component, what people know it by, else its own name.
  const std::string& shown = std::get<3>(shortcuts.front());
  return shown.empty() ? std::get<2>(shortcuts.front()) : shown;
}

std::string holderInXfce(sdbus::IConnection& bus, const HotKeySpec& spec) {
  constexpr const char* service = "org.xfce.Xfconf";
  // The store of settings comes up for any program of theirs; these keys are the desktop's.
  if (!hasOwner(bus, "org.xfce.SettingsDaemon") || !hasOwner(bus, service)) return {};
  std::map<std::string, sdbus::Variant> properties;
  sdbus::createProxy(bus, service, "/org/xfce/Xfconf")
      ->callMethod("GetAllProperties")
      .onInterface("org.xfce.Xfconf")
      .withTimeout(callBound)
      .withArguments(std::string("xfce4-keyboard-shortcuts"), std::string("/"))
      .storeResultsTo(properties);
  const auto find = [&](std::string_view folder) -> std::string {
    for (const auto& [path, value] : properties) {
      if (!path.starts_with(folder) || !value.containsValueOfType<std::string>()) continue;
      if (keyOfGtk(std::string_view(path).substr(folder.size())) != spec) continue;
      return value.get<std::string>();
    }
    return {};
  };
  // What the user set stands before what the desktop came with.
  for (const char* const commands : {"/commands/custom/", "/commands/default/"}) {
    if (const std::string command = find(commands); !command.empty()) return programOf(command);
  }
  const bool isOfManager = !find("/xfwm4/custom/").empty() || !find("/xfwm4/default/").empty();
  return isOfManager ? "Xfwm4" : "";
}

/// A key that the user gave to a command: "binding", "command" and "name".
std::string programOfBinding(const std::vector<PrintedSetting>& binding, const HotKeySpec& spec) {
  const auto find = [&](std::string_view name) {
    const auto found = std::ranges::find(binding, name, &PrintedSetting::name);
    return found == binding.end() ? PrintedSetting() : *found;
  };
  if (!hasKey(find("binding"), spec)) return {};
  const auto textOf = [](const PrintedSetting& setting) {
    return setting.texts.empty() ? std::string() : setting.texts.front();
  };
  const std::string program = programOf(textOf(find("command")));
  return program.empty() ? textOf(find("name")) : program;
}

/// Of a schema that is not installed there is nothing.
std::vector<PrintedSetting> settingsOfGNOME(const std::string& schema) {
  const auto printed = programOutput({"gsettings", "list-recursively", schema}, callBound);
  return printedSettings(printed.value_or(""));
}

std::string holderInGNOME(sdbus::IConnection& bus, const HotKeySpec& spec) {
  constexpr const char* mediaKeys = "org.gnome.settings-daemon.plugins.media-keys";
  const auto has = [&](const PrintedSetting& setting) { return hasKey(setting, spec); };
  if (hasOwner(bus, "org.gnome.SettingsDaemon.MediaKeys")) {
    const std::vector<PrintedSetting> keys = settingsOfGNOME(mediaKeys);
    // What the user set stands before what the desktop came with.
    const auto custom = std::ranges::find(keys, "custom-keybindings", &PrintedSetting::name);
    if (custom != keys.end()) {
      for (const std::string& path : custom->texts) {
        const auto binding =
            settingsOfGNOME(fmt::format("{}.custom-keybinding:{}", mediaKeys, path));
        if (std::string program = programOfBinding(binding, spec); !program.empty()) return program;
      }
    }
    if (std::ranges::any_of(keys, has)) return "GNOME";
  }
  if (!hasOwner(bus, "org.gnome.Shell")) return {};
  for (const char* const schema : {"org.gnome.shell.keybindings", "org.gnome.mutter.keybindings",
                                   "org.gnome.desktop.wm.keybindings"}) {
    if (std::ranges::any_of(settingsOfGNOME(schema), has)) return "GNOME Shell";
  }
  return {};
}

std::string holderOnBus(const HotKeySpec& spec) {
  try {
    const auto bus = sdbus::createSessionBusConnection();
    for (const auto& ask : {holderInKDE, holderInXfce, holderInGNOME}) {
      if (std::string holder = ask(*bus, spec); !holder.empty()) return holder;
    }
    return {};
  } catch (const sdbus::Error& error) {
    logInfo("HotKey", "who has a key is not known: {}", error.what());
    return {};
  }
}

bool isOpenboxRunning() {
  constexpr std::string_view mark = "_OPENBOX_PID";
  xcb_connection_t* const c = xcb_connect(nullptr, nullptr);
  bool isRunning = false;
  if (xcb_connection_has_error(c) == 0) {
    const auto atom = xReply<xcb_intern_atom_reply>(
        c, xcb_intern_atom(c, 1, static_cast<std::uint16_t>(mark.size()), mark.data()));
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    if (atom && atom->atom != XCB_ATOM_NONE) {
      const auto reply = xReply<xcb_get_property_reply>(
          c, xcb_get_property(c, 0, root, atom->atom, XCB_ATOM_CARDINAL, 0, 1));
      isRunning = !words(reply.get()).empty();
    }
  }
  xcb_disconnect(c);
  return isRunning;
}

std::string holderInWindowManager(const Files& files, const std::vector<Path>& configFolders,
                                  const HotKeySpec& spec) {
  if (!isOpenboxRunning()) return {};
  for (const Path& folder : configFolders) {
    const auto settings = files.read(folder / "openbox" / "rc.xml", longestSettings);
    // The first file counts alone, as it does for openbox.
    if (settings) return holderInOpenbox(*settings, spec);
  }
  return {};
}

}  // namespace

void DesktopKeyHolders::whoHolds(const HotKeySpec& spec,
                                 std::function<void(std::string holder)> known) {
  roundTrip(
      *services_.work, services_.main,
      [spec, files = services_.files, folders = services_.configFolders] {
        std::string holder = holderOnBus(spec);
        return holder.empty() ? holderInWindowManager(*files, folders, spec) : holder;
      },
      lifetime_.guard(std::move(known)));
}

}  // namespace vantorel
