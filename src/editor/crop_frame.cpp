#include "editor/crop_frame.hpp"

#include <algorithm>
#include <cmath>

namespace vantorel {
namespace {

/// Where a side of `length` begins that is to lie about `middle`, within `room` where it fits.
double cropStart(double middle, double length, double room) {
  const double start = std::round(middle - length / 2);
  return length <= room ? std::clamp(start, 0.0, room - length) : start;
}

}  // namespace

std::optional<double> cropRatio(CropAspect aspect) {
  switch (aspect) {
    case CropAspect::free: return std::nullopt;
    case CropAspect::square: return 1;
    case CropAspect::fourByThree: return 4.0 / 3;
    case CropAspect::sixteenByNine: return 16.0 / 9;
  }
  return std::nullopt;
}

Box fittedToRatio(const Box& frame, double ratio) {
  const double width = std::max(1.0, std::round(std::min(frame.w, frame.h * ratio)));
  const double height = std::max(1.0, std::round(width / ratio));
  return {std::round(frame.x + (frame.w - width) / 2), std::round(frame.y + (frame.h - height) / 2),
          width, height};
}

void chooseCropAspect(EditorModel& editor, CropAspect aspect) {
  editor.setCropAspect(aspect);
  const auto ratio = cropRatio(aspect);
  if (ratio && editor.pendingCrop()) {
    editor.setPendingCrop(fittedToRatio(*editor.pendingCrop(), *ratio));
  }
}

bool setCropSize(EditorModel& editor, double width, double height, bool heightDecides) {
  if (const auto ratio = cropRatio(editor.cropAspect())) {
    if (heightDecides) {
      width = height * *ratio;
    } else {
      height = width / *ratio;
    }
  }
  width = std::round(width);
  height = std::round(height);
  const CanvasSize canvas = editor.canvasSize();
  const bool isWithin =
      width >= 1 && height >= 1 && width <= canvas.width && height <= canvas.height;
  if (!isWithin && !isPossibleCanvas({width, height}, canvas)) return false;
  const Box before = editor.pendingCrop().value_or(Box{0, 0, canvas.width, canvas.height});
  editor.setPendingCrop(Box{cropStart(before.x + before.w / 2, width, canvas.width),
                            cropStart(before.y + before.h / 2, height, canvas.height), width,
                            height});
  return true;
}

}  // namespace vantorel
