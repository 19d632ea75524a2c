#include "platform/linux/desktop_key_holders.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sdbus-c++/sdbus-c++.h>

#include <fstream>
#include <map>

#include "app/records/hot_key_text.hpp"
#include "platform/linux/key_bindings.hpp"
#include "platform/linux/linux_files.hpp"
#include "platform/testing/desktop/test_desktop.hpp"
#include "platform/testing/fake_runners.hpp"

namespace vantorel {
namespace {

HotKeySpec key(std::string_view text) { return *hotKeyFromText(text); }

TEST(KeyBindingsTest, KeysAreReadAsOtherProgramsWriteThem) {
  EXPECT_EQ(keyOfOpenbox("A-Print"), key("Alt+Print"));
  EXPECT_EQ(keyOfOpenbox("C-S-W-Page_Up"), key("Ctrl+Shift+Super+Page Up"));
  EXPECT_EQ(keyOfOpenbox("minus"), std::nullopt);
  EXPECT_EQ(keyOfOpenbox("C-x C-c"), std::nullopt) << "a chain";
  EXPECT_EQ(keyOfGtk("<Primary><Shift>Print"), key("Ctrl+Shift+Print"));
  EXPECT_EQ(keyOfGtk("<Super>e"), key("Super+E"));
  EXPECT_EQ(keyOfGtk("<Hyper>e"), std::nullopt);
  EXPECT_EQ(keyOfGtk("override"), std::nullopt);
  EXPECT_EQ(numberOfQt(key("Print")), 0x01000009);
  EXPECT_EQ(numberOfQt(key("Super+Shift+S")), 0x12000053);
  EXPECT_EQ(numberOfQt(key("Ctrl+F12")), 0x0500003B);
  EXPECT_EQ(numberOfQt({0x1008FF11, 0}), std::nullopt);
  EXPECT_EQ(programOf(" /usr/bin/scrot -s "), "scrot");

  const auto printed = printedSettings(R"(a.schema one ['<Alt>x', "it's"]
a.schema two 'back\\slash'
a.schema three @as []

broken
a.schema four ['open)");
  ASSERT_EQ(printed.size(), 4U);
  EXPECT_EQ(printed[0].name, "one");
  EXPECT_THAT(printed[0].texts, testing::ElementsAre("<Alt>x", "it's"));
  EXPECT_THAT(printed[1].texts, testing::ElementsAre("back\\slash"));
  EXPECT_THAT(printed[2].texts, testing::IsEmpty());
  EXPECT_THAT(printed[3].texts, testing::ElementsAre("open"));
  EXPECT_TRUE(hasKey(printed[0], key("Alt+X")));
  EXPECT_FALSE(hasKey(printed[3], key("Alt+X")));

  constexpr std::string_view settings = R"(<keyboard>
      <!-- <keybind key="F9"><action name="Execute"><command>old</command></action></keybind> -->
      <keybind key="A-F4"><action name="Close"/></keybind>
      <keybind key="A-Print"><action name="Execute"><command>scrot -s</command></action></keybind>
      <keybind key="W-e"><action name="Execute"><execute>pcmanfm</execute></action></keybind>
      <keybind key="F10"><action)";
  EXPECT_EQ(holderInOpenbox(settings, key("Alt+Print")), "scrot");
  EXPECT_EQ(holderInOpenbox(settings, key("Super+E")), "pcmanfm");
  EXPECT_EQ(holderInOpenbox(settings, key("Alt+F4")), "openbox");
  EXPECT_EQ(holderInOpenbox(settings, key("F9")), "");
  EXPECT_EQ(holderInOpenbox(settings, key("Print")), "");
}

/// KDE's service of keys, which gives one program Meta+Print.
class ServiceOfKDE {
 public:
  ServiceOfKDE() {
    using Keys = std::vector<std::int32_t>;
    using Shortcut = sdbus::Struct<std::string, std::string, std::string, std::string, std::string,
                                   std::string, Keys, Keys>;
    object_->registerMethod("getGlobalShortcutsByKey")
        .onInterface("org.kde.KGlobalAccel")
        .implementedAs([](std::int32_t key) {
          std::vector<Shortcut> found;
          if (key == 0x11000009) {
            found.emplace_back("WindowUnderCursorScreenShot", "Capture Window",
                               "org.kde.spectacle.desktop", "Spectacle", "default", "Default",
                               Keys{key}, Keys{key});
          }
          return found;
        });
    object_->finishRegistration();
    connection_->requestName("org.kde.kglobalaccel");
    connection_->enterEventLoopAsync();
  }

 private:
  std::unique_ptr<sdbus::IConnection> connection_ = sdbus::createSessionBusConnection();
  std::unique_ptr<sdbus::IObject> object_ = sdbus::createObject(*connection_, "/kglobalaccel");
};

/// XFCE's store of settings.
class ServiceOfXfce {
 public:
  ServiceOfXfce() {
    object_->registerMethod("GetAllProperties")
        .onInterface("org.xfce.Xfconf")
        .implementedAs([](const std::string& channel, const std::string&) {
          std::map<std::string, sdbus::Variant> all;
          if (channel != "xfce4-keyboard-shortcuts") return all;
          const auto set = [&](const char* path, const auto& value) {
            all.emplace(path, sdbus::Variant(value));
          };
          set("/commands/custom/<Alt>Print", std::string("xfce4-screenshooter -w"));
          set("/commands/custom/override", true);
          set("/commands/default/<Alt>Print", std::string("older"));
          set("/xfwm4/custom/<Alt>F4", std::string("close_window_key"));
          return all;
        });
    object_->finishRegistration();
    connection_->requestName("org.xfce.Xfconf");
    connection_->enterEventLoopAsync();
  }

  /// The store is there for all; its keys count from when the desktop's own service runs.
  void startDaemon() { connection_->requestName("org.xfce.SettingsDaemon"); }

 private:
  std::unique_ptr<sdbus::IConnection> connection_ = sdbus::createSessionBusConnection();
  std::unique_ptr<sdbus::IObject> object_ = sdbus::createObject(*connection_, "/org/xfce/Xfconf");
};

struct DesktopKeyHoldersTest : testing::Test {
  std::string holderOf(std::string_view text) {
    FakeRunners runners;
    DesktopKeyHolders holders({.main = runners.main(),
                               .work = runners.runner("keys"),
                               .files = std::make_shared<LinuxFiles>(),
                               .configFolders = {desktop.folder() / "config"}});
    std::string found = "no answer";
    holders.whoHolds(key(text), [&](std::string holder) { found = std::move(holder); });
    EXPECT_EQ(found, "no answer") << "before the call was over";
    runners.run();
    return found;
  }

  TestDesktop desktop{{.windowManager = true, .bus = true}};
};

TEST_F(DesktopKeyHoldersTest, GNOMEsKeysAreReadWhereItRuns) {
  desktop.enter();
  const auto programs = desktop.folder() / "programs";
  std::filesystem::create_directory(programs);
  // As the real one prints; of shell.keybindings nothing is installed.
  std::ofstream(programs / "gsettings") << R"(#!/bin/sh
keys=org.gnome.settings-daemon.plugins.media-keys
case "$2" in
$keys)
  echo "$keys custom-keybindings ['/org/custom0/', '/org/custom1/']"
  echo "$keys email ['']"
  echo "$keys www ['<Super>w', '<Primary>F12']"
  echo "$keys volume-step 6";;
$keys.custom-keybinding:/org/custom0/)
  echo "$keys.custom-keybinding binding ''"
  echo "$keys.custom-keybinding command 'nothing'";;
$keys.custom-keybinding:/org/custom1/)
  echo "$keys.custom-keybinding binding '<Super>w'"
  echo "$keys.custom-keybinding command \"/usr/bin/surf 'https://example.org'\""
  echo "$keys.custom-keybinding name 'Web'";;
org.gnome.desktop.wm.keybindings)
  echo "$2 close ['<Alt>F4']"
  echo "$2 maximize @as []";;
