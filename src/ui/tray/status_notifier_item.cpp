#include "ui/tray/status_notifier_item.hpp"

#include <unistd.h>

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QImage>
#include <QTimer>
#include <QtEndian>
#include <utility>

#include "base/log.hpp"

namespace vantorel {

/// A picture as the protocol has it: rows of alpha, red, green, blue.
struct NotifierPicture {
  int width = 0;
  int height = 0;
  QByteArray pixels;
};

struct NotifierToolTip {
  QString iconName;
  QList<NotifierPicture> icon;
  QString title;
  QString text;
};

static QDBusArgument& operator<<(QDBusArgument& argument, const NotifierPicture& picture) {
  argument.beginStructure();
  argument << picture.width << picture.height << picture.pixels;
  argument.endStructure();
  return argument;
}
static const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierPicture& picture) {
  argument.beginStructure();
  argument >> picture.width >> picture.height >> picture.pixels;
  argument.endStructure();
  return argument;  // NOLINT(bugprone-return-const-ref-from-parameter): the toolkit's form
}
static QDBusArgument& operator<<(QDBusArgument& argument, const NotifierToolTip& tip) {
  argument.beginStructure();
  argument << tip.iconName << tip.icon << tip.title << tip.text;
  argument.endStructure();
  return argument;
}
static const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierToolTip& tip) {
  argument.beginStructure();
  argument >> tip.iconName >> tip.icon >> tip.title >> tip.text;
  argument.endStructure();
  return argument;  // NOLINT(bugprone-return-const-ref-from-parameter): the toolkit's form
}

}  // namespace vantorel

Q_DECLARE_METATYPE(vantorel::NotifierPicture)
Q_DECLARE_METATYPE(vantorel::NotifierToolTip)

