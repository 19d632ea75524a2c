#pragma once

#include <QDBusConnection>
#include <QDBusVirtualObject>

#include "ui/tray/status_menu_tree.hpp"

namespace vantorel {

/// Offers a menu to the panel that shows the tray, by the protocol com.canonical.dbusmenu. Lives on
/// the main thread.
class DBusMenu : public QDBusVirtualObject {
 public:
  static constexpr const char* path = "/MenuBar";

  explicit DBusMenu(QDBusConnection bus) : bus_(std::move(bus)) {}

  void setSource(std::function<std::vector<StatusMenuItem>()> source);

  /// Tells the panel when the lines differ from those it has read.
  void menuChanged();

  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;
  [[nodiscard]] QString introspect(const QString& path) const override;

 private:
  bool answer(const QDBusMessage& call, const QVariantList& values);
  void handleEvent(int id, const QString& name);
  void announceLayout();

  QDBusConnection bus_;
  StatusMenuTree tree_;
};

}  // namespace vantorel
