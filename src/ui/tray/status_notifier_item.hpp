#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QDBusVirtualObject>
#include <functional>

#include "ui/tray/dbus_menu.hpp"
#include "ui/tray/tray_icon.hpp"

namespace vantorel {

/// The icon in a tray that speaks org.kde.StatusNotifierItem. It finds trays that start later or
/// start anew. Lives on the main thread.
class StatusNotifierItem : public QDBusVirtualObject {
  Q_OBJECT

 public:
  static constexpr const char* path = "/StatusNotifierItem";

  struct Listener {
    /// Whether a tray shows the icon; called when that is first known and on every change.
    std::function<void(bool)> hosted;
    std::function<void()> activated;   ///< plain click
    std::function<void()> menuWanted;  ///< the tray cannot show the exported menu itself
  };

  /// `bus` is connected.
  StatusNotifierItem(QDBusConnection bus, TrayIcon icon, Listener listener);
  ~StatusNotifierItem() override;

  void setIcon(TrayIcon icon);

  [[nodiscard]] DBusMenu& menu() { return menu_; }

  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;
  [[nodiscard]] QString introspect(const QString& path) const override;

 private Q_SLOTS:
  void readHost();

 private:
  void watcherCame();
  void setHosted(bool hosted);
  [[nodiscard]] QVariantMap properties() const;

  QDBusConnection bus_;
  TrayIcon icon_;
  Listener listener_;
  DBusMenu menu_;
  QString service_;
  QDBusServiceWatcher watcher_;
  std::optional<bool> hosted_;
};

}  // namespace vantorel
