#pragma once

#include <QFont>
#include <QRect>
#include <QRectF>
#include <vector>

#include "editor/text_hits.hpp"

class QColor;
class QPainter;

namespace vantorel {

// What a search has found, marked as with a pen.

/// Marks words on a picture that has been painted; `hits` in the painter's coordinates. That of
/// `current` stands out.
void paintHits(QPainter& painter, const std::vector<QRectF>& hits, int current = -1);

/// Boxes that are fractions of what lies at `picture`.
[[nodiscard]] std::vector<QRectF> placedHits(const std::vector<Box>& boxes, const QRectF& picture);

/// A line with its hits marked, cut so that the first one is seen.
void paintSnippet(QPainter& painter, const QRect& area, const TextSnippet& snippet,
                  const QFont& font, const QColor& color);

}  // namespace vantorel
