#include "editor/canvas_viewport.hpp"

#include <algorithm>
#include <cmath>

namespace vantorel {
namespace {

constexpr double leastShown = 48;  // device pixels of the content, each way
constexpr double edge = 32;        // how near to the edge scrolling begins
constexpr double fastest = 1800;   // device pixels a second
constexpr int leastStep = -8;      // of √2, from 100 %
constexpr int mostStep = 10;

double zoomOfStep(int step) { return std::pow(2.0, std::clamp(step, leastStep, mostStep) / 2.0); }

/// Keeps content from `start` on and `length` long in view.
double bounded(double start, double length, double view) {
  const double shown = std::min({leastShown, length, view});
  return std::clamp(start, shown - length, std::max(view - shown, shown - length));
}

/// How fast to scroll, when the pointer is at `at` in a view of this length.
double speed(double at, double view) {
  const double near = std::min(edge, view / 4);
  if (at < near) return std::min((near - at) / edge, 1.0) * fastest;
  if (at > view - near) return -std::min((at - (view - near)) / edge, 1.0) * fastest;
  return 0;
}

}  // namespace

void CanvasViewport::place(Pt offset) {
  const double x = bounded(offset.x + zoom_ * content_.x, zoom_ * content_.w, view_.width);
  const double y = bounded(offset.y + zoom_ * content_.y, zoom_ * content_.h, view_.height);
  offset_ = {x - zoom_ * content_.x, y - zoom_ * content_.y};
}

void CanvasViewport::setView(PixelSize view, double margin) {
  const Pt before = middle();
  view_ = view;
  margin_ = margin;
  if (isFit_) return fit();
  place({offset_.x + middle().x - before.x, offset_.y + middle().y - before.y});
}

void CanvasViewport::setContent(const Box& canvas, Pt shift) {
  content_ = canvas;
  if (isFit_) return fit();
  place({offset_.x - zoom_ * shift.x, offset_.y - zoom_ * shift.y});
}

void CanvasViewport::fit() {
  isFit_ = true;
  if (!(content_.w > 0) || !(content_.h > 0)) return;
  const auto room = [this](int length) { return std::max(length - 2 * margin_, 1.0); };
  zoom_ = std::min({1.0, room(view_.width) / content_.w, room(view_.height) / content_.h});
  offset_ = {middle().x - zoom_ * (content_.x + content_.w / 2),
             middle().y - zoom_ * (content_.y + content_.h / 2)};
}

void CanvasViewport::setZoom(double zoom, Pt viewSpot) {
  isFit_ = false;
  // One that was smaller, to fit, may stay so.
  zoom = std::clamp(zoom, std::min(least, zoom_), most);
  const double factor = zoom / zoom_;
  zoom_ = zoom;
  place({viewSpot.x - factor * (viewSpot.x - offset_.x),
         viewSpot.y - factor * (viewSpot.y - offset_.y)});
}

void CanvasViewport::zoomIn(Pt viewSpot) {
  const double step = 2 * std::log2(zoom_);
  setZoom(zoomOfStep(static_cast<int>(std::floor(step + 0.01)) + 1), viewSpot);
}

void CanvasViewport::zoomOut(Pt viewSpot) {
  const double step = 2 * std::log2(zoom_);
  setZoom(std::min(zoomOfStep(static_cast<int>(std::ceil(step - 0.01)) - 1), zoom_), viewSpot);
}

void CanvasViewport::pan(double dx, double dy) {
  isFit_ = false;
  place({offset_.x + dx, offset_.y + dy});
}

Pt CanvasViewport::offset() const { return {std::round(offset_.x), std::round(offset_.y)}; }

Pt CanvasViewport::toCanvas(Pt view) const {
  const Pt origin = offset();
  return {(view.x - origin.x) / zoom_, (view.y - origin.y) / zoom_};
}

Pt CanvasViewport::toView(Pt canvas) const {
  const Pt origin = offset();
  return {origin.x + zoom_ * canvas.x, origin.y + zoom_ * canvas.y};
}

Box CanvasViewport::toView(const Box& canvas) const {
  const Pt corner = toView(Pt{canvas.x, canvas.y});
  return {corner.x, corner.y, zoom_ * canvas.w, zoom_ * canvas.h};
}

PixelRect CanvasViewport::toViewOut(const PixelRect& canvas) const {
  // Up to four pixels are made one before, and the one beside is mixed in.
  const double reach = zoom_ == 1 ? 0 : zoom_ < 0.25 ? 8 : zoom_ < 0.5 ? 4 : zoom_ < 1 ? 2 : 1;
  const Box box = toView(
      Box{canvas.x - reach, canvas.y - reach, canvas.width + 2 * reach, canvas.height + 2 * reach});
  const int left = static_cast<int>(std::floor(box.x));
  const int top = static_cast<int>(std::floor(box.y));
  const PixelRect whole{left, top, static_cast<int>(std::ceil(box.right())) - left,
                        static_cast<int>(std::ceil(box.bottom())) - top};
  return intersection(whole, {0, 0, view_.width, view_.height});
}

bool CanvasViewport::scrollAtEdge(Pt viewSpot, double seconds) {
  const Pt before = offset();
  const Pt from = offset_;
  const double dx = speed(viewSpot.x, view_.width) * seconds;
  const double dy = speed(viewSpot.y, view_.height) * seconds;
  if (dx == 0 && dy == 0) return false;
  // Not beyond the content's own edge and the margin there.
  const auto limited = [this](double shift, double start, double length, double view) {
    const double low = std::min(view - margin_ - length, start);
    const double high = std::max(margin_, start);
    return std::clamp(start + shift, low, high) - start;
  };
  const Box shown{from.x + zoom_ * content_.x, from.y + zoom_ * content_.y, zoom_ * content_.w,
                  zoom_ * content_.h};
  const double right = limited(dx, shown.x, shown.w, view_.width);
  const double down = limited(dy, shown.y, shown.h, view_.height);
  if (right != 0 || down != 0) pan(right, down);
  return offset() != before;
}

}  // namespace vantorel
