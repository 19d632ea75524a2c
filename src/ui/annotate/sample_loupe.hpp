#pragma once

#include <QImage>
#include <QPainter>
#include <QRect>
#include <optional>
#include <string>

#include "editor/records/box.hpp"
#include "ui/selection/loupe.hpp"

namespace vantorel {

/// The eyedropper's loupe beside the pointer: where it is on the canvas, and the color as it would
/// be copied; none outside the picture. `pointer` and `view` are in device pixels of the canvas
/// widget, `scale` is its device pixels per point. What has to be painted again is `area()` of the
/// one before and of this one.
[[nodiscard]] Loupe sampleLoupe(QPoint pointer, const QRect& view, Pt pixel,
                                const std::optional<std::string>& color, double scale);

/// Paints it with `pixels`, the `loupePixels` square of the canvas around the pointer's pixel;
/// what is transparent there is black. The painter's unit is the device pixel.
void paintSampleLoupe(QPainter& painter, const Loupe& loupe, const QImage& pixels);

}  // namespace vantorel
