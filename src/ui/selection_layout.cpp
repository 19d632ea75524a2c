#include <QFont>
#include <QFontMetrics>
#include <QGuiApplication>
#include <algorithm>
#include <cmath>

#include "ui/selection_painting.hpp"

namespace vantorel {
namespace {

QRect rectOf(const PixelRect& area) { return {area.x, area.y, area.width, area.height}; }

/// Lengths of the drawing, given in points and used in pixels.
struct Measure {
  double scale;
  [[nodiscard]] int operator()(double points) const {
    return std::max(1, static_cast<int>(std::lround(points * scale)));
  }
};

QString sizeText(const PixelRect& area) {
  return QStringLiteral("%1 × %2").arg(area.width).arg(area.height);
}

/// The loupe beside the pointer: where it does not cover what is being chosen, and on the display.
QRect besidePointer(const SelectionModel& model, QSize size, int gap) {
  const QRect display = rectOf(model.display().area);
  const QPoint pointer = model.pointer();
  bool right = true;
  bool below = true;
  if (model.isDragging()) {
    const QRect chosen = rectOf(model.chosenArea());
    right = pointer.x() >= chosen.center().x();
    below = pointer.y() >= chosen.center().y();
  }
  if (right && pointer.x() + gap + size.width() > display.right()) right = false;
  if (!right && pointer.x() - gap - size.width() < display.left()) right = true;
  if (below && pointer.y() + gap + size.height() > display.bottom()) below = false;
  if (!below && pointer.y() - gap - size.height() < display.top()) below = true;
  return {QPoint(right ? pointer.x() + gap : pointer.x() - gap - size.width(),
                 below ? pointer.y() + gap : pointer.y() - gap - size.height()),
          size};
}

std::vector<SelectionHint> hintsFor(const SelectionModel& model) {
  std::vector<SelectionHint> hints;
  const auto add = [&](const char* key, const char* effect) {
    hints.push_back({QString::fromUtf8(key), QString::fromUtf8(effect), {}, {}});
  };
  if (model.isDragging()) {
    add("Space", "move");
    add("Arrow keys", "1 pixel");
    add("Shift", "10 pixels");
  } else if (model.mode() == CaptureMode::region) {
    add("Drag", "capture an area");
    if (model.canPickWindows()) add("Space", "choose a window");
    add("Return", "whole display");
    add("Arrow keys", "1 pixel");
  } else if (model.mode() == CaptureMode::window) {
    add("Click", "capture the window");
    add("Space", "choose an area");
    add("Return", "whole display");
  } else {
    add("Click", "capture the display");
    add("Space", "choose an area");
  }
  add("Esc", "cancel");
  return hints;
}

/// Sets the line at the bottom of the display, or at the top when the pointer or the selection is
/// there. The keys before the last are left out where the display is too narrow for them.
void layOutHints(const SelectionModel& model, Measure measure, SelectionLayout& layout) {
  const QRect display = rectOf(model.display().area);
  const QFontMetrics metrics(selectionFont(layout.scale));
  const int height = metrics.height() + measure(18);
  std::vector<SelectionHint> hints = hintsFor(model);
  const auto keyWidth = [&](const SelectionHint& hint) {
    return metrics.horizontalAdvance(hint.key) + measure(14);
  };
  const auto effectWidth = [&](const SelectionHint& hint) {
    return metrics.horizontalAdvance(hint.effect);
  };
  const auto lineWidth = [&] {
    int width = measure(12) * 2 + measure(18) * static_cast<int>(hints.size() - 1);
    for (const auto& hint : hints) width += keyWidth(hint) + measure(6) + effectWidth(hint);
    return width;
  };
  while (hints.size() > 1 && lineWidth() > display.width()) hints.erase(hints.end() - 2);
  const QSize size(lineWidth(), height);
  const int x = display.center().x() - size.width() / 2;
  QRect line({x, display.bottom() - measure(32) - size.height()}, size);
  const QRect near = line.adjusted(-measure(40), -measure(40), measure(40), measure(40));
  if (near.contains(model.pointer()) || near.intersects(layout.loupe) ||
      (model.isDragging() && near.intersects(layout.chosen))) {
    line.moveTop(display.top() + measure(32));
  }
  int left = line.left() + measure(12);
  for (auto& hint : hints) {
    hint.keyBox = QRect(left, line.top() + measure(6), keyWidth(hint), height - 2 * measure(6));
    left = hint.keyBox.right() + 1 + measure(6);
    hint.effectBox = QRect(left, line.top(), effectWidth(hint), height);
    left += effectWidth(hint) + measure(18);
  }
  layout.hintLine = line;
  layout.hints = std::move(hints);
}

}  // namespace

QFont selectionFont(double scale) {
  QFont font = QGuiApplication::font();
  font.setPixelSize(Measure{scale}(13));
  return font;
}

SelectionLayout layOutSelection(const SelectionModel& model) {
  SelectionLayout layout;
  layout.scale = model.display().scale;
  const Measure measure{layout.scale};
  const QFontMetrics metrics(selectionFont(layout.scale));
  const PixelRect chosen = model.chosenArea();
  layout.chosen = rectOf(chosen);
  layout.isPick = model.mode() != CaptureMode::region;

  const int captionHeight = metrics.height() + measure(8);
  if (layout.isPick) {
    if (!chosen.isEmpty()) {
      const auto* const window =
          model.mode() == CaptureMode::window ? model.windowUnderPointer() : nullptr;
      const QRect visible = layout.chosen & rectOf(model.display().area);
      const int room = visible.width() - measure(48);
      layout.captionText = sizeText(chosen);
      if (window != nullptr && !window->title.empty()) {
        const QString title = metrics.elidedText(
            QString::fromStdString(window->title).simplified(), Qt::ElideRight,
            std::min(room - metrics.horizontalAdvance(layout.captionText), measure(420)));
        if (title.size() > 1)
          layout.captionText = title + QStringLiteral("   ") + layout.captionText;
      }
      layout.caption.setSize(
          {metrics.horizontalAdvance(layout.captionText) + measure(24), captionHeight});
      layout.caption.moveCenter(visible.center());
    }
  } else {
    const QRect display = rectOf(model.display().area);
    const QPoint pointer = model.pointer();
    if (!model.isDragging()) {
      layout.hairlineAcross = QRect(display.left(), pointer.y(), display.width(), 1);
      layout.hairlineDown = QRect(pointer.x(), display.top(), 1, display.height());
      layout.captionText = QStringLiteral("%1, %2")
                               .arg(pointer.x() - display.left())
                               .arg(pointer.y() - display.top());
    } else {
      layout.captionText = sizeText(chosen);
    }
    const int side = loupePixels * std::max(1, measure(8));
    const int width = std::max(side, metrics.horizontalAdvance(layout.captionText) + measure(16));
    const QRect box = besidePointer(model, {width, side + captionHeight}, measure(20));
    layout.loupe = QRect(box.topLeft(), QSize(side, side));
    layout.loupe.moveLeft(box.left() + (width - side) / 2);
    layout.caption = QRect(box.left(), box.top() + side, width, captionHeight);
  }
  layOutHints(model, measure, layout);
  return layout;
}

QRegion SelectionLayout::changeFrom(const SelectionLayout& before) const {
  QRegion changed = QRegion(before.chosen) ^ QRegion(chosen);
  const auto addAll = [&](const SelectionLayout& layout) {
    const int rim = static_cast<int>(std::ceil(4 * layout.scale));
    if (!layout.chosen.isEmpty()) {
      changed += QRegion(layout.chosen.adjusted(-rim, -rim, rim, rim)) -
                 QRegion(layout.chosen.adjusted(rim, rim, -rim, -rim));
    }
    changed += layout.hairlineAcross;
    changed += layout.hairlineDown;
    changed += layout.loupe.adjusted(-rim, -rim, rim, rim);
    changed += layout.caption.adjusted(-rim, -rim, rim, rim);
  };
  addAll(before);
  addAll(*this);
  const bool sameHints = hintLine == before.hintLine &&
                         std::equal(hints.begin(), hints.end(), before.hints.begin(),
                                    before.hints.end(), [](const auto& a, const auto& b) {
                                      return a.key == b.key && a.effect == b.effect;
                                    });
  if (!sameHints) {
    changed += hintLine;
    changed += before.hintLine;
  }
  return changed;
}

}  // namespace vantorel
