#pragma once

#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/geometry.hpp"
#include "base/image.hpp"
#include "base/lifetime.hpp"
#include "base/observers.hpp"
#include "base/task_runner.hpp"
#include "editor/records/box.hpp"
#include "platform/clipboard.hpp"
#include "platform/image_codec.hpp"

namespace vantorel {

/// One picture that floats above all windows: where it is, how large and how visible. Lives on the
/// main runner.
class PinModel {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;  ///< encodes pictures
    std::shared_ptr<const ImageCodec> codec;
    std::function<Clipboard*()> clipboard;  ///< null when there is none
  };

  static constexpr double zoomStep = 1.1;
  static constexpr double leastOpacity = 0.2;
  /// Of a pin that lets clicks through, so that what lies below can be seen.
  static constexpr double throughOpacity = 0.6;
  /// So much of a pin stays on a display, whatever becomes of the displays.
  static constexpr double leastSeen = 48;

  /// `picture` as it is shown, at `scale` pixels a point.
  PinModel(Services services, std::string title, Image picture, double scale);

  [[nodiscard]] const std::string& title() const { return title_; }
  [[nodiscard]] const Image& picture() const { return picture_; }

  /// What changed.
  struct Change {
    bool picture = false;
    bool frame = false;
    bool part = false;    ///< what of the picture is shown
    bool look = false;    ///< opacity, clicks, what is said
    bool keys = false;    ///< it is to take the keyboard
    bool next = false;    ///< the keyboard is to go on to the next pin
    bool closed = false;  ///< it is to go
  };
  [[nodiscard]] Observation observe(std::function<void(const Change&)> changed) {
    return observers_.add(std::move(changed));
  }

  /// Another picture of the same capture, which was annotated, redacted, cropped or compressed: it
  /// keeps its middle, and what it shows keeps its size.
  void setPicture(Image picture, double scale);
  void setTitle(std::string title) { title_ = std::move(title); }

  // ---- place and size, in points of the desktop

  /// The displays there are now. So much of it stays on one of them that it can be seen and moved,
  /// whatever is done with it, and it grows to twice their size at most.
  void setDisplays(std::vector<Box> displays);
  /// On the display `area`, at most half as wide and high, each next one (`place` counts from 0) a
  /// little beside the one before. A picture so tall that it would be a strip is as wide as can be
  /// read instead, shows as much as fits, from its top, and is scrolled.
  void placeOn(const Box& area, int place);
  [[nodiscard]] const Box& frame() const { return frame_; }
  /// 1 is a pixel of the picture for each pixel that was captured.
  [[nodiscard]] double zoom() const { return zoom_; }
  void moveBy(double dx, double dy);
  /// What lies below `at` stays there.
  void zoomBy(double steps, Pt at);
  void zoomIn() { zoomBy(1, middle()); }
  void zoomOut() { zoomBy(-1, middle()); }
  /// As it was captured; what lies below `at` stays there.
  void resetZoom(Pt at);
  void resetZoom() { resetZoom(middle()); }
  /// Whether there is more of the picture than is shown.
  [[nodiscard]] bool scrolls() const { return mostScroll() > 0; }
  /// In points, down the picture.
  void scrollBy(double dy);
  /// What of the picture the pin shows.
  [[nodiscard]] PixelRect shownPart() const;

  // ---- how it looks

  [[nodiscard]] double opacity() const;
  /// In steps of a tenth.
  void fade(int steps);
  [[nodiscard]] bool letsClicksThrough() const { return letsClicksThrough_; }
  void setClickThrough(bool isOn);
  /// For one that was asked for again: all of it that fits is on a display, and it takes clicks.
  void comeBack();

  // ---- what is done with it

  /// Copies what it shows.
  void copy();
  /// "Copied", or why not, for a moment; mostly empty.
  [[nodiscard]] const std::string& said() const { return said_; }
  void close();
  void takeKeys();
  void passKeysOn();
  /// Shows `text` on it for a moment.
  void say(std::string text);

 private:
  [[nodiscard]] Pt middle() const { return {frame_.x + frame_.w / 2, frame_.y + frame_.h / 2}; }
  [[nodiscard]] double shownHeight() const { return picture_.height() / scale_ * zoom_; }
  [[nodiscard]] double mostScroll() const { return shownHeight() - frame_.h; }
  void fitFrame();
  [[nodiscard]] double clampedZoom(double zoom) const;
  void setZoom(double zoom, Pt at);
  /// On the nearest display, `least` points of it across and down, or all where it is smaller.
  void keepSeen(double least = leastSeen);

  Services services_;
  std::string title_;
  Image picture_;
  double scale_;
  Box frame_;
  std::vector<Box> displays_;
  double zoom_ = 1;
  double tallest_ = std::numeric_limits<double>::max();  // that the frame gets
  double scroll_ = 0;                                    // of the picture's top above the frame's
  double opacity_ = 1;
  bool letsClicksThrough_ = false;
  std::string said_;
  Observers<Change> observers_;
  Lifetime saying_;
  Lifetime lifetime_;
};

}  // namespace vantorel
