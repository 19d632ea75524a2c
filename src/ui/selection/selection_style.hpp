#pragma once

#include <QColor>
#include <QFont>
#include <QPainter>
#include <QRect>
#include <QRegion>

/// The looks of what floats over the frozen screen: the same in light and dark.
namespace vantorel::selection_style {

inline constexpr QColor dim{0, 0, 0, 115};
inline constexpr QColor panel{0x18, 0x19, 0x1d, 242};
inline constexpr QColor panelRim{255, 255, 255, 36};
inline constexpr QColor text{0xf5, 0xf6, 0xf8};
inline constexpr QColor quietText{0xbe, 0xc3, 0xcb};
inline constexpr QColor key{0x46, 0x4b, 0x54};
inline constexpr QColor accent{0x40, 0x9c, 0xff};
inline constexpr QColor accentFill{0x2f, 0x6f, 0xd6};

/// Lengths of the drawing, given in points and used in pixels.
struct Measure {
  double scale;
  [[nodiscard]] int operator()(double points) const;
};

/// The desktop's font, for everything written on the overlay, sized in device pixels.
[[nodiscard]] QFont font(double scale);

/// The four bars of `width` pixels around `inner`, outside of it.
[[nodiscard]] QRegion frameAround(const QRect& inner, int width);

void fill(QPainter& painter, const QRegion& region, const QColor& color);
void paintRounded(QPainter& painter, const QRect& rect, double radius, const QColor& color);

/// A floating panel with its inner line.
void paintPanel(QPainter& painter, const QRect& rect, double radius, double scale);

}  // namespace vantorel::selection_style
