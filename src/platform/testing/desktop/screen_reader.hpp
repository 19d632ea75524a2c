#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/geometry.hpp"

namespace sdbus {
class IConnection;
}  // namespace sdbus

namespace vantorel {

class TestDesktop;

/// What an assistive technology is told of one control.
struct SpokenControl {
  std::string name;
  std::string description;
  std::string role;  ///< "push button", "check box", "list item"
  PixelRect area;    ///< on the screen
  std::uint64_t states = 0;
  std::string path;  ///< its object, the same as long as the control is there
  int depth = 0;     ///< 0: the window

  [[nodiscard]] bool isChecked() const { return has(4); }
  [[nodiscard]] bool isEnabled() const { return has(8); }
  [[nodiscard]] bool canTakeFocus() const { return has(11); }
  [[nodiscard]] bool isFocused() const { return has(12); }
  [[nodiscard]] bool isSelected() const { return has(23); }
  [[nodiscard]] bool isShown() const { return has(25); }
  [[nodiscard]] bool isActive() const { return has(1); }  ///< of a window: has the keyboard

 private:
  [[nodiscard]] bool has(unsigned state) const { return (states >> state & 1U) != 0; }
};

/// Reads the windows of a program as a screen reader does, over the accessibility bus of a test's
/// desktop. One thread. Calls throw when the program does not answer.
class ScreenReader {
 public:
  /// Before the program: a program asks at its start what is listened for. The desktop was made
  /// with `bus` and `accessibility`.
  explicit ScreenReader(const TestDesktop& desktop);
  ScreenReader(const ScreenReader&) = delete;
  ScreenReader& operator=(const ScreenReader&) = delete;
  ~ScreenReader();

  /// Reads this program from now on; the one before is forgotten.
  void follow(pid_t program) { program_ = program; }

  /// The shown controls of all shown windows called `window`, each after its parent. Empty while
  /// there is no such window.
  [[nodiscard]] std::vector<SpokenControl> controls(const std::string& window);

  using Wanted = std::function<bool(const SpokenControl&)>;
  /// The first control that is `wanted`, waited for; throws, with all that is there, when none
  /// comes within twenty seconds.
  SpokenControl find(const std::string& window, const std::string& what, const Wanted& wanted);

  /// The control of that role and name.
  SpokenControl find(const std::string& window, const std::string& role, const std::string& name);

  /// Waits until the controls are as `condition` wants them; throws, with all that is there, when
  /// that does not come within twenty seconds.
  std::vector<SpokenControl> waitUntil(
      const std::string& window, const std::string& what,
      const std::function<bool(const std::vector<SpokenControl>&)>& condition);

  /// The item of that name in the menu that has the keyboard, waited for: a menu says where it is
  /// when one of its items gets the focus.
  SpokenControl findInMenu(const std::string& name);

  /// The object that told after `before` that it has the focus, waited for.
  std::string focusAfter(const std::string& before);

  /// Waits until no window called so is shown.
  void waitUntilGone(const std::string& window);

  /// What is typed into a field.
  [[nodiscard]] std::string textOf(const SpokenControl& control);

  /// The controls, a line each, for messages of tests.
  [[nodiscard]] static std::string describe(const std::vector<SpokenControl>& controls);

 private:
  [[nodiscard]] std::string serviceOfProgram();
  void listen();
  void read(const std::string& path, int depth, std::vector<SpokenControl>& into);

  std::unique_ptr<sdbus::IConnection> bus_;
  pid_t program_ = 0;
  std::string service_;
  std::mutex mutex_;
  std::string lastFocus_;  ///< the object that told last that it has the focus
  std::unique_ptr<sdbus::IConnection> heard_;
};

}  // namespace vantorel
