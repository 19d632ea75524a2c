#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <vector>

#include "base/result.hpp"
#include "platform/hot_keys.hpp"
#include "platform/linux/x11_worker.hpp"

namespace vantorel {

/// The keys this program has grabbed from the X server. Lives on the hot keys' worker thread.
class X11KeyGrabs final : public X11Client {
 public:
  /// `pressed` and `released` are called with the number of the grab; a held key is pressed once.
  struct Listener {
    std::function<void(std::uint64_t id)> pressed;
    std::function<void(std::uint64_t id)> released;

    /// After the keyboard has changed, with whether the key is still ours.
    std::function<void(std::uint64_t id, HotKeys::State)> stateChanged;

    /// Other keys lie on it than before. After `stateChanged`.
    std::function<void()> keyboardChanged;
  };

  X11KeyGrabs(xcb_connection_t* connection, int screenNumber, Listener listener);

  /// Grabs a key whatever the lock keys are set to; all or nothing.
  [[nodiscard]] Result<void, HotKeyError> grab(std::uint64_t id, const HotKeySpec& spec);
  void ungrab(std::uint64_t id);

  void handle(const xcb_generic_event_t& event) override;
  void eventsHandled() override;

 private:
  /// What a key means on the present keyboard: each code with the modifiers and each of the sets
  /// of lock keys.
  struct Chords {
    std::vector<xcb_keycode_t> codes;
    std::uint16_t modifiers = 0;
    std::vector<std::uint16_t> locks;
    bool operator==(const Chords&) const = default;
  };
  struct Grab {
    HotKeySpec spec;
    Chords chords;
    std::optional<xcb_keycode_t> held;
  };

  void readKeyboard();
  [[nodiscard]] std::vector<xcb_keycode_t> codesOf(std::uint32_t keysym) const;
  [[nodiscard]] std::uint16_t modifierOf(std::initializer_list<std::uint32_t> keysyms,
                                         std::uint16_t otherwise) const;
  [[nodiscard]] std::vector<std::uint16_t> lockVariants() const;
  [[nodiscard]] Chords chordsOf(const HotKeySpec& spec) const;
  [[nodiscard]] Result<void, HotKeyError> take(const Chords& chords);
  void giveBack(const Chords& chords);

  xcb_connection_t* connection_;
  xcb_window_t root_ = 0;
  Listener listener_;
  std::uint8_t keyboardEvent_ = 0;  // of the XKB extension
  bool keyboardChanged_ = false;
  std::map<std::uint64_t, Grab> grabs_;

  // The keyboard: symbols of each key code, and which modifiers its keys make.
  xcb_keycode_t firstCode_ = 8;
  std::uint8_t symbolsEach_ = 1;
  std::vector<std::uint32_t> symbols_;
  std::vector<xcb_keycode_t> modifierCodes_;  // eight rows
  std::uint16_t numLock_ = 0;
  std::uint16_t scrollLock_ = 0;
  std::uint16_t alt_ = 0;
  std::uint16_t super_ = 0;
};

}  // namespace vantorel
