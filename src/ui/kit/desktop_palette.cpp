#include "ui/kit/desktop_palette.hpp"

#include <QApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QFont>
#include <QPalette>
#include <QPointer>
#include <QSettings>
#include <QStandardPaths>
#include <QThreadPool>
#include <chrono>
#include <optional>
#include <utility>

#include "base/log.hpp"
#include "ui/kit/application_font.hpp"
#include "ui/kit/palette_roles.hpp"

namespace vantorel {
namespace {

constexpr auto* appearance = "org.freedesktop.appearance";
constexpr auto* colorScheme = "color-scheme";
constexpr auto* accentColor = "accent-color";
constexpr auto* interface = "org.gnome.desktop.interface";
constexpr auto* fontName = "font-name";
constexpr auto* settingsInterface = "org.freedesktop.portal.Settings";
constexpr auto* portalPath = "/org/freedesktop/portal/desktop";
constexpr auto* busName = "vantorel-appearance";

/// KDE writes its settings anew several times in a row.
constexpr std::chrono::milliseconds settlingTime{150};

constexpr double darkWindow = 0.5;  // lightness
constexpr double leastOnHighlight = 3;

QString latin(const char* text) { return QString::fromLatin1(text); }

void set(QPalette& palette, std::initializer_list<QPalette::ColorRole> roles, const QColor& color) {
  for (const auto role : roles) palette.setColor(role, color);
}

void fadeWhatIsOff(QPalette& palette) {
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    QColor off = palette.color(QPalette::Active, role);
    off.setAlphaF(0.45F);
    palette.setColor(QPalette::Disabled, role, off);
  }
}

/// Three parts of 0 to 1, red first.
QColor colorOf(const QVariant& value) {
  if (!value.canConvert<QDBusArgument>()) return {};
  const auto argument = value.value<QDBusArgument>();
  if (argument.currentSignature() != QLatin1String("(ddd)")) return {};
  double red = -1;
  double green = -1;
  double blue = -1;
  argument.beginStructure();
  argument >> red >> green >> blue;
  argument.endStructure();
  const auto isPart = [](double part) { return part >= 0 && part <= 1; };
  if (!isPart(red) || !isPart(green) || !isPart(blue)) return {};  // "no accent" is out of range
  return QColor::fromRgbF(float(red), float(green), float(blue));
}

/// "r,g,b" as KDE writes it.
std::optional<QColor> colorAt(const QSettings& file, const char* group, const char* key) {
  const QVariant value = file.value(latin(group) + u'/' + latin(key));
  if (!value.isValid()) return std::nullopt;
  QStringList parts = value.toStringList();
  if (parts.size() == 1) parts = parts.front().split(u',');
  if (parts.size() < 3) {
    const QColor named(parts.join(QString()));
    return named.isValid() ? std::optional(named) : std::nullopt;
  }
  int numbers[3];
  for (int i = 0; i < 3; ++i) {
    bool isNumber = false;
    numbers[i] = parts[i].trimmed().toInt(&isNumber);
    if (!isNumber || numbers[i] < 0 || numbers[i] > 255) return std::nullopt;
  }
  return QColor(numbers[0], numbers[1], numbers[2]);
}

}  // namespace

QPalette desktopPalette(bool isDark, const QColor& accent) {
  const QColor window(isDark ? 0x1f2023 : 0xf6f6f7);
  const QColor base(isDark ? 0x17181a : 0xffffff);
  const QColor text(isDark ? 0xececef : 0x1b1c1f);
  const QColor quiet(isDark ? 0xa4a7af : 0x5c5f67);
  const QColor button(isDark ? 0x2c2e33 : 0xffffff);
  QPalette palette(button, window);
  using P = QPalette;
  set(palette, {P::Window}, window);
  set(palette, {P::Base, P::AlternateBase}, base);
  set(palette, {P::WindowText, P::Text, P::ButtonText, P::BrightText}, text);
  set(palette, {P::PlaceholderText}, quiet);
  set(palette, {P::Button}, button);
  set(palette, {P::ToolTipBase}, window);
  set(palette, {P::ToolTipText}, text);
  set(palette, {P::Highlight}, isDark ? QColor(0x2f6fd6) : QColor(0x2a6fdb));
  set(palette, {P::HighlightedText}, Qt::white);
  set(palette, {P::Link}, isDark ? QColor(0x7fb2ff) : QColor(0x1f5fc4));
  if (accent.isValid()) {
    set(palette, {P::Highlight}, accent);
    set(palette, {P::HighlightedText},
        contrast(Qt::white, accent) >= leastOnHighlight ? Qt::white : Qt::black);
    set(palette, {P::Link}, rolesOf(palette).accentText);
  }
  fadeWhatIsOff(palette);
  return palette;
}

