#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/command_reply.hpp"
#include "settings/settings_store.hpp"

namespace CLI {
class App;
}

namespace vantorel {

namespace command {

/// Shows and changes settings.
struct Settings {
  enum class Verb { list, get, set, reset, resetAll };

  Verb verb = Verb::list;
  std::string key;    ///< of `get`, `set` and `reset`
  std::string value;  ///< of `set`, as typed

  /// Whether the library has to tell if the value is one.
  [[nodiscard]] bool namesCollection() const {
    return verb == Verb::set && key == "activeCollectionID";
  }
};

}  // namespace command

/// "settings" on the command line. The parser lives in `app` and writes here, so this must not
/// move.
class SettingsOptions {
 public:
  explicit SettingsOptions(CLI::App& app);
  SettingsOptions(const SettingsOptions&) = delete;
  SettingsOptions& operator=(const SettingsOptions&) = delete;

  /// After parsing: the command, or nothing when another one was given.
  [[nodiscard]] std::optional<command::Settings> chosen() const;

  /// What is wrong with the options; empty when nothing is.
  [[nodiscard]] std::string problem() const;

 private:
  CLI::App* settings_;
  command::Settings given_;
  bool all_ = false;
};

/// Runs on the main runner; `done` comes when a change is on disk.
void runSettingsCommand(const command::Settings& what, bool json, SettingsStore& settings,
                        CommandDone done);

}  // namespace vantorel