*) echo "No such schema" >&2; exit 1;;
esac
)";
  std::filesystem::permissions(programs / "gsettings", std::filesystem::perms::owner_all);
  setenv("PATH", (programs.string() + ":" + std::getenv("PATH")).c_str(), 1);
  EXPECT_EQ(holderOf("Alt+F4"), "");
  const auto service = sdbus::createSessionBusConnection();
  service->requestName("org.gnome.Shell");
  EXPECT_EQ(holderOf("Alt+F4"), "GNOME Shell");
  EXPECT_EQ(holderOf("Super+W"), "");
  service->requestName("org.gnome.SettingsDaemon.MediaKeys");
  EXPECT_EQ(holderOf("Super+W"), "surf") << "what the user set comes first";
  EXPECT_EQ(holderOf("Ctrl+F12"), "GNOME");
  EXPECT_EQ(holderOf("Ctrl+F11"), "");
}

TEST_F(DesktopKeyHoldersTest, OnlyWhatRunsIsAsked) {
  desktop.enter();
  std::filesystem::create_directories(desktop.folder() / "config" / "openbox");
  std::ofstream(desktop.folder() / "config" / "openbox" / "rc.xml")
      << R"(<keybind key="F9"><action name="Execute"><command>scrot</command></action></keybind>)";
  EXPECT_EQ(holderOf("F9"), "scrot");
  EXPECT_EQ(holderOf("Super+Print"), "");
  {
    ServiceOfXfce xfce;
    EXPECT_EQ(holderOf("Alt+Print"), "");
    xfce.startDaemon();
    EXPECT_EQ(holderOf("Alt+Print"), "xfce4-screenshooter");
    EXPECT_EQ(holderOf("Alt+F4"), "Xfwm4");
    EXPECT_EQ(holderOf("Ctrl+F4"), "");
  }
  ServiceOfKDE kde;
  EXPECT_EQ(holderOf("Super+Print"), "Spectacle");
  EXPECT_EQ(holderOf("F9"), "scrot");
}

}  // namespace
}  // namespace vantorel