/// A desktop's quiet text may be left over from its other colors.
void keepQuietTextReadable(QPalette& palette) {
  const QColor quiet = palette.color(QPalette::Active, QPalette::PlaceholderText);
  if (contrast(quiet, palette.color(QPalette::Active, QPalette::Base)) >= leastOnHighlight &&
      contrast(quiet, palette.color(QPalette::Active, QPalette::Window)) >= leastOnHighlight) {
    return;
  }
  set(palette, {QPalette::PlaceholderText}, rolesOf(palette).quiet);
}

QPalette paletteOfKDE(const QString& file) {
  const QSettings settings(file, QSettings::IniFormat);
  const auto window = colorAt(settings, "Colors:Window", "BackgroundNormal");
  QPalette palette = desktopPalette(window && window->lightnessF() < darkWindow);
  const auto take = [&](const char* group, const char* key,
                        std::initializer_list<QPalette::ColorRole> roles) {
    if (const auto color = colorAt(settings, group, key)) set(palette, roles, *color);
  };
  using P = QPalette;
  take("Colors:Window", "BackgroundNormal", {P::Window});
  take("Colors:Window", "ForegroundNormal", {P::WindowText});
  take("Colors:View", "BackgroundNormal", {P::Base});
  take("Colors:View", "BackgroundAlternate", {P::AlternateBase});
  take("Colors:View", "ForegroundNormal", {P::Text});
  take("Colors:View", "ForegroundInactive", {P::PlaceholderText});
  take("Colors:View", "ForegroundLink", {P::Link});
  take("Colors:Button", "BackgroundNormal", {P::Button});
  take("Colors:Button", "ForegroundNormal", {P::ButtonText});
  take("Colors:Selection", "BackgroundNormal", {P::Highlight});
  take("Colors:Selection", "ForegroundNormal", {P::HighlightedText});
  take("Colors:Tooltip", "BackgroundNormal", {P::ToolTipBase});
  take("Colors:Tooltip", "ForegroundNormal", {P::ToolTipText});
  keepQuietTextReadable(palette);
  fadeWhatIsOff(palette);
  return palette;
}

QFont fontOfKDE(const QString& file) {
  // The format's reader has the keys of the group "General" without a group.
  const QSettings settings(file, QSettings::IniFormat);
  const QString words = settings.value(QStringLiteral("font")).toStringList().join(u',');
  QFont named;
  if (!words.isEmpty() && named.fromString(words)) return named;
  return {QStringLiteral("Noto Sans"), 10};
}

std::optional<QFont> fontNamed(const QString& words) {
  QStringList parts = words.split(u' ', Qt::SkipEmptyParts);
  if (parts.size() < 2) return std::nullopt;
  bool isNumber = false;
  const double points = parts.takeLast().toDouble(&isNumber);
  if (!isNumber || points < 4 || points > 96) return std::nullopt;
  QFont::Weight weight = QFont::Normal;
  bool isItalic = false;
  while (parts.size() > 1) {
    const QString style = parts.back().toLower();
    if (style == QLatin1String("bold")) {
      weight = QFont::Bold;
    } else if (style == QLatin1String("medium")) {
      weight = QFont::Medium;
    } else if (style == QLatin1String("light")) {
      weight = QFont::Light;
    } else if (style == QLatin1String("semi-bold") || style == QLatin1String("semibold")) {
      weight = QFont::DemiBold;
    } else if (style == QLatin1String("italic") || style == QLatin1String("oblique")) {
      isItalic = true;
    } else if (style != QLatin1String("regular") && style != QLatin1String("book")) {
      break;
    }
    parts.removeLast();
  }
  QString family = parts.join(u' ');
  if (family.endsWith(u',')) family.chop(1);
  QFont font(family);
  font.setPointSizeF(points);
  font.setWeight(weight);
  font.setItalic(isItalic);
  return font;
}

DesktopPalette::DesktopPalette(std::shared_ptr<NativeWindows> native)
    : QObject(qApp), native_(std::move(native)) {}

DesktopPalette::~DesktopPalette() { QDBusConnection::disconnectFromBus(latin(busName)); }

void DesktopPalette::follow() {
  auto* const palette = qApp->findChild<DesktopPalette*>(QString(), Qt::FindDirectChildrenOnly);
  if (palette != nullptr && !std::exchange(palette->isFollowing_, true)) palette->start();
}

void DesktopPalette::start() {
  usualFont_ = QApplication::font();
  if (qgetenv("XDG_CURRENT_DESKTOP").contains("KDE")) return followSettingsOfKDE();
  followLook();
  followPortal();
}

void DesktopPalette::followLook() {
  look_ = native_->look();
  applyColors();
  applyFont();
  lookChanges_ = native_->observeLook([this](const DesktopLook& look) {
    if (look == look_) return;
    look_ = look;
    applyColors();
    applyFont();
  });
}

