#pragma once

#include <QColor>
#include <QLineF>
#include <QPainterPath>
#include <QPointF>
#include <QRectF>
#include <QRegion>
#include <QSize>
#include <optional>
#include <vector>

class QPainter;

namespace vantorel {

/// What lies over the picture and is no part of it: handles, outlines, guides, what is outside of
/// the crop, the caret. A value in device pixels of the canvas widget, so that two of them tell
/// what has to be painted anew.
struct CanvasOverlay {
  enum class Knob { round, square, bow };
  struct Handle {
    Knob knob = Knob::round;
    QPointF at;
    bool operator==(const Handle&) const = default;
  };

  /// The frame that is kept, over the whole canvas.
  struct Crop {
    QRectF frame;
    QRectF canvas;
    QColor canvasColor;      ///< where the frame is past the canvas
    bool hasThirds = false;  ///< while it is dragged
    bool operator==(const Crop&) const = default;
  };

  /// A text being typed.
  struct Typing {
    QRectF frame;
    std::vector<QRectF> selection;
    std::vector<QRectF> composed;  ///< what the input method has not committed yet
    QRectF caret;                  ///< empty while it blinks
    QColor ink;
    bool operator==(const Typing&) const = default;
  };

  std::vector<QRectF> selectedText;  ///< of the capture itself
  std::optional<Crop> crop;
  QPainterPath hovered;
  std::vector<QRectF> finds;  ///< that a list points to
  std::vector<QRectF> frames;
  std::optional<QRectF> marquee;
  std::vector<QLineF> guides;
  std::optional<Typing> typing;
  std::vector<Handle> handles;

  /// What differs in `other`, in device pixels. `ratio` is that of the screen.
  [[nodiscard]] QRegion changedIn(const CanvasOverlay& other, double ratio) const;

  /// The painter is in device pixels. Only what lies in `exposed` matters.
  void paint(QPainter& painter, const QRect& exposed, double ratio) const;
};

/// The squares that stand for what is transparent. The painter is in device pixels.
void paintTransparency(QPainter& painter, const QRect& area, QPointF origin, double ratio);

}  // namespace vantorel
