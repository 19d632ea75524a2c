#include "ui/kit/palette_roles.hpp"

#include <array>
#include <cmath>
#include <initializer_list>
#include <utility>

namespace vantorel {
namespace {

constexpr double textContrast = 4.5;
constexpr double quietContrast = 5.5;
constexpr double stateContrast = 3;
constexpr double highContrast = 19;  // nothing but black and white comes to this
constexpr int steps = 50;

double luminance(const QColor& color) {
  const auto linear = [](double part) {
    return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
         0.0722 * linear(color.blueF());
}

double least(const QColor& color, std::initializer_list<QColor> grounds) {
  double found = 21;
  for (const QColor& ground : grounds) found = std::min(found, contrast(color, ground));
  return found;
}

/// The first mix of `color` toward black or white, whichever stands out more, that has `wanted`
/// on all `grounds`; the end of the way where none has.
QColor standingOut(const QColor& color, std::initializer_list<QColor> grounds, double wanted) {
  const QColor end =
      least(Qt::black, grounds) > least(Qt::white, grounds) ? QColor(Qt::black) : QColor(Qt::white);
  for (int step = 0; step < steps; ++step) {
    const QColor found = mixed(color, end, double(step) / steps);
    if (least(found, grounds) >= wanted) return found;
  }
  return end;
}

/// The mix of `text` toward `window` that is as faint as it may be on all `grounds`.
QColor faded(const QColor& text, const QColor& window, std::initializer_list<QColor> grounds,
             double wanted) {
  QColor found = text;
  for (int step = 1; step < steps; ++step) {
    const QColor next = mixed(text, window, double(step) / steps);
    if (least(next, grounds) < wanted) break;
    found = next;
  }
  return found;
}

/// The least part of `text` over `base` that has `wanted` on it.
QColor visible(const QColor& base, const QColor& text, double wanted) {
  for (int step = 1; step < steps; ++step) {
    const QColor found = mixed(base, text, double(step) / steps);
    if (contrast(found, base) >= wanted) return found;
  }
  return text;
}

PaletteRoles worked(const QPalette& palette) {
  PaletteRoles roles;
  const auto opaque = [&](QPalette::ColorRole role) {
    QColor color = palette.color(QPalette::Active, role);
    color.setAlpha(255);
    return color;
  };
  roles.window = opaque(QPalette::Window);
  roles.base = opaque(QPalette::Base);
  roles.isDark = luminance(roles.window) < 0.2;
  roles.text = standingOut(opaque(QPalette::WindowText), {roles.window, roles.base}, textContrast);
  roles.isHighContrast = contrast(roles.text, roles.window) >= highContrast;
  const QColor& text = roles.text;
  roles.side = mixed(roles.window, text, 0.03);
  if (roles.isDark) roles.side = mixed(roles.window, roles.base, 0.5);
  roles.work = roles.isDark ? mixed(roles.base, Qt::black, 0.2) : mixed(roles.window, text, 0.08);
  roles.quiet = faded(text, roles.window, {roles.window, roles.base, roles.side},
                      roles.isHighContrast ? 2 * textContrast : quietContrast);
  roles.line = mixed(roles.window, text, 0.10);
  roles.fieldBorder = mixed(roles.base, text, 0.19);
  if (roles.isHighContrast) {
    roles.line = visible(roles.window, text, stateContrast);
    roles.fieldBorder = visible(roles.base, text, stateContrast);
  }
  roles.hover = mixed(roles.window, text, 0.05);
  roles.press = mixed(roles.window, text, 0.09);

  const QColor highlight = opaque(QPalette::Highlight);
  // White on it wherever darkening leaves the color recognizable; on a light one, its own text.
  const QColor named = opaque(QPalette::HighlightedText);
  roles.onAccent = luminance(named) > 0.5 || contrast(named, highlight) < textContrast
                       ? QColor(Qt::white)
                       : named;
  roles.accentFill = standingOut(highlight, {roles.onAccent}, textContrast);
  roles.selection = mixed(roles.window, highlight, roles.isDark ? 0.28 : 0.14);
  // A strong accent must not swallow the text that is selected.
  for (int step = 0; step < steps && contrast(text, roles.selection) < textContrast; ++step) {
    roles.selection = mixed(roles.selection, roles.window, 0.1);
  }
  roles.accentText =
      standingOut(highlight, {roles.window, roles.base, roles.side, roles.selection}, textContrast);
  roles.focus = standingOut(highlight, {roles.window, roles.base, roles.selection}, stateContrast);
  roles.danger = standingOut(roles.isDark ? QColor(0xff8a85) : QColor(0xc0272d),
                             {roles.window, roles.base}, textContrast);
  roles.warningGround = roles.isDark ? QColor(0x3a3019) : QColor(0xfff3d6);
  roles.warning = standingOut(roles.isDark ? QColor(0xf3c56b) : QColor(0x8a5a00),
                              {roles.warningGround, roles.window}, textContrast);
  roles.switchOff = visible(roles.base, text, stateContrast);
  return roles;
}

}  // namespace

double contrast(const QColor& one, const QColor& other) {
  double lighter = luminance(one);
  double darker = luminance(other);
  if (lighter < darker) std::swap(lighter, darker);
  return (lighter + 0.05) / (darker + 0.05);
}

QColor mixed(const QColor& from, const QColor& to, double part) {
  const auto mix = [part](int start, int end) {
    return static_cast<int>(std::lround(start + (end - start) * part));
  };
  return {mix(from.red(), to.red()), mix(from.green(), to.green()), mix(from.blue(), to.blue())};
}

PaletteRoles rolesOf(const QPalette& palette) {
  struct Kept {
    qint64 key = -1;
    PaletteRoles roles;
  };
  // A window has few palettes: the application's, and those of what is tinted.
  static std::array<Kept, 8> kept;
  static std::size_t next = 0;
  const qint64 key = palette.cacheKey();
  for (const Kept& one : kept) {
    if (one.key == key) return one.roles;
  }
  Kept& place = kept[next];
  next = (next + 1) % kept.size();
  place = {key, worked(palette)};
  return place.roles;
}

const FloatingColors& floatingColors() {
  static const FloatingColors colors{
      .panel = QColor(0x18, 0x19, 0x1d, 242),
      .opaquePanel = QColor(0x18191d),
      .text = QColor(0xf5f6f8),
      .quiet = QColor(0xbec3cb),
      .key = QColor(0x464b54),
      .accent = QColor(0x409cff),
      .innerLine = QColor(255, 255, 255, 36),
      .stop = QColor(0xd93a3f),
      .dot = QColor(0xff5a5f),
      .hover = QColor(255, 255, 255, 26),
      .press = QColor(255, 255, 255, 46),
  };
  return colors;
}

}  // namespace vantorel
