#pragma once

#include <optional>

#include "app/settings_model.hpp"
#include "library/testing/test_library.hpp"
#include "platform/testing/fake_alerts.hpp"
#include "platform/testing/fake_autostart.hpp"
#include "platform/testing/fake_defaults_store.hpp"
#include "platform/testing/fake_hot_keys.hpp"
#include "platform/testing/fake_image_codec.hpp"
#include "platform/testing/fake_text_recogniser.hpp"
#include "platform/testing/quiet_log.hpp"

namespace vantorel {

/// What the tests of Settings, Help and the first start share: a library of three captures with
/// everything that those windows change.
struct SettingsSession : TestLibrary {
  SettingsSession() {
    files->folders = {"/", "/home/u/old", "/home/u/new", "/data", "/caches"};
    std::string entries;
    for (const char* const name : {"a", "b", "c"}) {
      const std::string path = fmt::format("/home/u/old/{}.png", name);
      files->put(path, "png " + path);
      entries += fmt::format(R"({}{{"id":"{}","capturedAt":1,"path":"{}"}})",
                             entries.empty() ? "" : ",", name, path);
    }
    files->put("/data/history.json",
               R"({"version":4,"entries":[)" + entries +
                   R"(],"collections":[{"id":"c1","name":"Receipts","color":"blue","note":"",)"
                   R"("sort":"newest","order":[],"createdAt":1}]})");
    defaults.stored["storageDirectory"] = JSONValue{std::string("/home/u/old")};
    settings.emplace(defaults, usual());
    settings->switchOffStartAtLogin = [this] { (void)autostart.set(false); };
    keys.emplace(CommandKeys::Services{
        .main = runners.main(),
        .hotKeys = hotKeys,
        .settings = *settings,
        .alerts = alerts,
        .perform = [this](const DesktopCommand& command) { performed.push_back(command.name); },
        .isSaidInWindow = [] { return false; }});
    move.emplace(LibraryMove::Services{.main = runners.main(),
                                       .work = runners.runner("work"),
                                       .files = files,
                                       .library = &library,
                                       .settings = &*settings,
                                       .defaults = &defaults,
                                       .alerts = &alerts,
                                       .usualFolder = "/home/u/usual"});
    move->followSetting();
    retention.emplace(RetentionSetting::Services{library.retention(), *settings, alerts});
    repair.emplace(LibraryRepair::Services{
        .main = runners.main(),
        .work = runners.runner("library"),
        .files = files,
        .codec = std::shared_ptr<const ImageCodec>(&codec, [](const ImageCodec*) {}),
        .clock = clock(),
        .trash = &trash,
        .library = &library,
        .captureFolders = [] { return std::vector<Path>{"/home/u/old"}; }});
    pane.emplace(LibraryPane::Services{.main = runners.main(),
                                       .library = library,
                                       .move = *move,
                                       .repair = *repair,
                                       .alerts = alerts});
  }

  static SettingsValues usual() {
    SettingsValues values;
    values.storageDirectory = "/home/u/usual";
    return values;
  }

  /// The program is up.
  void start() {
    library.open();
    keys->bind();
    runners.run();
  }

  QuietLog quiet;
  FakeAlerts alerts;
  FakeDefaultsStore defaults;
  FakeAutostart autostart;
  FakeHotKeys hotKeys{runners.main()};
  FakeImageCodec codec;
  std::optional<SettingsStore> settings;
  std::optional<CommandKeys> keys;
  std::optional<LibraryMove> move;
  std::optional<RetentionSetting> retention;
  std::optional<LibraryRepair> repair;
  std::optional<LibraryPane> pane;
  std::shared_ptr<FakeTextRecogniser> recogniser = std::make_shared<FakeTextRecogniser>();
  std::vector<std::string> copied;
  TextPane text{{.main = runners.main(),
                 .work = runners.runner("languages"),
                 .recogniser = recogniser,
                 .locale = "en_GB.UTF-8",
                 .copy = [this](const std::string& words, const auto& done) {
                   copied.push_back(words);
                   done("");
                 }}};
  AutostartSwitch autostartSwitch{
      {.main = runners.main(), .work = runners.runner("autostart"), .autostart = &autostart}};
  std::vector<std::string> performed;
};

}  // namespace vantorel
