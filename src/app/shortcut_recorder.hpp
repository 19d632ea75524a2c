#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/command_keys.hpp"
#include "app/records/hot_key_spec.hpp"
#include "base/lifetime.hpp"
#include "base/observers.hpp"
#include "platform/key_holders.hpp"
#include "settings/settings_store.hpp"

namespace vantorel {

/// The fields in which a person records the keys of commands, one for each setting that holds one.
/// At most one of them listens. Lives on the main runner.
class ShortcutRecorder {
 public:
  struct Services {
    SettingsStore& settings;
    CommandKeys* keys = nullptr;    ///< null where the desktop has no keys for programs
    KeyHolders* holders = nullptr;  ///< null where nobody can be asked
  };

  /// What a field shows.
  struct Field {
    bool isListening = false;
    std::vector<std::string> caps{};  ///< of the binding, or held down while it listens
    std::string prompt{};             ///< in place of caps
    std::string remark{};             ///< a sentence below it; may be empty
    bool isTaken = false;             ///< `remark` asks: `useItHere` or `stop`
  };

  explicit ShortcutRecorder(Services services);

  /// The field of that setting.
  [[nodiscard]] Field field(std::string_view setting) const;

  /// Somebody looks at the fields: tries at once to get the keys that do not work.
  void lookAgain();

  /// Listens, instead of any other.
  void listen(std::string_view setting);
  [[nodiscard]] const std::string& listening() const { return listening_; }

  /// Lets the binding be as it was.
  void stop();

  // What is pressed while one listens.

  /// The modifiers that are down now, a mask as in `HotKeySpec`.
  void hold(std::uint32_t modifiers);

  /// Esc stops, Backspace takes the binding away; others become it, unless another command has
  /// them or they write.
  void press(const HotKeySpec& spec);

  /// Takes the pressed key from who has it.
  void useItHere();

  /// Called with the setting after each change of its field; with nothing when all may have
  /// changed.
  Observation observe(std::function<void(std::string_view setting)> observer) {
    return observers_.add(std::move(observer));
  }

 private:
  [[nodiscard]] std::vector<ShortcutID> holdersOf(const HotKeySpec& spec) const;
  [[nodiscard]] std::string whyNot(std::string_view setting) const;
  void give(const HotKeySpec& spec);
  void store(std::string_view setting, const std::optional<HotKeySpec>& spec);
  void askHolders();

  Services services_;
  std::string listening_;  // a setting's key; empty for none
  std::uint32_t held_ = 0;
  std::optional<HotKeySpec> wanted_;            // that others have
  std::string remark_;                          // on the field that listens
  std::map<std::string, std::string> holders_;  // by key in words; an empty name: nobody says
  Observers<std::string_view> observers_;
  Observation settingsObservation_;
  Observation keysObservation_;
  Lifetime lifetime_;
};

}  // namespace vantorel
