#include "ui/kit/icons.hpp"

#include <QFile>
#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPixmapCache>
#include <QSvgRenderer>
#include <array>
#include <memory>
#include <optional>

#include "ui/kit/palette_roles.hpp"

/// The linker would drop the drawings, which nobody calls by name. Outside of any namespace, as the
/// toolkit wants it.
static void keepSymbols() { Q_INIT_RESOURCE(symbols); }

namespace vantorel {
namespace {

/// In the order of `IconName`.
constexpr std::array<const char*, iconCount> fileNames{
    "annotate",
    "area",
    "area-again",
    "arrow",
    "assistant",
    "background",
    "camera",
    "canvas",
    "check",
    "click",
    "close",
    "collection",
    "collection-add",
    "compress",
    "convert",
    "copy",
    "counter",
    "crop",
    "display",
    "down",
    "ellipse",
    "emoji",
    "eye",
    "eye-off",
    "eyedropper",
    "filter",
    "fit",
    "folder",
    "grid",
    "grip",
    "help",
    "highlight-area",
    "highlighter",
    "image",
    "images",
    "info",
    "inspector",
    "keyboard",
    "layers",
    "left",
    "list",
    "lock",
    "measure",
    "mic",
    "mic-off",
    "minus",
    "more",
    "movie",
    "offline",
    "opacity",
    "pass-through",
    "pause",
    "pen",
    "pin",
    "play",
    "plus",
    "polygon",
    "qr",
    "record",
    "rect",
    "redact",
    "redo",
    "rename",
    "reset",
    "reveal",
    "right",
    "save",
    "scroll",
    "search",
    "select",
    "select-text",
    "settings",
    "shield",
    "sidebar",
    "sound",
    "star",
    "star-on",
    "stop",
    "text",
    "text-clip",
    "timer",
    "trash",
    "undo",
    "unlock",
    "warning",
    "window",
    "zoom-in",
};

constexpr double offOpacity = 0.45;

QColor tinted(IconTint tint) {
  const PaletteRoles roles = rolesOf(QGuiApplication::palette());
  switch (tint) {
    case IconTint::text: return roles.text;
    case IconTint::quiet: return roles.quiet;
    case IconTint::accent: return roles.accentText;
    case IconTint::onAccent: return roles.onAccent;
    case IconTint::danger: return roles.danger;
    case IconTint::warning: return roles.warning;
    case IconTint::floating: return floatingColors().text;
  }
  return roles.text;
}

class SymbolEngine : public QIconEngine {
 public:
  SymbolEngine(IconName name, IconTint tint, std::optional<QColor> color)
      : name_(name), tint_(tint), color_(color) {}

  void paint(QPainter* painter, const QRect& area, QIcon::Mode mode, QIcon::State state) override {
    const double ratio = painter->device() != nullptr ? painter->device()->devicePixelRatioF() : 1;
    painter->drawPixmap(area, iconPixmap(name_, area.size(), ratio, colorFor(mode, state)));
  }

  QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
    return iconPixmap(name_, size, 1, colorFor(mode, state));
  }

  /// `size` is in device pixels.
  QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state,
                       qreal ratio) override {
    return iconPixmap(name_, (QSizeF(size) / ratio).toSize(), ratio, colorFor(mode, state));
  }

  QSize actualSize(const QSize& size, QIcon::Mode, QIcon::State) override { return size; }
  bool isNull() override { return false; }
  [[nodiscard]] QIconEngine* clone() const override { return new SymbolEngine(*this); }

 private:
  [[nodiscard]] QColor colorFor(QIcon::Mode mode, QIcon::State state) const {
    QColor color = color_                                          ? *color_
                   : state == QIcon::On && tint_ == IconTint::text ? tinted(IconTint::accent)
                                                                   : tinted(tint_);
    if (mode == QIcon::Disabled) color.setAlphaF(color.alphaF() * float(offOpacity));
    return color;
  }

  IconName name_;
  IconTint tint_;
  std::optional<QColor> color_;
};

/// The drawing with `color` in it. Its transparency is left out: strokes that overlap would show.
QByteArray drawing(IconName name, const QColor& color) {
  keepSymbols();
  QFile file(QStringLiteral(":/symbols/%1.svg")
                 .arg(QLatin1String(fileNames[static_cast<std::size_t>(name)])));
  if (!file.open(QIODevice::ReadOnly)) return {};
  return file.readAll().replace("currentColor", color.name(QColor::HexRgb).toLatin1());
}

}  // namespace

QIcon icon(IconName name, IconTint tint) {
  return QIcon(new SymbolEngine(name, tint, std::nullopt));
}

QIcon icon(IconName name, const QColor& color) {
  return QIcon(new SymbolEngine(name, IconTint::text, color));
}

QPixmap iconPixmap(IconName name, QSize size, double ratio, const QColor& color) {
  const QString key = QStringLiteral("vantorel-symbol:%1:%2x%3:%4:%5")
                          .arg(static_cast<int>(name))
                          .arg(size.width())
                          .arg(size.height())
                          .arg(ratio)
                          .arg(color.name(QColor::HexArgb));
  QPixmap pixmap;
  if (QPixmapCache::find(key, &pixmap)) return pixmap;
  pixmap = QPixmap((QSizeF(size) * ratio).toSize());
  pixmap.setDevicePixelRatio(ratio);
  pixmap.fill(Qt::transparent);
  QSvgRenderer renderer(drawing(name, color));
  QPainter painter(&pixmap);
  painter.setOpacity(color.alphaF());
  const int side = std::min(size.width(), size.height());
  renderer.render(&painter,
                  QRectF((size.width() - side) / 2.0, (size.height() - side) / 2.0, side, side));
  painter.end();
  QPixmapCache::insert(key, pixmap);
  return pixmap;
}

}  // namespace vantorel
