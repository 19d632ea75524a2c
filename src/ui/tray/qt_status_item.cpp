#include "ui/tray/qt_status_item.hpp"

#include <QAction>
#include <QActionGroup>
#include <QCursor>
#include <QDBusConnection>
#include <QDBusError>
#include <QMenu>
#include <QSystemTrayIcon>
#include <utility>

#include "base/log.hpp"
#include "ui/tray/status_notifier_item.hpp"
#include "ui/tray/tray_icon.hpp"

namespace vantorel {
namespace {

constexpr const char* busConnectionName = "vantorel-tray";

void fill(QMenu& menu, const std::vector<StatusMenuItem>& lines) {
  auto* const choices = new QActionGroup(&menu);
  for (const StatusMenuItem& line : lines) {
    QString label = QString::fromStdString(line.label).replace(u'&', QStringLiteral("&&"));
    switch (line.kind) {
      case StatusMenuItem::Kind::separator: menu.addSeparator(); break;
      case StatusMenuItem::Kind::submenu: {
        QMenu* const submenu = menu.addMenu(label);
        submenu->setEnabled(line.isEnabled);
        fill(*submenu, line.items);
        break;
      }
      case StatusMenuItem::Kind::action: {
        if (!line.shortcut.empty()) label += u'\t' + QString::fromStdString(line.shortcut);
        QAction* const action = menu.addAction(label);
        action->setEnabled(line.isEnabled);
        action->setCheckable(line.isChoice);
        if (line.isChoice) choices->addAction(action);
        action->setChecked(line.isChecked);
        // The menu is filled anew before the action has ended when the action opens it again.
        QObject::connect(action, &QAction::triggered, [perform = line.perform] {
          const auto kept = perform;
          if (kept) kept();
        });
        break;
      }
    }
  }
}

}  // namespace

QtStatusItem::QtStatusItem(std::shared_ptr<NativeWindows> native) : native_(std::move(native)) {}

QtStatusItem::~QtStatusItem() { setVisible(false); }

void QtStatusItem::setVisible(bool visible) {
  if (!visible) {
    embedded_.reset();
    notifier_.reset();
    isNotifierHosted_ = false;
    QDBusConnection::disconnectFromBus(QLatin1String(busConnectionName));
    return;
  }
  if (notifier_ || embedded_) return;
  // By address, for the bus library would start a bus where there is none.
  auto bus = QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"),
                                           QLatin1String(busConnectionName));
  if (!bus.isConnected()) {
    logInfo("Tray", "no session bus: {}", bus.lastError().message().toStdString());
    return embed();
  }
  notifier_ = std::make_unique<StatusNotifierItem>(
      bus, trayIcon(mark_),
      StatusNotifierItem::Listener{.hosted =
                                       [this](bool hosted) {
                                         isNotifierHosted_ = hosted;
                                         if (hosted) {
                                           embedded_.reset();
                                         } else {
                                           embed();
                                         }
                                         hosts_.notify();
                                       },
                                   .activated =
                                       [this] {
                                         if (activated_) activated_();
                                       },
                                   .menuWanted = [this] { popUpMenu(); }});
  notifier_->menu().setSource(lines_);
}

/// The toolkit's icon waits for a tray to come by itself. It is made only once the bus is known to
/// have no tray, for its making asks the bus too, and would wait for a tray that hangs.
void QtStatusItem::embed() {
  if (embedded_) return;
  embedded_ = std::make_unique<QSystemTrayIcon>(trayIcon(mark_).pictures);
  embedded_->setToolTip(QStringLiteral("Vantorel"));
  embedded_->setContextMenu(&windowMenu());
  QObject::connect(embedded_.get(), &QSystemTrayIcon::activated, embedded_.get(),
                   [this](QSystemTrayIcon::ActivationReason reason) {
                     if (reason == QSystemTrayIcon::Trigger && activated_) activated_();
                   });
  embedded_->show();
}

QMenu& QtStatusItem::windowMenu() {
  if (!menu_) {
    menu_ = std::make_unique<QMenu>();
    QObject::connect(menu_.get(), &QMenu::aboutToShow, menu_.get(), [this] {
      menu_->clear();
      if (lines_) fill(*menu_, lines_());
    });
  }
  return *menu_;
}

void QtStatusItem::popUpMenu() { windowMenu().popup(QCursor::pos()); }

void QtStatusItem::setMenu(std::function<std::vector<StatusMenuItem>()> menu,
                           std::function<void()> activated) {
  lines_ = std::move(menu);
  activated_ = std::move(activated);
  if (notifier_) notifier_->menu().setSource(lines_);
}

void QtStatusItem::setMark(StatusMark mark) {
  if (std::exchange(mark_, mark) == mark) return;
  if (notifier_) notifier_->setIcon(trayIcon(mark));
  if (embedded_) embedded_->setIcon(trayIcon(mark).pictures);
}

void QtStatusItem::menuChanged() {
  if (notifier_) notifier_->menu().menuChanged();
}

bool QtStatusItem::isHosted() const {
  return isNotifierHosted_ || (embedded_ && native_->hasEmbeddingTray());
}

}  // namespace vantorel
