#pragma once

#include <QProxyStyle>

namespace vantorel {

class HoverFade;

/// The look of buttons, fields, menus, sliders, scroll bars and checks, from `PaletteRoles`. The
/// rest is Fusion's. Right to left and large fonts are followed; the focus ring shows for keyboard
/// focus only.
class VantorelStyle : public QProxyStyle {
 public:
  VantorelStyle();

  void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
  void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                   const QWidget* widget) const override;
  void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                          QPainter* painter, const QWidget* widget) const override;
  [[nodiscard]] int pixelMetric(PixelMetric metric, const QStyleOption* option,
                                const QWidget* widget) const override;
  [[nodiscard]] int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                              QStyleHintReturn* returned) const override;
  [[nodiscard]] QSize sizeFromContents(ContentsType type, const QStyleOption* option,
                                       const QSize& contents, const QWidget* widget) const override;
  [[nodiscard]] QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option,
                                     SubControl part, const QWidget* widget) const override;
  [[nodiscard]] QRect subElementRect(SubElement element, const QStyleOption* option,
                                     const QWidget* widget) const override;
  using QProxyStyle::polish;
  void polish(QWidget* widget) override;

 private:
  HoverFade* fades_;
};

/// Makes it the application's style where that is Fusion; another one's controls stay its own. Once
/// is enough.
void useVantorelStyle();

/// Marks a push button as one whose action cannot be undone: its text is red.
void markDangerous(QWidget& button);

}  // namespace vantorel
