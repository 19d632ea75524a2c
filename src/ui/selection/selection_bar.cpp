#include "ui/selection/selection_bar.hpp"

#include <QFontMetrics>
#include <QPainterPath>
#include <QPen>
#include <algorithm>

#include "app/records/hot_key_text.hpp"
#include "ui/selection/selection_style.hpp"

namespace vantorel {
namespace {

using selection_style::Measure;
using Part = SelectionBar::Part;

constexpr double controlHeight = 28;
constexpr double radius = 6;

QFont strong(QFont font) {
  font.setWeight(QFont::DemiBold);
  return font;
}

QString captureText() { return QStringLiteral("Capture"); }
QString captureKeyText() { return QString::fromUtf8(returnKeyName); }

QString tipOf(Part part) {
  switch (part) {
    case Part::copy: return QStringLiteral("Copy (Ctrl+C)");
    case Part::close: return QStringLiteral("Close (Esc)");
    case Part::width:
    case Part::height:
    case Part::capture: return {};
  }
  return {};
}

QPoint placeOf(const QSize& panel, const QRect& area, const QRect& display, Measure measure) {
  const int gap = measure(16);
  const int margin = measure(8);
  int top = area.bottom() + 1 + gap;
  if (top + panel.height() > display.bottom()) top = area.top() - gap - panel.height();
  if (top < display.top()) top = area.bottom() + 1 - gap - panel.height();
  const int left =
      std::clamp(area.center().x() - panel.width() / 2, display.left() + margin,
                 std::max(display.left() + margin, display.right() - margin - panel.width()));
  return {left, top};
}

/// The icons' grid is 24 wide, their lines 1.75.
QPainterPath iconOf(Part part) {
  QPainterPath path;
  if (part == Part::copy) {
    path.addRoundedRect(QRectF(8.5, 8.5, 12, 12), 2, 2);
    path.moveTo(15.5, 8.5);
    path.lineTo(15.5, 5.5);
    path.arcTo(QRectF(11.5, 3.5, 4, 4), 0, 90);
    path.lineTo(5.5, 3.5);
    path.arcTo(QRectF(3.5, 3.5, 4, 4), 90, 90);
    path.lineTo(3.5, 13.5);
    path.arcTo(QRectF(3.5, 11.5, 4, 4), 180, 90);
    path.lineTo(8.5, 15.5);
  } else {
    path.moveTo(6, 6);
    path.lineTo(18, 18);
    path.moveTo(18, 6);
    path.lineTo(6, 18);
  }
  return path;
}

void paintIcon(QPainter& painter, Part part, const QRect& box, double scale) {
  const double unit = 20 * scale / 24;
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing, true);
  painter.translate(QRectF(box).center() - QPointF(12, 12) * unit);
  painter.scale(unit, unit);
  painter.setPen(QPen(selection_style::text, 1.75, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.setBrush(Qt::NoBrush);
  painter.drawPath(iconOf(part));
  painter.restore();
}

void paintField(QPainter& painter, const SelectionBar& bar, const SelectionBar::Item& item,
                double scale) {
  const Measure measure{scale};
  const bool isWidth = item.part == Part::width;
  const bool isTyped = bar.typing == (isWidth ? SizeEntry::Field::width : SizeEntry::Field::height);
  const QString& text = isWidth ? bar.widthText : bar.heightText;
  if (isTyped) {
    const int ring = measure(2);
    selection_style::paintRounded(painter, item.box.adjusted(-ring, -ring, ring, ring),
                                  (radius + 2) * scale, selection_style::accent);
  }
  selection_style::paintRounded(
      painter, item.box, radius * scale,
      bar.hovered == item.part || isTyped ? QColor(0x3a, 0x3d, 0x44) : QColor(0x2e, 0x30, 0x36));
  const int width = QFontMetrics(painter.font()).horizontalAdvance(text);
  QRect written(0, 0, width, painter.fontMetrics().height());
  written.moveCenter(item.box.center());
  if (isTyped && bar.isReplacing) painter.fillRect(written, selection_style::accentFill);
  painter.setPen(selection_style::text);
  painter.drawText(item.box, Qt::AlignCenter, text);
  if (isTyped && !bar.isReplacing) {
    painter.fillRect(QRect(written.right() + 1, written.top(), measure(1), written.height()),
                     selection_style::text);
  }
}

}  // namespace

std::optional<Part> SelectionBar::partAt(QPoint point) const {
  for (const Item& item : items) {
    if (item.box.contains(point)) return item.part;
  }
  return std::nullopt;
}

SelectionBar layOutBar(const SelectionModel& model, double scale, std::optional<Part> hovered) {
  SelectionBar bar;
  if (model.adjustment() == nullptr || model.adjustment()->held()) return bar;
  const Measure measure{scale};
  const QFontMetrics metrics(selection_style::font(scale));
  const PixelRect& chosen = model.adjustment()->area();
  bar.widthText = QString::number(chosen.width);
  bar.heightText = QString::number(chosen.height);
  if (const auto& entry = model.sizeEntry()) {
    bar.typing = entry->field();
    bar.isReplacing = entry->isReplacing();
    (entry->field() == SizeEntry::Field::width ? bar.widthText : bar.heightText) =
        QString::fromStdString(entry->text());
  }

  const int pad = measure(8);
  const int height = std::max(measure(controlHeight), metrics.height() + measure(8));
  int left = pad;
  const auto take = [&](int width, int gap) {
    const QRect box(left, pad, width, height);
    left += width + gap;
    return box;
  };
  const int field = std::max(measure(52), metrics.horizontalAdvance(u'0') * 5 + measure(12));
  bar.items.push_back({Part::width, take(field, measure(4))});
  bar.times = take(metrics.horizontalAdvance(QStringLiteral("×")) + measure(4), measure(4));
  bar.items.push_back({Part::height, take(field, measure(10))});
  bar.separator = take(measure(1), measure(10)).adjusted(0, measure(4), 0, -measure(4));
  bar.items.push_back({Part::copy, take(measure(36), measure(2))});
  bar.items.push_back({Part::close, take(measure(36), measure(6))});
  const int label =
      QFontMetrics(strong(selection_style::font(scale))).horizontalAdvance(captureText());
  const int key = metrics.horizontalAdvance(captureKeyText()) + measure(12);
  const QRect capture = take(measure(10) + label + measure(8) + key + measure(5), pad);
  bar.items.push_back({Part::capture, capture});
  bar.captureLabel = QRect(capture.left() + measure(10), pad, label, height);
  bar.captureKey = QRect(bar.captureLabel.right() + 1 + measure(8), pad + measure(5), key,
                         height - 2 * measure(5));
  if (bar.typing) {
    // Return is the number's then.
    bar.captureLabel.moveCenter(capture.center());
    bar.captureKey = {};
  }
  bar.panel = QRect(0, 0, left, height + 2 * pad);

  const PixelRect& display = model.display().area;
  const QPoint corner =
      placeOf(bar.panel.size(), QRect(chosen.x, chosen.y, chosen.width, chosen.height),
              QRect(display.x, display.y, display.width, display.height), measure);
  for (QRect* const rect :
       {&bar.panel, &bar.times, &bar.separator, &bar.captureLabel, &bar.captureKey}) {
    if (!rect->isEmpty()) rect->translate(corner);
  }
  for (auto& item : bar.items) item.box.translate(corner);

  bar.hovered = hovered;
  for (const auto& item : bar.items) {
    if (hovered != item.part) continue;
    bar.tipText = tipOf(item.part);
    if (bar.tipText.isEmpty()) break;
    bar.tip.setSize(
        {metrics.horizontalAdvance(bar.tipText) + measure(16), metrics.height() + measure(8)});
    bar.tip.moveCenter(item.box.center());
    // On the side away from the area, where there is room.
    const int gap = measure(6);
    const bool isBelow = bar.panel.top() > chosen.y;
    bar.tip.moveTop(isBelow ? bar.panel.bottom() + 1 + gap
                            : bar.panel.top() - gap - bar.tip.height());
    if (bar.tip.bottom() >= display.bottom()) {
      bar.tip.moveBottom(bar.panel.top() - 1 - gap);
    } else if (bar.tip.top() < display.y) {
      bar.tip.moveTop(bar.panel.bottom() + 1 + gap);
    }
  }
  return bar;
}

void paintBar(QPainter& painter, const SelectionBar& bar, double scale) {
  if (bar.panel.isEmpty()) return;
  selection_style::paintPanel(painter, bar.panel, 10 * scale, scale);
  for (const auto& item : bar.items) {
    switch (item.part) {
      case Part::width:
      case Part::height: paintField(painter, bar, item, scale); break;
      case Part::copy:
      case Part::close:
        if (bar.hovered == item.part) {
          selection_style::paintRounded(painter, item.box, radius * scale,
                                        QColor(255, 255, 255, 26));
        }
        paintIcon(painter, item.part, item.box, scale);
        break;
      case Part::capture:
        selection_style::paintRounded(painter, item.box, radius * scale,
                                      bar.hovered == item.part
                                          ? selection_style::accentFill.darker(115)
                                          : selection_style::accentFill);
        break;
    }
  }
  painter.fillRect(bar.separator, selection_style::key);
  painter.setPen(selection_style::quietText);
  painter.drawText(bar.times, Qt::AlignCenter, QStringLiteral("×"));
  const QFont plain = painter.font();
  painter.setPen(Qt::white);
  painter.setFont(strong(plain));
  painter.drawText(bar.captureLabel, Qt::AlignCenter, captureText());
  painter.setFont(plain);
  if (!bar.captureKey.isEmpty()) {
    selection_style::paintRounded(painter, bar.captureKey, 4 * scale, QColor(0, 0, 0, 70));
    painter.setPen(Qt::white);
    painter.drawText(bar.captureKey, Qt::AlignCenter, captureKeyText());
  }
  if (!bar.tip.isEmpty()) {
    selection_style::paintPanel(painter, bar.tip, 4 * scale, scale);
    painter.setPen(selection_style::text);
    painter.drawText(bar.tip, Qt::AlignCenter, bar.tipText);
  }
}

}  // namespace vantorel
