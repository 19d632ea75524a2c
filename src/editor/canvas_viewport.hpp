#pragma once

#include "base/geometry.hpp"
#include "editor/records/box.hpp"

namespace vantorel {

/// How the canvas lies in the window: zoom and place. Places of the view are device pixels of the
/// window's canvas, origin at its top left; the canvas never lies between two of them. Pure.
class CanvasViewport {
 public:
  /// Zooms by hand lie between these, in steps of √2. To fit, it may be less.
  static constexpr double least = 0.0625;
  static constexpr double most = 32;

  /// The size of the view, and the room to be left around what fits it. What was fitted fits
  /// again; else the middle stays in the middle.
  void setView(PixelSize view, double margin);

  /// What is shown, in canvas pixels. `shift` is how far it has moved on the canvas, as when that
  /// grew to the left: on the view it stays where it was.
  void setContent(const Box& canvas, Pt shift = {});

  /// As large as the view has room for, and never above 100 %. Stays so until zoomed or panned.
  void fit();
  [[nodiscard]] bool isFit() const { return isFit_; }

  /// Device pixels per canvas pixel.
  [[nodiscard]] double zoom() const { return zoom_; }

  /// What lies below `viewSpot` stays there, as far as the content stays in view.
  void setZoom(double zoom, Pt viewSpot);
  void zoomIn(Pt viewSpot);
  void zoomOut(Pt viewSpot);

  /// Device pixels, down and right. Some of the content always stays in view.
  void pan(double dx, double dy);

  [[nodiscard]] Pt toCanvas(Pt view) const;
  [[nodiscard]] Pt toView(Pt canvas) const;
  [[nodiscard]] Box toView(const Box& canvas) const;

  /// All of the view that a change of these canvas pixels can change: what is scaled mixes
  /// neighbours.
  [[nodiscard]] PixelRect toViewOut(const PixelRect& canvas) const;

  /// The view's place of the canvas's origin: whole device pixels.
  [[nodiscard]] Pt offset() const;

  [[nodiscard]] Pt middle() const { return {view_.width / 2.0, view_.height / 2.0}; }

  /// Scrolls on while something is dragged to the view's edge, the faster the nearer, for the time
  /// that has passed. True when it moved.
  bool scrollAtEdge(Pt viewSpot, double seconds);

 private:
  void place(Pt offset);

  PixelSize view_;
  double margin_ = 0;
  Box content_;
  double zoom_ = 1;
  Pt offset_;  // not rounded, so that steps to and fro lead back
  bool isFit_ = true;
};

}  // namespace vantorel
