#include "platform/linux/vision/opencv_detector.hpp"

#include <opencv2/core/utils/logger.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/objdetect.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <system_error>
#include <vector>

namespace vantorel {
namespace {

/// What is found, in pixels of the picture, with how sure the detector is of it.
struct Find {
  PixelRect box;
  double weight = 0;
};

/// How a detector wants to see a picture.
struct View {
  int width = 0;            ///< pictures of other widths are scaled to it
  double mostEnlarged = 1;  ///< but not farther than this
  int rows = 0;             ///< at once; what is taller is looked at in parts
  int sharedRows = 0;       ///< what they have in common, as high as what is looked for
};

cv::Mat brightnessOf(const Image& picture, int top, int rows) {
  cv::Mat bright(rows, picture.width(), CV_8UC1);
  for (int y = 0; y < rows; ++y) {
    const auto row = picture.row(top + y);
    std::uint8_t* const to = bright.ptr(y);
    for (int x = 0; x < picture.width(); ++x) {
      const std::uint8_t* const pixel = row.data() + static_cast<std::size_t>(x) * 4;
      const int paper = picture.format() == PixelFormat::bgrx ? 0 : 255 - pixel[3];
      const int sum = 29 * pixel[0] + 150 * pixel[1] + 77 * pixel[2];
      to[x] = static_cast<std::uint8_t>(std::min((sum >> 8) + paper, 255));
    }
  }
  return bright;
}

double overlapOf(const PixelRect& a, const PixelRect& b) {
  const PixelRect common = intersection(a, b);
  if (common.isEmpty()) return 0;
  const auto area = [](const PixelRect& box) {
    return static_cast<double>(box.width) * static_cast<double>(box.height);
  };
  return area(common) / std::min(area(a), area(b));
}

/// Of boxes around the same thing the surest.
std::vector<PixelRect> withoutDoubles(std::vector<Find> finds) {
  std::ranges::sort(finds, std::greater(), &Find::weight);
  std::vector<PixelRect> kept;
  for (const Find& find : finds) {
    const bool isKnown = std::ranges::any_of(
        kept, [&](const PixelRect& other) { return overlapOf(other, find.box) > 0.5; });
    if (!isKnown) kept.push_back(find.box);
  }
  return kept;
}

using Detect = std::function<std::vector<Find>(const cv::Mat&)>;

/// Whether what is in `box` was drawn by a program: text on a ground, not a photograph. In a
/// photograph hardly any pixel is exactly as bright as its neighbour.
bool isDrawn(const cv::Mat& part, const PixelRect& box) {
  const PixelRect inside = intersection(box, {0, 0, part.cols, part.rows});
  int same = 0;
  int all = 0;
  for (int y = inside.y; y < inside.bottom(); ++y) {
    const std::uint8_t* const row = part.ptr(y);
    for (int x = inside.x + 1; x < inside.right(); ++x) {
      same += row[x] == row[x - 1] ? 1 : 0;
      ++all;
    }
  }
  return 100 * same > 55 * all;
}

/// Looks at the parts of a picture.
Result<std::vector<PixelRect>> findIn(const Image& picture, const View& view,
                                      const std::stop_token& stop, const Detect& detect) {
  try {
    // Threads of its own would fight those of captures for the processor.
    cv::setNumThreads(1);
    std::vector<Find> finds;
    if (picture.isEmpty() || std::min(picture.width(), picture.height()) < 16) {
      return std::vector<PixelRect>();
    }
    const double factor =
        std::min(static_cast<double>(view.width) / picture.width(), view.mostEnlarged);
    const int rows = std::max(static_cast<int>(view.rows / factor), 16);
    const int shared = static_cast<int>(view.sharedRows / factor);
    for (int top = 0;; top += rows - shared) {
      if (stop.stop_requested()) return failed(FailureKind::cancelled, "it was stopped");
      const int height = std::min(rows, picture.height() - top);
      const cv::Mat part = brightnessOf(picture, top, height);
      cv::Mat scaled = part;
      if (factor != 1) {
        scaled = cv::Mat();
        cv::resize(part, scaled, {}, factor, factor, factor < 1 ? cv::INTER_AREA : cv::INTER_CUBIC);
      }
      for (const Find& find : detect(scaled)) {
        const auto place = [&](int pixel) { return static_cast<int>(std::lround(pixel / factor)); };
        PixelRect box{place(find.box.x), place(find.box.y), place(find.box.width),
                      place(find.box.height)};
        if (isDrawn(part, box)) continue;
        box.y += top;
        const PixelRect inside = intersection(box, {0, 0, picture.width(), picture.height()});
        if (!inside.isEmpty()) finds.push_back({inside, find.weight});
      }
      if (top + height == picture.height()) break;
    }
    if (stop.stop_requested()) return failed(FailureKind::cancelled, "it was stopped");
    return withoutDoubles(std::move(finds));
  } catch (const std::exception& error) {
    return failed(FailureKind::other, error.what());
  }
}

/// A face is about this much larger than what the model calls one.
PixelRect wholeFace(const cv::Rect& box) {
  const int beside = box.width / 10;
  const int above = box.height / 10;
  return {box.x - beside, box.y - above, box.width + 2 * beside, box.height + 3 * above};
}

}  // namespace

Result<std::vector<PixelRect>> OpenCVDetector::faces(const Image& picture,
                                                     const std::stop_token& stop) {
  cv::CascadeClassifier model;
  const Path file = modelFolder_ / "haarcascade_frontalface_alt2.xml";
  std::error_code error;
  if (!std::filesystem::exists(file, error)) {
    return failed(FailureKind::unsupported, "the model of faces is not installed");
  }
  try {
    // What goes wrong is told by what is answered.
    cv::utils::logging::setLogLevel(cv::utils::logging::LOG_LEVEL_SILENT);
    if (!model.load(file.native())) {
      return failed(FailureKind::unsupported, "the model of faces is damaged");
    }
  } catch (const std::exception&) {
    return failed(FailureKind::unsupported, "the model of faces is damaged");
  }
  constexpr View view{.width = 1920, .mostEnlarged = 2, .rows = 1440, .sharedRows = 360};
  return findIn(picture, view, stop, [&](const cv::Mat& part) {
    std::vector<cv::Rect> boxes;
    std::vector<int> levels;
    std::vector<double> weights;
    model.detectMultiScale(part, boxes, levels, weights, 1.1, 6, 0, {28, 28}, {}, true);
    std::vector<Find> finds;
    for (std::size_t i = 0; i < boxes.size(); ++i) {
      finds.push_back({wholeFace(boxes[i]), weights[i]});
    }
    return finds;
  });
}

Result<std::vector<PixelRect>> OpenCVDetector::people(const Image& picture,
                                                      const std::stop_token& stop) {
  // What a page of text is taken for has less weight.
  constexpr double leastWeight = 1;
  constexpr View view{.width = 1280, .mostEnlarged = 2, .rows = 1280, .sharedRows = 480};
  return findIn(picture, view, stop, [&](const cv::Mat& part) {
    std::vector<Find> finds;
    if (part.cols < 64 || part.rows < 128) return finds;
    cv::HOGDescriptor model;
    model.setSVMDetector(cv::HOGDescriptor::getDefaultPeopleDetector());
    std::vector<cv::Rect> boxes;
    std::vector<double> weights;
    model.detectMultiScale(part, boxes, weights, 0, {8, 8}, {16, 16}, 1.05, 2);
    for (std::size_t i = 0; i < boxes.size(); ++i) {
      if (weights[i] <= leastWeight) continue;
      const cv::Rect& box = boxes[i];
      finds.push_back({{box.x, box.y, box.width, box.height}, weights[i]});
    }
    return finds;
  });
}

}  // namespace vantorel
