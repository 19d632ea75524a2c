#pragma once

#include <functional>
#include <string>
#include <vector>

#include "base/observers.hpp"

namespace vantorel {

/// One line of the tray's menu.
struct StatusMenuItem {
  enum class Kind { action, separator, submenu };

  Kind kind = Kind::action;
  std::string label;
  std::string shortcut;  ///< shown beside the label; may be empty
  bool isEnabled = true;
  bool isChoice = false;   ///< one of those of its menu, shown with a dot
  bool isChecked = false;  ///< the one chosen
  std::function<void()> perform;
  std::vector<StatusMenuItem> items;  ///< of a submenu
};

/// What the icon tells beyond being there, as a dot on it.
enum class StatusMark { none, filing, recording };

/// The program's icon in the tray. Lives on the main runner.
class StatusItem {
 public:
  virtual ~StatusItem() = default;

  virtual void setVisible(bool visible) = 0;

  /// `menu` is asked for its lines each time the menu is about to show, so that they are current.
  /// `activated` is called on a plain click.
  virtual void setMenu(std::function<std::vector<StatusMenuItem>()> menu,
                       std::function<void()> activated) = 0;

  virtual void setMark(StatusMark mark) = 0;

  /// Tells the host that the lines have changed.
  virtual void menuChanged() = 0;

  /// Whether a tray host shows the icon.
  [[nodiscard]] virtual bool isHosted() const = 0;

  /// Called when a host has taken the icon, or has gone; of one that embeds windows only the next
  /// look tells.
  virtual Observation observeHost(std::function<void()> changed) = 0;
};

}  // namespace vantorel
