#include "ui/history/hit_painting.hpp"

#include <QPainter>
#include <QTextLayout>
#include <algorithm>

namespace vantorel {
namespace {

const QColor penColor(0xff, 0xe2, 0x7a);
const QColor rimColor(0xb9, 0x89, 0x00);
const QColor currentPenColor(0xff, 0xa9, 0x4d);
const QColor currentRimColor(0x8a, 0x3d, 0x00);
const QColor onPenColor(0x1b, 0x1c, 0x1f);
constexpr double rimWidth = 1.5;
constexpr double currentRimWidth = 3;
constexpr double hitRadius = 2;

QString stretchOf(const TextSnippet& snippet, std::size_t begin, std::size_t end) {
  return QString::fromUtf8(snippet.text.data() + begin, static_cast<qsizetype>(end - begin));
}

}  // namespace

void paintHits(QPainter& painter, const std::vector<QRectF>& hits, int current) {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setCompositionMode(QPainter::CompositionMode_Multiply);
  for (std::size_t i = 0; i < hits.size(); ++i) {
    painter.setBrush(static_cast<int>(i) == current ? currentPenColor : penColor);
    painter.drawRoundedRect(hits[i], hitRadius, hitRadius);
  }
  painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
  painter.setBrush(Qt::NoBrush);
  for (std::size_t i = 0; i < hits.size(); ++i) {
    const bool isCurrent = static_cast<int>(i) == current;
    painter.setPen(isCurrent ? QPen(currentRimColor, currentRimWidth) : QPen(rimColor, rimWidth));
    painter.drawRoundedRect(hits[i], hitRadius, hitRadius);
  }
  painter.restore();
}

std::vector<QRectF> placedHits(const std::vector<Box>& boxes, const QRectF& picture) {
  // The rim stands around the letters.
  constexpr double room = 1.5;
  std::vector<QRectF> hits;
  for (const Box& box : boxes) {
    hits.push_back(QRectF(picture.x() + box.x * picture.width(),
                          picture.y() + box.y * picture.height(), box.w * picture.width(),
                          box.h * picture.height())
                       .adjusted(-room, -room, room, room));
  }
  return hits;
}

void paintSnippet(QPainter& painter, const QRect& area, const TextSnippet& snippet,
                  const QFont& font, const QColor& color) {
  if (snippet.isEmpty()) return;
  const QFontMetrics metrics(font);
  // Words before the first hit leave until it is seen.
  std::size_t begin = 0;
  QString before;
  if (!snippet.hits.empty()) {
    const TextRange& hit = snippet.hits.front();
    while (metrics.horizontalAdvance(before + stretchOf(snippet, begin, hit.end) + "…") >
           area.width()) {
      const std::size_t blank = snippet.text.find(' ', begin);
      if (blank >= hit.begin) {
        begin = hit.begin;
        before = "…";
        break;
      }
      begin = blank + 1;
      before = "…";
    }
  }
  const QString text = before + stretchOf(snippet, begin, snippet.text.size());
  const QString shown = metrics.elidedText(text, Qt::ElideRight, area.width());
  QList<QTextLayout::FormatRange> formats;
  QTextCharFormat marked;
  marked.setBackground(penColor);
  marked.setForeground(onPenColor);
  for (const TextRange& hit : snippet.hits) {
    if (hit.begin < begin) continue;
    const qsizetype from = before.size() + stretchOf(snippet, begin, hit.begin).size();
    const qsizetype length = stretchOf(snippet, hit.begin, hit.end).size();
    const qsizetype left = std::min(length, shown.size() - from);
    if (left > 0) formats.push_back({static_cast<int>(from), static_cast<int>(left), marked});
  }
  QTextLayout layout(shown, font);
  layout.setFormats(formats);
  layout.beginLayout();
  QTextLine line = layout.createLine();
  line.setLineWidth(area.width());
  layout.endLayout();
  painter.setPen(color);
  layout.draw(&painter, QPointF(area.left(), area.top() + (area.height() - line.height()) / 2));
}

}  // namespace vantorel
