#include <fmt/format.h>

#include <QFontMetrics>
#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

#include "app/records/hot_key_text.hpp"
#include "ui/selection/selection_painting.hpp"
#include "ui/selection/selection_style.hpp"

namespace vantorel {
namespace {

using selection_style::Measure;

QRect rectOf(const PixelRect& area) { return {area.x, area.y, area.width, area.height}; }

QString sizeText(const PixelRect& area) {
  return QStringLiteral("%1 × %2").arg(area.width).arg(area.height);
}

/// Where the loupe may stand beside an area that is adjusted, when its pixel has no room for it
/// outside: along the area's sides, nearest first.
std::vector<QRect> besideArea(const QRect& area, QPoint at, QSize size, const QRect& display,
                              int gap) {
  const auto along = [](int middle, int length, int low, int high) {
    return std::clamp(middle - length / 2, low, std::max(low, high + 1 - length));
  };
  const int x = along(at.x(), size.width(), display.left(), display.right());
  const int y = along(at.y(), size.height(), display.top(), display.bottom());
  std::vector<QRect> boxes;
  for (const QPoint corner :
       {QPoint(area.right() + 1 + gap, y), QPoint(area.left() - gap - size.width(), y),
        QPoint(x, area.bottom() + 1 + gap), QPoint(x, area.top() - gap - size.height())}) {
    boxes.emplace_back(corner, size);
  }
  std::ranges::stable_sort(
      boxes, {}, [at](const QRect& box) { return (box.center() - at).manhattanLength(); });
  return boxes;
}

/// The loupe beside its pixel: on the display, and where it covers neither what is being chosen nor
/// the bar, if there is such a place.
QRect besideDetail(const SelectionModel& model, const SelectionLayout& layout, QSize size,
                   int gap) {
  const QRect display = rectOf(model.display().area);
  const QPoint at = layout.detail;
  const QPoint middle = layout.chosen.isEmpty() ? at : layout.chosen.center();
  const bool isRight = at.x() >= middle.x();
  const bool isBelow = at.y() >= middle.y();
  std::vector<QRect> boxes;
  for (const bool below : {isBelow, !isBelow}) {
    for (const bool right : {isRight, !isRight}) {
      boxes.emplace_back(QPoint(right ? at.x() + gap : at.x() - gap - size.width(),
                                below ? at.y() + gap : at.y() - gap - size.height()),
                         size);
    }
  }
  // The eye is on the pixel while an area is drawn; an area that is there is looked at as a whole.
  if (model.adjustment() != nullptr) {
    std::ranges::copy(besideArea(layout.chosen, at, size, display, gap), std::back_inserter(boxes));
    std::ranges::copy(besideArea(layout.chosen | layout.bar.panel, at, size, display, gap),
                      std::back_inserter(boxes));
  }
  QRect best = boxes.front();
  int least = std::numeric_limits<int>::max();
  for (const QRect& box : boxes) {
    const int faults = (display.contains(box) ? 0 : 4) +
                       (box.intersects(layout.bar.panel) ? 2 : 0) +
                       (box.intersects(layout.chosen) ? 1 : 0);
    if (faults >= least) continue;
    best = box;
    least = faults;
  }
  return best;
}

/// What keys do now, those without which nobody gets on first.
std::vector<SelectionHint> hintsFor(const SelectionModel& model) {
  std::vector<SelectionHint> hints;
  const auto add = [&](const char* key, const char* effect) {
    hints.push_back({QString::fromUtf8(key), QString::fromUtf8(effect), {}, {}});
  };
  const int leastScrolled = model.leastScrolledHeight();
  const auto addSteps = [&] {
    add("Arrow keys", "1 pixel");
    add("Shift, Ctrl", "10, 50 pixels");
  };
  const auto addDisplays = [&] {
    add("Ctrl+A", "adjust the display");
    if (model.canChangeDisplay()) add("Ctrl+Tab", "next display");
  };
  if (model.sizeEntry()) {
    const bool isWidth = model.sizeEntry()->field() == SizeEntry::Field::width;
    add(returnKeyName, "set the size");
    add("Tab", isWidth ? "height" : "next handle");
    add("Ctrl+A", "select the number");
    add("Esc", "back");
    return hints;
  }
  if (model.adjustment() != nullptr) {
    add(returnKeyName, "capture");
    add("Tab", "next handle");
    addSteps();
    if (model.canPickWindows()) add("Space", "choose a window");
    if (model.adjustment()->area() != model.display().area) add("Ctrl+A", "whole display");
    if (model.canChangeDisplay()) add("Ctrl+Tab", "next display");
    add("Esc", "back");
    return hints;
  }
  if (model.isDragging() && model.isDrawnByKeys()) {
    add(returnKeyName, "set the other corner");
    addSteps();
    add("Ctrl+A", "adjust the display");
    add("Esc", "back");
    return hints;
  }
  if (model.isDragging()) {
    add("Space", "move");
    add("Arrow keys", "1 pixel");
    add("Shift", "10 pixels");
    add("Ctrl", "adjust before capturing");
  } else if (model.isDrawnByKeys()) {
    add(returnKeyName, "set a corner");
    addSteps();
    addDisplays();
    add("C", "copy the color");
  } else if (model.mode() == CaptureMode::region) {
    if (leastScrolled > 0) {
      add("Drag", fmt::format("area to scroll, {} pixels high or more", leastScrolled).c_str());
    } else {
      add("Drag", "capture an area");
    }
    if (model.canPickWindows()) add("Space", "choose a window");
    add(returnKeyName, "whole display");
    add("Ctrl+A", "adjust it");
    if (model.canChangeDisplay()) add("Ctrl+Tab", "next display");
    add("Arrow keys", "1 pixel");
    add("C", "copy the color");
  } else if (model.mode() == CaptureMode::window) {
    add("Click", leastScrolled > 0 ? "window to scroll" : "capture the window");
    if (model.chosenWindow() != nullptr) add(returnKeyName, "capture");
    add("Tab", "next window");
    add("Space", "choose an area");
    addDisplays();
  } else {
    add("Click", "capture the display");
    add("Space", "choose an area");
    addDisplays();
  }
  add("Esc", model.canGoBack() ? "back" : "cancel");
  return hints;
}

/// Sets the line at the bottom of the display, or at the top when the pointer or the selection is
/// there. Where the display is too narrow for all, the first key stays longest, and then the last.
void layOutHints(const SelectionModel& model, Measure measure, SelectionLayout& layout) {
  const QRect display = rectOf(model.display().area);
  const QFontMetrics metrics(selection_style::font(layout.scale));
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
  const auto fit = [&](int room) {
    while (hints.size() > 1 && lineWidth() > room) {
      hints.erase(hints.end() - (hints.size() > 2 ? 2 : 1));
    }
  };
  fit(display.width());
  const QSize size(lineWidth(), height);
  const int x = display.center().x() - size.width() / 2;
  QRect line({x, display.bottom() - measure(32) - size.height()}, size);
  const QRect near = line.adjusted(-measure(40), -measure(40), measure(40), measure(40));
  if (near.contains(model.pointer()) || near.intersects(layout.loupe | layout.caption) ||
      near.intersects(layout.bar.panel) ||
      (!layout.isPick && near.intersects(layout.chosen) &&
       !near.translated(0, display.top() + measure(32) - line.top()).intersects(layout.chosen))) {
    line.moveTop(display.top() + measure(32));
  }
  if (const QRect loupe = layout.loupe | layout.caption;
      !layout.loupe.isEmpty() && line.intersects(loupe)) {
    // Beside it, on the wider side.
    const bool isLeft = loupe.left() - display.left() > display.right() - loupe.right();
    const int from = isLeft ? display.left() : loupe.right() + 1 + measure(12);
    const int to = isLeft ? loupe.left() - 1 - measure(12) : display.right();
    fit(to - from);
    line.setWidth(lineWidth());
    line.moveLeft(from + (to - from - line.width()) / 2);
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

void layOutHandles(const AreaAdjustment& adjustment, Measure measure, SelectionLayout& layout) {
  const int side = measure(10);
  for (const AreaGrip grip : areaHandles) {
    const QRect handle(adjustment.placeOf(grip) - QPoint(side / 2, side / 2), QSize(side, side));
    layout.handles.push_back(handle);
    if (grip == adjustment.focus()) layout.focusedHandle = handle;
  }
}

/// The loupe, and below it the size of what is drawn, the pixel's place and its color.
void layOutLoupe(const SelectionModel& model, const SelectionStatus& status, Measure measure,
                 SelectionLayout& layout) {
  const QRect display = rectOf(model.display().area);
  QStringList lines;
  if (model.isDragging()) {
    lines.append(sizeText(model.chosenArea()));
  } else if (model.adjustment() == nullptr) {
    layout.hairlineAcross = QRect(display.left(), layout.detail.y(), display.width(), 1);
    layout.hairlineDown = QRect(layout.detail.x(), display.top(), 1, display.height());
  }
  const QPoint inside = layout.detail - display.topLeft();
  lines.append(QStringLiteral("%1, %2").arg(inside.x()).arg(inside.y()));
  lines.append(status.color);
  const QRect box = besideDetail(model, layout, loupeSize(lines, layout.scale), measure(24));
  const Loupe loupe = loupeAt(box.topLeft(), lines, layout.scale);
  layout.loupe = loupe.pixels;
  layout.caption = loupe.caption;
  layout.captionText = loupe.captionText;
}

}  // namespace

SelectionLayout layOutSelection(const SelectionModel& model, const SelectionStatus& status) {
  SelectionLayout layout;
  layout.scale = model.display().drawingScale;
  const Measure measure{layout.scale};
  const QFontMetrics metrics(selection_style::font(layout.scale));
  const PixelRect chosen = model.chosenArea();
  layout.chosen = rectOf(chosen);
  layout.isPick = model.mode() != CaptureMode::region;
  layout.display = rectOf(model.display().area);

  const int captionHeight = metrics.height() + measure(8);
  if (layout.isPick) {
    if (!chosen.isEmpty()) {
      const auto* const window =
          model.mode() == CaptureMode::window ? model.chosenWindow() : nullptr;
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
  }
  if (const AreaAdjustment* const adjustment = model.adjustment())
    layOutHandles(*adjustment, measure, layout);
  layout.bar = layOutBar(model, layout.scale, status.hovered);
  if (const auto detail = model.detail()) {
    layout.detail = *detail;
    layOutLoupe(model, status, measure, layout);
  }
  layOutHints(model, measure, layout);
  return layout;
}

QRegion SelectionLayout::changeFrom(const SelectionLayout& before) const {
  // A pick is tinted, an area is not.
  QRegion changed = isPick == before.isPick ? QRegion(before.chosen) ^ QRegion(chosen)
                                            : QRegion(before.chosen) + QRegion(chosen);
  const auto addAll = [&](const SelectionLayout& layout) {
    const int rim = static_cast<int>(std::ceil(4 * layout.scale));
    if (!layout.chosen.isEmpty()) {
      changed += QRegion(layout.chosen.adjusted(-rim, -rim, rim, rim)) -
                 QRegion(layout.chosen.adjusted(rim, rim, -rim, -rim));
    }
    for (const QRect& handle : layout.handles) {
      changed += handle.adjusted(-3 * rim, -3 * rim, 3 * rim, 3 * rim);
    }
    changed += layout.hairlineAcross;
    changed += layout.hairlineDown;
    changed += (layout.loupe | layout.caption).adjusted(-rim, -rim, rim, rim);
  };
  addAll(before);
  addAll(*this);
  if (bar != before.bar) {
    changed += QRegion(before.bar.panel) + before.bar.tip + bar.panel + bar.tip;
  }
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
