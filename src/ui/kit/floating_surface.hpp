#pragma once

#include <QPainterPath>
#include <QWidget>
#include <memory>

#include "platform/native_windows.hpp"

namespace vantorel {

/// A small dark surface over all windows that never takes the focus by being shown. With a
/// compositor it is partly transparent with a shadow; without one it is opaque, masked to its
/// corners, with a line around it, and changes when a compositor comes or goes. What derives from
/// it paints and lays out within `panelRect`, in `floatingColors`. Lives on the main thread.
class FloatingSurface : public QWidget {
 public:
  /// `title` is the window's name to other programs and its accessible name.
  FloatingSurface(std::shared_ptr<NativeWindows> native, const QString& title,
                  FloatingInput input = FloatingInput::all);
  ~FloatingSurface() override;

  /// The room that the shadow takes around the panel, in px; 0 without a compositor.
  [[nodiscard]] int shadowMargin() const;

  /// The panel within the window.
  [[nodiscard]] QRect panelRect() const;

  /// Gives the window the size and place at which its panel covers `panel`, in px on the desktop.
  void setPanelGeometry(const QRect& panel);
  [[nodiscard]] QRect panelGeometry() const;

  /// Whether clicks go to what lies below it.
  void setClickThrough(bool isOn);

  void setRadius(int radius);
  [[nodiscard]] int radius() const { return radius_; }

 protected:
  /// Paints shadow, panel and line. What derives from it calls this first.
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  bool event(QEvent* event) override;

  /// The ground of the panel, where it is not the usual one.
  void setPanelColor(const QColor& color);

  /// A line within the panel's edge, over what is painted there, in place of the usual one.
  void paintPanelLine(QPainter& painter, const QColor& color, double width = 1) const;

  [[nodiscard]] bool isTranslucent() const { return isTranslucent_; }
  [[nodiscard]] QPainterPath panelPath() const;
  [[nodiscard]] NativeWindows& native() const { return *native_; }

 private:
  class CompositorWatch;
  void compositorChanged();
  void applyMask();

  std::shared_ptr<NativeWindows> native_;
  FloatingInput input_;
  int radius_;
  QColor panelColor_;
  bool isTranslucent_;
  bool letsClicksThrough_ = false;
  std::unique_ptr<CompositorWatch> watch_;
};

}  // namespace vantorel
