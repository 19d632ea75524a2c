#include "ui/kit/tokens.hpp"

#include <QApplication>
#include <QFontInfo>
#include <QFontMetrics>
#include <QStyle>
#include <algorithm>

namespace vantorel::tokens {
namespace {

constexpr int leastFontPixels = 11;

QFont scaled(double factor) {
  QFont font = bodyFont();
  const double pixels = std::max<double>(QFontInfo(font).pixelSize() * factor, leastFontPixels);
  if (font.pixelSize() > 0) {
    font.setPixelSize(qRound(pixels));
  } else {
    font.setPointSizeF(font.pointSizeF() * pixels / QFontInfo(font).pixelSize());
  }
  return font;
}

}  // namespace

int motion(int time) {
  return QApplication::style()->styleHint(QStyle::SH_Widget_Animate) != 0 ? time : 0;
}

QFont bodyFont() { return QApplication::font(); }

QFont smallFont() { return scaled(0.92); }

QFont strongFont() {
  QFont font = bodyFont();
  font.setWeight(QFont::DemiBold);
  return font;
}

QFont titleFont() {
  QFont font = scaled(1.23);
  font.setWeight(QFont::DemiBold);
  return font;
}

QFont largeFont() {
  QFont font = scaled(1.7);
  font.setWeight(QFont::DemiBold);
  return font;
}

int controlHeight(int token, const QFont& font) {
  return std::max(token, QFontMetrics(font).height() + 12);
}

int controlHeight(int token) { return controlHeight(token, bodyFont()); }

}  // namespace vantorel::tokens