void DesktopPalette::applyColors() {
  const bool isDark = wantsDark_.value_or(look_.isDark.value_or(false));
  const QPalette palette = desktopPalette(isDark, accent_);
  if (palette != QApplication::palette()) QApplication::setPalette(palette);
}

void DesktopPalette::applyFont() {
  const QString words = look_.font.empty() ? portalFont_ : QString::fromStdString(look_.font);
  setApplicationFont(fontNamed(words).value_or(usualFont_));
}

void DesktopPalette::followPortal() {
  QDBusConnection bus = QDBusConnection::connectToBus(
      qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), latin(busName));
  if (!bus.isConnected()) return;
  if (!bus.connect({}, latin(portalPath), latin(settingsInterface),
                   QStringLiteral("SettingChanged"), this, SLOT(settingChanged(QDBusMessage)))) {
    logWarning("DesktopUi", "changes of the desktop's colors cannot be followed");
  }
  ask(appearance, colorScheme);
  ask(appearance, accentColor);
  ask(interface, fontName);
}

void DesktopPalette::ask(const char* space, const char* key) {
  QDBusMessage read = QDBusMessage::createMethodCall(
      QStringLiteral("org.freedesktop.portal.Desktop"), latin(portalPath), latin(settingsInterface),
      QStringLiteral("Read"));
  read << latin(space) << latin(key);
  auto* const watcher =
      new QDBusPendingCallWatcher(QDBusConnection(latin(busName)).asyncCall(read), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, space, key] {
    const QDBusPendingReply<QDBusVariant> reply = *watcher;
    if (reply.isValid()) take(latin(space), latin(key), QVariant::fromValue(reply.value()));
    watcher->deleteLater();
  });
}

void DesktopPalette::settingChanged(const QDBusMessage& change) {
  const QVariantList arguments = change.arguments();
  if (arguments.size() != 3) return;
  take(arguments[0].toString(), arguments[1].toString(), arguments[2]);
}

/// The value may come in a variant of a variant: the portal's `Read` wraps it twice.
void DesktopPalette::take(const QString& space, const QString& key, QVariant value) {
  while (value.canConvert<QDBusVariant>()) value = value.value<QDBusVariant>().variant();
  if (space == latin(interface) && key == latin(fontName)) {
    portalFont_ = value.toString();
    return applyFont();
  }
  if (space != latin(appearance)) return;
  if (key == latin(colorScheme)) {
    constexpr unsigned dark = 1;
    constexpr unsigned light = 2;
    const unsigned wish = value.toUInt();
    wantsDark_ = wish == dark || wish == light ? std::optional(wish == dark) : std::nullopt;
  } else if (key == latin(accentColor)) {
    accent_ = colorOf(value);
  } else {
    return;
  }
  applyColors();
}

void DesktopPalette::followSettingsOfKDE() {
  // The toolkit has read them at the start; only changes are ours.
  QPalette palette = QApplication::palette();
  keepQuietTextReadable(palette);
  QApplication::setPalette(palette);
  watcher_ = new QFileSystemWatcher(this);
  const QString file =
      QStandardPaths::locate(QStandardPaths::GenericConfigLocation, QStringLiteral("kdeglobals"));
  // Who has changed nothing yet has no such file.
  const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
  if (!watcher_->addPath(file.isEmpty() ? folder : file)) return;
  settled_.setSingleShot(true);
  settled_.setInterval(settlingTime);
  connect(&settled_, &QTimer::timeout, this, [this] { readSettingsOfKDE(); });
  connect(watcher_, &QFileSystemWatcher::fileChanged, &settled_, qOverload<>(&QTimer::start));
  connect(watcher_, &QFileSystemWatcher::directoryChanged, &settled_, qOverload<>(&QTimer::start));
}

void DesktopPalette::readSettingsOfKDE() {
  const QString file =
      QStandardPaths::locate(QStandardPaths::GenericConfigLocation, QStringLiteral("kdeglobals"));
  if (file.isEmpty()) return;
  watcher_->addPath(file);  // a new file under the old name is not watched
  if (const QStringList folders = watcher_->directories(); !folders.isEmpty()) {
    watcher_->removePaths(folders);
  }
  QThreadPool::globalInstance()->start([file, receiver = QPointer<DesktopPalette>(this)] {
    const QPalette palette = paletteOfKDE(file);
    const QFont font = fontOfKDE(file);
    QMetaObject::invokeMethod(qApp, [receiver, palette, font] {
      if (receiver == nullptr) return;
      setApplicationFont(font);
      QApplication::setPalette(palette);
    });
  });
}

}  // namespace vantorel
