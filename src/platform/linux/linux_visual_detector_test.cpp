#include "platform/linux/linux_visual_detector.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>

namespace vantorel {
namespace {

/// A picture of `size` whose brightness, 0 to 1, is `bright` of each pixel.
template <class Bright>
Image pictureOf(PixelSize size, Bright bright) {
  MutableImage image(size, PixelFormat::bgrx);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const double part = std::clamp(bright(x, y), 0.0, 1.0);
      for (std::size_t i = 0; i < 3; ++i) {
        image.row(y)[static_cast<std::size_t>(x) * 4 + i] =
            static_cast<std::uint8_t>(std::lround(255 * part));
      }
    }
  }
  return std::move(image).finish();
}

/// How far (x, y) is inside a soft ellipse.
double spot(double x, double y, double width, double height) {
  const double far = std::hypot(x / width, y / height);
  return 1 / (1 + std::exp(12 * (far - 1)));
}

/// The light and shade of a face seen from the front, `size` pixels wide, as it is in a photograph.
double faceAt(double x, double y, double size) {
  x /= size;
  y /= size;
  double bright = 0.25 + 0.05 * std::sin(5 * x + 3 * y) + 0.5 * spot(x, y, 0.42, 0.56);
  bright -= 0.4 * spot(x, y + 0.56, 0.46, 0.2);  // hair
  for (const double side : {-1.0, 1.0}) {
    bright -= 0.28 * spot(x - 0.185 * side, y + 0.09, 0.11, 0.045);  // an eye
    bright -= 0.22 * spot(x - 0.185 * side, y + 0.18, 0.13, 0.03);   // its brow
    bright += 0.12 * spot(x - 0.22 * side, y - 0.1, 0.11, 0.09);     // a cheek
  }
  bright += 0.12 * spot(x, y - 0.02, 0.04, 0.15);   // the nose
  bright -= 0.15 * spot(x, y - 0.15, 0.08, 0.025);  // what is below it
  bright -= 0.25 * spot(x, y - 0.28, 0.16, 0.035);  // the mouth
  bright += 0.1 * spot(x, y + 0.36, 0.3, 0.12);     // the forehead
  return bright;
}

TEST(LinuxVisualDetectorTest, FindsAFaceAndNoneInText) {
  LinuxVisualDetector detector;
  const auto found = detector.faces(
      pictureOf({640, 480}, [](int x, int y) { return faceAt(x - 320, y - 240, 200); }), {});
  ASSERT_TRUE(found) << found.error().reason;
  ASSERT_EQ(found->size(), 1);
  const PixelRect& box = found->front();
  // From the brows to the mouth, and from eye to eye.
  EXPECT_LT(box.x, 320 - 55);
  EXPECT_GT(box.right(), 320 + 55);
  EXPECT_LT(box.y, 240 - 38);
  EXPECT_GT(box.bottom(), 240 + 60);
  EXPECT_LT(box.width, 300);

  // In a picture that is looked at in parts, each is found once, where it is.
  const auto tall = detector.faces(
      pictureOf({500, 2400}, [](int x, int y) { return faceAt(x - 250, y % 480 - 240, 150); }), {});
  ASSERT_TRUE(tall);
  EXPECT_EQ(tall->size(), 5);

  const auto stripes = pictureOf({1600, 900}, [](int x, int y) {
    return y % 20 > 11 || (x * 7 + y / 20 * 13) % 11 > 4 ? 1.0 : 0.1;
  });
  EXPECT_THAT(detector.faces(stripes, {}).value(), testing::IsEmpty());
  EXPECT_THAT(detector.people(stripes, {}).value(), testing::IsEmpty());
}

TEST(LinuxVisualDetectorTest, SaysWhatItCannotDo) {
  const Image picture = pictureOf({200, 200}, [](int x, int) { return x / 200.0; });
  const Path folder = Path(testing::TempDir()) / "vantorel-models";
  std::filesystem::create_directories(folder);
  LinuxVisualDetector without(folder);
  const auto missing = without.faces(picture, {});
  ASSERT_FALSE(missing);
  EXPECT_EQ(missing.error().kind, FailureKind::unsupported);
  std::ofstream(folder / "haarcascade_frontalface_alt2.xml") << "<opencv_storage><cascade>";
  const auto damaged = without.faces(picture, {});
  ASSERT_FALSE(damaged);
  EXPECT_EQ(damaged.error().kind, FailureKind::unsupported);
  // People need none of its files.
  EXPECT_TRUE(without.people(picture, {}));
  std::filesystem::remove_all(folder);

  LinuxVisualDetector detector;
  std::stop_source stop;
  stop.request_stop();
  EXPECT_EQ(detector.faces(picture, stop.get_token()).error().kind, FailureKind::cancelled);
  EXPECT_EQ(detector.people(picture, stop.get_token()).error().kind, FailureKind::cancelled);
  for (const PixelSize size : {PixelSize{1, 1}, {3, 900}, {900, 20}}) {
    const Image small = pictureOf(size, [](int, int) { return 0.5; });
    EXPECT_TRUE(detector.faces(small, {})) << size.width;
    EXPECT_TRUE(detector.people(small, {})) << size.width;
  }
}

}  // namespace
}  // namespace vantorel
