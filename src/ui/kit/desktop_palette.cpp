#include "ui/kit/desktop_palette.hpp"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QPalette>

#include "base/log.hpp"

namespace vantorel {
namespace {

constexpr auto* appearance = "org.freedesktop.appearance";
constexpr auto* colorScheme = "color-scheme";
constexpr auto* settings = "org.freedesktop.portal.Settings";
constexpr auto* portalPath = "/org/freedesktop/portal/desktop";

QPalette paletteOf(bool isDark) {
  const QColor window(isDark ? 0x1f2023 : 0xf6f6f7);
  const QColor base(isDark ? 0x17181a : 0xffffff);
  const QColor text(isDark ? 0xececef : 0x1b1c1f);
  const QColor quiet(isDark ? 0xa4a7af : 0x5c5f67);
  const QColor button(isDark ? 0x2c2e33 : 0xffffff);
  QPalette palette(button, window);
  const auto set = [&](std::initializer_list<QPalette::ColorRole> roles, const QColor& color) {
    for (const auto role : roles) palette.setColor(role, color);
  };
  using P = QPalette;
  set({P::Window}, window);
  set({P::Base, P::AlternateBase}, base);
  set({P::WindowText, P::Text, P::ButtonText, P::BrightText}, text);
  set({P::PlaceholderText}, quiet);
  set({P::Button}, button);
  set({P::ToolTipBase}, window);
  set({P::ToolTipText}, text);
  set({P::Highlight}, isDark ? QColor(0x2f6fd6) : QColor(0x2a6fdb));
  set({P::HighlightedText}, Qt::white);
  set({P::Link}, isDark ? QColor(0x7fb2ff) : QColor(0x1f5fc4));
  for (const auto role : {P::WindowText, P::Text, P::ButtonText}) {
    QColor off = text;
    off.setAlphaF(0.45F);
    palette.setColor(P::Disabled, role, off);
  }
  return palette;
}

/// The value may come in a variant of a variant: the portal's `Read` wraps it twice.
void apply(QVariant value) {
  while (value.canConvert<QDBusVariant>()) value = value.value<QDBusVariant>().variant();
  QApplication::setPalette(paletteOf(value.toUInt() == 1));
}

}  // namespace

DesktopPalette::~DesktopPalette() {
  if (isFollowing_) {
    QDBusConnection::disconnectFromBus(QStringLiteral("vantorel-appearance"));
  }
}

void DesktopPalette::follow() {
  if (isFollowing_ || qgetenv("XDG_CURRENT_DESKTOP").contains("KDE")) return;
  isFollowing_ = true;
  QDBusConnection bus = QDBusConnection::connectToBus(
      qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("vantorel-appearance"));
  if (!bus.isConnected()) return;
  if (!bus.connect({}, QString::fromLatin1(portalPath), QString::fromLatin1(settings),
                   QStringLiteral("SettingChanged"), this, SLOT(settingChanged(QDBusMessage)))) {
    logWarning("DesktopUi", "changes of the desktop's colors cannot be followed");
  }
  QDBusMessage read = QDBusMessage::createMethodCall(
      QStringLiteral("org.freedesktop.portal.Desktop"), QString::fromLatin1(portalPath),
      QString::fromLatin1(settings), QStringLiteral("Read"));
  read << QString::fromLatin1(appearance) << QString::fromLatin1(colorScheme);
  auto* const watcher = new QDBusPendingCallWatcher(bus.asyncCall(read), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [watcher] {
    const QDBusPendingReply<QDBusVariant> reply = *watcher;
    if (reply.isValid()) apply(QVariant::fromValue(reply.value()));
    watcher->deleteLater();
  });
}

void DesktopPalette::settingChanged(const QDBusMessage& change) {
  const QVariantList arguments = change.arguments();
  if (arguments.size() == 3 && arguments[0].toString() == QLatin1String(appearance) &&
      arguments[1].toString() == QLatin1String(colorScheme)) {
    apply(arguments[2]);
  }
}

}  // namespace vantorel
