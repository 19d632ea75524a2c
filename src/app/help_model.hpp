#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/command_keys.hpp"
#include "app/command_table.hpp"
#include "base/observers.hpp"

namespace vantorel {

/// What the Help window lists: every command with its key, then the keys of each window. Lives on
/// the main runner.
class HelpModel {
 public:
  struct Services {
    CommandKeys* keys = nullptr;  ///< null where the desktop has no keys for programs

    /// Why a command may not run now, in a sentence; nothing when it may.
    std::function<std::optional<std::string>(const DesktopCommand&)> obstacle;
    std::function<void(const DesktopCommand&)> perform;
  };

  struct Row {
    std::string title;
    /// The ways to press it, each the names on its keys; empty: "No key".
    std::vector<std::vector<std::string>> keys;
    const DesktopCommand* command = nullptr;  ///< what a click runs; null: nothing
    std::string obstacle{};                   ///< why it would not run now
  };
  struct Section {
    std::string title;
    std::vector<Row> rows;
  };

  explicit HelpModel(Services services);

  /// Those in which every word of `text` occurs in title or keys, in any case; all for a text
  /// without words. Sections without rows are left out.
  [[nodiscard]] std::vector<Section> sections(std::string_view text = {}) const;

  /// Runs the row's command if it may run now.
  void run(const Row& row);

  /// Called when a key has changed.
  Observation observe(std::function<void()> observer) {
    return observers_.add(std::move(observer));
  }

 private:
  [[nodiscard]] Row rowOf(const DesktopCommand& command) const;

  Services services_;
  Observers<> observers_;
  Observation keysObservation_;
};

}  // namespace vantorel
