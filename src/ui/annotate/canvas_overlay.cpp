#include "ui/annotate/canvas_overlay.hpp"

#include <QPainter>
#include <algorithm>
#include <cmath>

namespace vantorel {
namespace {

// Over pictures of every color and on every desktop the same.
constexpr QColor accent{0x2a, 0x6f, 0xdb};
constexpr QColor guideColor{0xff, 0x2d, 0x92};
constexpr QColor cropShade{0, 0, 0, 140};
constexpr QColor textSelection{0x2a, 0x6f, 0xdb, 90};
constexpr QColor marqueeFill{0x2a, 0x6f, 0xdb, 26};

// In px at scale 1.
constexpr double knobSide = 9;
constexpr double knobRim = 1.5;
constexpr double lineWidth = 1;
constexpr double hoverWidth = 2;
constexpr double caretWidth = 2;
constexpr double checkSide = 8;

QRect around(const QRectF& area, double margin) {
  return area.adjusted(-margin, -margin, margin, margin).toAlignedRect();
}

/// The four sides of a frame, and not what is inside.
QRegion sidesOf(const QRectF& frame, double margin) {
  const QRect outer = around(frame, margin);
  const QRect inner = outer.adjusted(std::ceil(2 * margin) + 1, std::ceil(2 * margin) + 1,
                                     -std::ceil(2 * margin) - 1, -std::ceil(2 * margin) - 1);
  return inner.isEmpty() ? QRegion(outer) : QRegion(outer).subtracted(inner);
}

/// Everything of `before` and `after` that is not in both, found by `areaOf`.
template <class One, class AreaOf>
void addChanges(QRegion& region, const std::vector<One>& before, const std::vector<One>& after,
                const AreaOf& areaOf) {
  if (before == after) return;
  std::vector<const One*> changed;
  const auto collect = [&](const std::vector<One>& all, const std::vector<One>& others) {
    // Both are in the order of the document: what stays is soon found.
    std::size_t next = 0;
    for (const One& one : all) {
      constexpr std::size_t reach = 32;
      const auto from = others.begin() + static_cast<std::ptrdiff_t>(next);
      const auto to =
          others.begin() + static_cast<std::ptrdiff_t>(std::min(next + reach, others.size()));
      const auto found = std::find(from, to, one);
      if (found == to) {
        changed.push_back(&one);
      } else {
        next = static_cast<std::size_t>(found - others.begin()) + 1;
      }
    }
  };
  collect(before, after);
  collect(after, before);
  // Many small areas cost more to keep apart than to paint.
  constexpr std::size_t most = 64;
  QRect whole;
  for (const One* const one : changed) {
    if (changed.size() <= most) {
      region += areaOf(*one);
    } else {
      whole |= QRegion(areaOf(*one)).boundingRect();
    }
  }
  if (!whole.isEmpty()) region += whole;
}

/// A line of whole device pixels that can be seen on every ground.
void drawSharpFrame(QPainter& painter, const QRectF& frame, const QPen& pen) {
  const double half = pen.widthF() / 2;
  const QRectF sharp(std::round(frame.x()) - half, std::round(frame.y()) - half,
                     std::round(frame.right()) - std::round(frame.x()) + 2 * half,
                     std::round(frame.bottom()) - std::round(frame.y()) + 2 * half);
  painter.setPen(pen);
  painter.drawRect(sharp);
}

}  // namespace

QRegion CanvasOverlay::changedIn(const CanvasOverlay& other, double ratio) const {
  QRegion region;
  const double line = (lineWidth + 1) * ratio;
  addChanges(region, handles, other.handles, [&](const Handle& handle) {
    return around(QRectF(handle.at, QSizeF()), (knobSide / 2 + knobRim + 1) * ratio);
  });
  addChanges(region, frames, other.frames,
             [&](const QRectF& frame) { return sidesOf(frame, line); });
  addChanges(region, guides, other.guides, [&](const QLineF& guide) {
    return around(QRectF(guide.p1(), guide.p2()).normalized(), line);
  });
  addChanges(region, finds, other.finds,
             [&](const QRectF& find) { return around(find, (hoverWidth + 3) * ratio); });
  const auto plain = [](const QRectF& area) { return around(area, 1); };
  addChanges(region, selectedText, other.selectedText, plain);
  if (hovered != other.hovered) {
    for (const QPainterPath* const path : {&hovered, &other.hovered}) {
      if (!path->isEmpty()) region += around(path->boundingRect(), (hoverWidth + 1) * ratio);
    }
  }
  if (marquee != other.marquee) {
    const QRegion before(marquee ? plain(*marquee) : QRect());
    const QRegion after(other.marquee ? plain(*other.marquee) : QRect());
    region += before.xored(after);
    for (const auto* const band : {&marquee, &other.marquee}) {
      if (*band) region += sidesOf(**band, line);
    }
  }
  if (crop != other.crop) {
    const bool isSameGround = crop && other.crop && crop->canvas == other.crop->canvas &&
                              crop->canvasColor == other.crop->canvasColor;
    const auto whole = [&](const std::optional<Crop>& one) {
      return one ? around(one->frame | one->canvas, 2 * line) : QRect();
    };
    if (!isSameGround) {
      region += whole(crop);
      region += whole(other.crop);
    } else {
      region += QRegion(plain(crop->frame)).xored(plain(other.crop->frame));
      for (const auto* const one : {&crop, &other.crop}) {
        const QRectF& frame = (*one)->frame;
        region += sidesOf(frame, 2 * line);
        for (int third = 1; third <= 2; ++third) {
          const double x = frame.x() + frame.width() * third / 3;
          const double y = frame.y() + frame.height() * third / 3;
          region += around(QRectF(x, frame.y(), 0, frame.height()), line);
          region += around(QRectF(frame.x(), y, frame.width(), 0), line);
        }
      }
    }
  }
  if (typing != other.typing) {
    for (const auto* const one : {&typing, &other.typing}) {
      if (!*one) continue;
      region += around((*one)->caret, caretWidth * ratio + 1);
    }
    const bool isSameFrame = typing && other.typing && typing->frame == other.typing->frame;
    for (const auto* const one : {&typing, &other.typing}) {
      if (*one && !isSameFrame) region += sidesOf((*one)->frame, line);
    }
    const std::vector<QRectF> none;
    addChanges(region, typing ? typing->selection : none,
               other.typing ? other.typing->selection : none, plain);
    addChanges(region, typing ? typing->composed : none,
               other.typing ? other.typing->composed : none,
               [&](const QRectF& area) { return around(area, line); });
  }
  return region;
}

namespace {

void paintCrop(QPainter& painter, const CanvasOverlay::Crop& crop, double ratio) {
  const QRect frame = crop.frame.toAlignedRect();
  const QRect canvas = crop.canvas.toAlignedRect();
  for (const QRect& past : QRegion(frame).subtracted(canvas)) {
    painter.fillRect(past, crop.canvasColor);
  }
  for (const QRect& outside : QRegion(canvas).subtracted(frame)) {
    painter.fillRect(outside, cropShade);
  }
  painter.setBrush(Qt::NoBrush);
  drawSharpFrame(painter, QRectF(frame).adjusted(-ratio, -ratio, ratio, ratio),
                 QPen(QColor(0, 0, 0, 90), ratio));
  drawSharpFrame(painter, frame, QPen(Qt::white, ratio));
  if (!crop.hasThirds) return;
  painter.setPen(QPen(QColor(255, 255, 255, 150), ratio));
  for (int third = 1; third <= 2; ++third) {
    const double x = std::round(frame.x() + frame.width() * third / 3.0) + ratio / 2;
    const double y = std::round(frame.y() + frame.height() * third / 3.0) + ratio / 2;
    painter.drawLine(QPointF(x, frame.top()), QPointF(x, frame.bottom()));
    painter.drawLine(QPointF(frame.left(), y), QPointF(frame.right(), y));
  }
}

void paintTyping(QPainter& painter, const CanvasOverlay::Typing& typing, double ratio) {
  for (const QRectF& box : typing.selection) painter.fillRect(box.toAlignedRect(), textSelection);
  for (const QRectF& box : typing.composed) {
    painter.fillRect(QRectF(box.left(), std::round(box.bottom()), box.width(), ratio), typing.ink);
  }
  painter.setBrush(Qt::NoBrush);
  drawSharpFrame(painter, typing.frame, QPen(QColor(255, 255, 255, 200), ratio));
  QPen dashes(accent, ratio, Qt::CustomDashLine, Qt::FlatCap);
  dashes.setDashPattern({4, 3});
  drawSharpFrame(painter, typing.frame, dashes);
  if (typing.caret.isEmpty()) return;
  // A light caret is lost on a light picture.
  const bool isLight = typing.ink.lightness() > 160;
  const QRectF caret(std::round(typing.caret.x() - caretWidth * ratio / 2), typing.caret.y(),
                     std::round(caretWidth * ratio), typing.caret.height());
  painter.fillRect(caret.adjusted(-ratio / 2, 0, ratio / 2, 0),
                   isLight ? QColor(0, 0, 0, 110) : QColor(255, 255, 255, 110));
  painter.fillRect(caret, typing.ink);
}

/// There may be thousands.
void paintFrames(QPainter& painter, const std::vector<QRectF>& frames, const QRectF& near,
                 double ratio) {
  const int width = std::max(1, static_cast<int>(std::lround(ratio)));
  for (const QRectF& frame : frames) {
    if (!frame.intersects(near)) continue;
    const QRect area(QPoint(static_cast<int>(std::lround(frame.left())),
                            static_cast<int>(std::lround(frame.top()))),
                     QPoint(static_cast<int>(std::lround(frame.right())),
                            static_cast<int>(std::lround(frame.bottom()))));
    painter.fillRect(area.left(), area.top(), area.width(), width, accent);
    painter.fillRect(area.left(), area.bottom() - width + 1, area.width(), width, accent);
    painter.fillRect(area.left(), area.top(), width, area.height(), accent);
    painter.fillRect(area.right() - width + 1, area.top(), width, area.height(), accent);
  }
}

void paintHandle(QPainter& painter, const CanvasOverlay::Handle& handle, double ratio) {
  using Knob = CanvasOverlay::Knob;
  // Its edges lie on whole device pixels: a rim this thin is lost when it is blurred.
  const double side = std::round(knobSide * ratio);
  const QPointF corner(std::round(handle.at.x() - side / 2), std::round(handle.at.y() - side / 2));
  const double inset = knobRim * ratio / 2;
  const QRectF area = QRectF(corner, QSizeF(side, side)).adjusted(inset, inset, -inset, -inset);
  const bool isBow = handle.knob == Knob::bow;
  painter.setPen(QPen(isBow ? QColor(Qt::white) : accent, knobRim * ratio));
  painter.setBrush(isBow ? accent : QColor(Qt::white));
  if (handle.knob == Knob::square) {
    painter.drawRoundedRect(area, 2 * ratio, 2 * ratio);
  } else {
    painter.drawEllipse(area);
  }
}

}  // namespace

void CanvasOverlay::paint(QPainter& painter, const QRect& exposed, double ratio) const {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  for (const QRectF& box : selectedText) {
    if (box.intersects(exposed)) painter.fillRect(box.toAlignedRect(), textSelection);
  }
  if (crop) paintCrop(painter, *crop, ratio);
  painter.setBrush(Qt::NoBrush);
  if (!hovered.isEmpty()) {
    painter.setPen(QPen(QColor(255, 255, 255, 160), (hoverWidth + 2) * ratio));
    painter.drawPath(hovered);
    painter.setPen(QPen(accent, hoverWidth * ratio));
    painter.drawPath(hovered);
  }
  for (const QRectF& find : finds) {
    const QRectF rim = find.adjusted(-ratio, -ratio, ratio, ratio);
    painter.setPen(QPen(QColor(255, 255, 255, 160), (hoverWidth + 2) * ratio));
    painter.drawRect(rim);
    painter.setPen(QPen(accent, hoverWidth * ratio));
    painter.drawRect(rim);
  }
  const QRectF near = QRectF(exposed).adjusted(-2 * ratio, -2 * ratio, 2 * ratio, 2 * ratio);
  paintFrames(painter, frames, near, ratio);
  if (marquee) {
    painter.fillRect(*marquee, marqueeFill);
    drawSharpFrame(painter, *marquee, QPen(accent, lineWidth * ratio));
  }
  for (const QLineF& guide : guides) {
    const double half = lineWidth * ratio / 2;
    painter.setPen(QPen(guideColor, lineWidth * ratio));
    painter.drawLine(QLineF(std::round(guide.x1()) + half, std::round(guide.y1()) + half,
                            std::round(guide.x2()) + half, std::round(guide.y2()) + half));
  }
  if (typing) paintTyping(painter, *typing, ratio);
  for (const Handle& handle : handles) paintHandle(painter, handle, ratio);
  painter.restore();
}

void paintTransparency(QPainter& painter, const QRect& area, QPointF origin, double ratio) {
  const int side = std::max(2, static_cast<int>(std::lround(checkSide * ratio)));
  QImage tile(2 * side, 2 * side, QImage::Format_RGB32);
  tile.fill(Qt::white);
  QPainter squares(&tile);
  const QColor grey(0xe0, 0xe0, 0xe4);
  squares.fillRect(0, 0, side, side, grey);
  squares.fillRect(side, side, side, side, grey);
  squares.end();
  painter.save();
  painter.setBrushOrigin(origin);
  painter.fillRect(area, QBrush(tile));
  painter.restore();
}

}  // namespace vantorel
