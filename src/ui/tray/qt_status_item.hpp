#pragma once

#include <memory>
#include <optional>

#include "app/status_menu.hpp"
#include "platform/native_windows.hpp"

class QMenu;
class QSystemTrayIcon;

namespace vantorel {

class StatusNotifierItem;

/// The tray icon, in whichever way the desktop has: a tray that is asked over the session bus, else
/// one that embeds windows. Either may start later than this program. Lives on the main thread.
class QtStatusItem : public StatusItem {
 public:
  explicit QtStatusItem(std::shared_ptr<NativeWindows> native);
  ~QtStatusItem() override;

  void setVisible(bool visible) override;
  void setMenu(std::function<std::vector<StatusMenuItem>()> menu,
               std::function<void()> activated) override;
  void setMark(StatusMark mark) override;
  void menuChanged() override;
  [[nodiscard]] bool isHosted() const override;
  Observation observeHost(std::function<void()> changed) override {
    return hosts_.add(std::move(changed));
  }

 private:
  void embed();
  void popUpMenu();
  [[nodiscard]] QMenu& windowMenu();

  std::shared_ptr<NativeWindows> native_;
  std::function<std::vector<StatusMenuItem>()> lines_;
  std::function<void()> activated_;
  std::unique_ptr<StatusNotifierItem> notifier_;
  bool isNotifierHosted_ = false;
  StatusMark mark_ = StatusMark::none;
  Observers<> hosts_;
  std::unique_ptr<QMenu> menu_;  ///< for trays that do not show it themselves
  std::unique_ptr<QSystemTrayIcon> embedded_;
};

}  // namespace vantorel
