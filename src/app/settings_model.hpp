#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "app/autostart_switch.hpp"
#include "app/library_pane.hpp"
#include "app/retention_setting.hpp"
#include "app/shortcut_recorder.hpp"
#include "app/text_pane.hpp"
#include "base/lifetime.hpp"
#include "base/observers.hpp"
#include "library/history_store.hpp"
#include "platform/alerts.hpp"
#include "platform/clock.hpp"
#include "settings/setting_rows.hpp"
#include "settings/settings_store.hpp"

namespace vantorel {

/// A row of the Settings window as it is now.
struct SettingsLine {
  struct Choice {
    std::string value;  ///< as `SettingsModel::set` takes it
    std::string words;
  };

  std::string id;  ///< the setting's key, or one of those of `SettingsModel`
  SettingsPane pane = SettingsPane::general;
  std::string group;  ///< empty: the pane's first rows
  std::string label;
  std::string explanation;  ///< small; may be empty
  std::string remark;       ///< a sentence that warns, or says what came of it; may be empty
  bool isWarning = true;    ///< the remark warns
  std::string meaning;      ///< for the tooltip

  /// Empty for a row that has only a button, or nothing.
  std::optional<SettingControl> control{};
  std::vector<Choice> choices{};         ///< of `choice` and `collection`
  std::string value;                     ///< as `SettingsModel::set` takes it
  std::optional<std::string> refused{};  ///< what was typed instead and can't be; `remark` says why
  std::string words;                     ///< the value as a person reads it
  double number = 0;                     ///< of `number`, as it is shown; so are the next three
  double least = 0;
  double most = 0;
  double step = 1;
  ShortcutRecorder::Field field{};  ///< of `shortcut`

  std::string button{};    ///< label of the row's button; empty: none
  std::string progress{};  ///< beside it, while something runs: "1,204 of 12,408"
  bool isBusy = false;     ///< something runs

  std::string obstacle{};    ///< why it can't be changed now; empty: it can
  std::string resetLabel{};  ///< "Back to PNG"; empty at the default
};

/// What the Settings window shows and does. What is set takes effect at once. Lives on the main
/// runner.
class SettingsModel {
 public:
  struct Services {
    SettingsStore& settings;
    HistoryStore& history;  ///< for the collections
    const Clock& clock;
    Alerts& alerts;
    AutostartSwitch& autostart;
    LibraryPane& library;
    RetentionSetting& retention;
    ShortcutRecorder& recorder;
    TextPane& text;
    std::string home;  ///< the user's home folder, shown as "~"; empty: no folder is
  };

  // The rows that are no settings.
  static constexpr std::string_view autostartRow = "startWithSession";
  static constexpr std::string_view resetAllRow = "resetAll";
  static constexpr std::string_view sizeRow = "librarySize";
  static constexpr std::string_view verifyRow = "libraryVerify";
  static constexpr std::string_view languagesRow = "textLanguages";
  static constexpr std::string_view addLanguageRow = "addTextLanguage";

  explicit SettingsModel(Services services);

  /// Those that have a row, in order.
  [[nodiscard]] const std::vector<SettingsPane>& panes() const { return panes_; }

  /// A sentence on top of the pane; mostly empty.
  [[nodiscard]] static std::string_view remarkOn(SettingsPane pane);

  /// That changes are not on disk and why, as a sentence for the window; mostly empty.
  [[nodiscard]] std::string problem() const;

  /// Tries at once to write what could not be written.
  void retrySaving();

  /// The pane in view.
  [[nodiscard]] SettingsPane pane() const { return pane_; }

  /// Brings it into view, and looks up what of it is not kept at hand.
  void select(SettingsPane pane);

  /// Looks up again what of the pane in view may have changed outside of the program.
  void lookAgain();

  /// The rows of a pane in order.
  [[nodiscard]] std::vector<SettingsLine> lines(SettingsPane pane) const;

  /// The rows of all panes in which every word of `text` occurs, in any case: in what is read
  /// there, or in the key. None for a text without words.
  [[nodiscard]] std::vector<SettingsLine> found(std::string_view text) const;

  /// The row of that id.
  [[nodiscard]] SettingsLine line(std::string_view id) const;

  /// Sets the row's value (not of a shortcut). What is refused leaves the value as it was; it is
  /// kept with the row, whose remark says why, until the row is set or reset.
  void set(std::string_view id, std::string_view value);
  void setNumber(std::string_view id, double shown);

  /// Has the window show the row's pane with the keyboard in the row.
  void pointTo(std::string_view id);

  /// The row that was pointed to since it was last asked for; empty for none.
  [[nodiscard]] std::string takePointedTo() { return std::exchange(pointedTo_, {}); }

  /// Back to the row's default.
  void reset(std::string_view id);

  /// The row's button.
  void press(std::string_view id);

  [[nodiscard]] ShortcutRecorder& recorder() { return services_.recorder; }

  /// Called with the id of the row that changed; with nothing when any may have, or the pane.
  Observation observe(std::function<void(std::string_view id)> observer) {
    return observers_.add(std::move(observer));
  }

  /// To be held by the window while it is there; see `LibraryPane::shown`.
  [[nodiscard]] Observation shown() { return services_.library.shown(); }

 private:
  [[nodiscard]] SettingsLine lineOf(const SettingRow& row) const;
  [[nodiscard]] SettingsLine ownLine(std::string_view id) const;
  void addChoices(const SettingRow& row, SettingsLine& line) const;
  void addState(const SettingRow& row, SettingsLine& line) const;
  [[nodiscard]] std::string wordsOf(const SettingRow& row, const SettingsValues& values) const;
  [[nodiscard]] std::string obstacleTo(const SettingRow& row) const;
  void settingChanged(std::string_view key);
  void changed(std::string_view id) { observers_.notify(id); }
  void askResetAll();

  Services services_;
  std::vector<std::string_view> order_;  // of all rows, by id
  std::vector<SettingsPane> panes_;
  SettingsPane pane_ = SettingsPane::general;
  std::string pointedTo_;
  struct Refusal {
    std::string typed;
    std::string why;
  };
  std::map<std::string, Refusal, std::less<>> refusals_;  // by id
  Observers<std::string_view> observers_;
  std::vector<Observation> observations_;
  Lifetime lifetime_;
};

}  // namespace vantorel