namespace vantorel {
namespace {

constexpr const char* watcherName = "org.kde.StatusNotifierWatcher";
constexpr const char* watcherPath = "/StatusNotifierWatcher";
constexpr const char* itemInterface = "org.kde.StatusNotifierItem";
constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";

QList<NotifierPicture> picturesOf(const QIcon& icon) {
  QList<NotifierPicture> pictures;
  for (const QSize& size : icon.availableSizes()) {
    QImage image = icon.pixmap(size, 1.0).toImage().convertToFormat(QImage::Format_ARGB32);
    QByteArray pixels(image.sizeInBytes(), Qt::Uninitialized);
    qToBigEndian<quint32>(image.constBits(), image.sizeInBytes() / 4, pixels.data());
    pictures.push_back({image.width(), image.height(), pixels});
  }
  return pictures;
}

void registerTypes() {
  static const bool once = [] {
    qDBusRegisterMetaType<NotifierPicture>();
    qDBusRegisterMetaType<QList<NotifierPicture>>();
    qDBusRegisterMetaType<NotifierToolTip>();
    return true;
  }();
  static_cast<void>(once);
}

QDBusMessage watcherCall(const char* interface, const char* member) {
  return QDBusMessage::createMethodCall(QLatin1String(watcherName), QLatin1String(watcherPath),
                                        QLatin1String(interface), QLatin1String(member));
}

}  // namespace

StatusNotifierItem::StatusNotifierItem(QDBusConnection bus, TrayIcon icon, Listener listener)
    : bus_(std::move(bus)),
      icon_(std::move(icon)),
      listener_(std::move(listener)),
      menu_(bus_),
      service_(QStringLiteral("org.kde.StatusNotifierItem-%1-1").arg(getpid())) {
  registerTypes();
  bus_.registerVirtualObject(QLatin1String(path), this);
  bus_.registerVirtualObject(QLatin1String(DBusMenu::path), &menu_);
  bus_.registerService(service_);

  watcher_.setConnection(bus_);
  watcher_.addWatchedService(QLatin1String(watcherName));
  connect(&watcher_, &QDBusServiceWatcher::serviceRegistered, this,
          &StatusNotifierItem::watcherCame);
  connect(&watcher_, &QDBusServiceWatcher::serviceUnregistered, this, [this] { setHosted(false); });
  for (const char* signal : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"}) {
    bus_.connect(QLatin1String(watcherName), QLatin1String(watcherPath), QLatin1String(watcherName),
                 QLatin1String(signal), this, SLOT(readHost()));
  }
  watcherCame();
}

StatusNotifierItem::~StatusNotifierItem() {
  bus_.unregisterObject(QLatin1String(path));
  bus_.unregisterObject(QLatin1String(DBusMenu::path));
  bus_.unregisterService(service_);
}

void StatusNotifierItem::setIcon(TrayIcon icon) {
  icon_ = std::move(icon);
  bus_.send(QDBusMessage::createSignal(QLatin1String(path), QLatin1String(itemInterface),
                                       QStringLiteral("NewIcon")));
}

/// Asks any watcher there is to take the icon. Without one the bus refuses at once.
void StatusNotifierItem::watcherCame() {
  auto call = watcherCall(watcherName, "RegisterStatusNotifierItem");
  call << service_;
  call.setAutoStartService(false);
  auto* const reply = new QDBusPendingCallWatcher(bus_.asyncCall(call), this);
  connect(reply, &QDBusPendingCallWatcher::finished, this, [this, reply] {
    reply->deleteLater();
    if (reply->isError()) {
      logInfo("Tray", "no tray took the icon: {}", reply->error().message().toStdString());
      setHosted(false);
    } else {
      readHost();
    }
  });
}

void StatusNotifierItem::readHost() {
  auto call = watcherCall(propertiesInterface, "Get");
  call << QLatin1String(watcherName) << QStringLiteral("IsStatusNotifierHostRegistered");
  call.setAutoStartService(false);
  auto* const reply = new QDBusPendingCallWatcher(bus_.asyncCall(call), this);
  connect(reply, &QDBusPendingCallWatcher::finished, this, [this, reply] {
    reply->deleteLater();
    const QDBusPendingReply<QDBusVariant> answer = *reply;
    setHosted(answer.isValid() && answer.value().variant().toBool());
  });
}

void StatusNotifierItem::setHosted(bool hosted) {
  if (std::exchange(hosted_, hosted) != hosted) listener_.hosted(hosted);
}

QVariantMap StatusNotifierItem::properties() const {
  const auto name = QStringLiteral("Vantorel");
  const QVariant nothing = QString();
  const auto noPictures = QVariant::fromValue(QList<NotifierPicture>());
  return {
      {QStringLiteral("Category"), QStringLiteral("ApplicationStatus")},
      {QStringLiteral("Id"), QStringLiteral("vantorel")},
      {QStringLiteral("Title"), name},
      {QStringLiteral("Status"), QStringLiteral("Active")},
      {QStringLiteral("WindowId"), 0},
      {QStringLiteral("IconThemePath"), nothing},
      {QStringLiteral("IconName"), icon_.name},
      {QStringLiteral("IconPixmap"), QVariant::fromValue(picturesOf(icon_.pictures))},
      {QStringLiteral("OverlayIconName"), nothing},
      {QStringLiteral("OverlayIconPixmap"), noPictures},
      {QStringLiteral("AttentionIconName"), nothing},
      {QStringLiteral("AttentionIconPixmap"), noPictures},
      {QStringLiteral("AttentionMovieName"), nothing},
      {QStringLiteral("ToolTip"), QVariant::fromValue(NotifierToolTip{{}, {}, name, {}})},
      {QStringLiteral("ItemIsMenu"), false},
      {QStringLiteral("Menu"), QVariant::fromValue(QDBusObjectPath(QLatin1String(DBusMenu::path)))},
  };
}

bool StatusNotifierItem::handleMessage(const QDBusMessage& message, const QDBusConnection&) {
  const QString member = message.member();
  const auto answer = [&](const QVariantList& values) {
    if (message.isReplyRequired()) bus_.send(message.createReply(values));
    return true;
  };
  if (message.interface() == QLatin1String(propertiesInterface)) {
    const QVariantMap own = properties();
    if (member == QLatin1String("GetAll")) return answer({own});
    const QString name = message.arguments().value(1).toString();
    if (member != QLatin1String("Get") || !own.contains(name)) return false;
    return answer({QVariant::fromValue(QDBusVariant(own.value(name)))});
  }
  if (!message.interface().isEmpty() && message.interface() != QLatin1String(itemInterface)) {
    return false;
  }
  if (member == QLatin1String("Activate")) {
    QTimer::singleShot(0, this, listener_.activated);
    return answer({});
  }
  if (member == QLatin1String("ContextMenu") || member == QLatin1String("SecondaryActivate")) {
    QTimer::singleShot(0, this, listener_.menuWanted);
    return answer({});
  }
  return member == QLatin1String("Scroll") && answer({});
}

QString StatusNotifierItem::introspect(const QString&) const {
  return QStringLiteral(R"xml(<interface name="org.kde.StatusNotifierItem">
<property name="Category" type="s" access="read"/>
<property name="Id" type="s" access="read"/>
<property name="Title" type="s" access="read"/>
<property name="Status" type="s" access="read"/>
<property name="WindowId" type="i" access="read"/>
<property name="IconThemePath" type="s" access="read"/>
<property name="IconName" type="s" access="read"/>
<property name="IconPixmap" type="a(iiay)" access="read"/>
<property name="OverlayIconName" type="s" access="read"/>
<property name="OverlayIconPixmap" type="a(iiay)" access="read"/>
<property name="AttentionIconName" type="s" access="read"/>
<property name="AttentionIconPixmap" type="a(iiay)" access="read"/>
<property name="AttentionMovieName" type="s" access="read"/>
<property name="ToolTip" type="(sa(iiay)ss)" access="read"/>
<property name="ItemIsMenu" type="b" access="read"/>
<property name="Menu" type="o" access="read"/>
<method name="Activate">
<arg type="i" direction="in"/><arg type="i" direction="in"/>
</method>
<method name="SecondaryActivate">
<arg type="i" direction="in"/><arg type="i" direction="in"/>
</method>
<method name="ContextMenu">
<arg type="i" direction="in"/><arg type="i" direction="in"/>
</method>
<method name="Scroll">
<arg type="i" direction="in"/><arg type="s" direction="in"/>
</method>
<signal name="NewIcon"/>
</interface>
)xml");
}

}  // namespace vantorel
