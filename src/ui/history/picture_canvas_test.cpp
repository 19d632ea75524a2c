#include "ui/history/picture_canvas.hpp"

#include <gtest/gtest.h>

#include <QApplication>
#include <QKeyEvent>
#include <QWheelEvent>

#include "ui/testing/ui_test_case.hpp"

namespace vantorel {
namespace {

/// Each row has the color of its number.
Image numberedRows(PixelSize size) {
  MutableImage picture(size, PixelFormat::bgrx);
  for (int y = 0; y < size.height; ++y) {
    const auto row = picture.row(y);
    for (std::size_t x = 0; x < row.size(); x += 4) {
      row[x] = static_cast<std::uint8_t>(y % 256);
      row[x + 1] = static_cast<std::uint8_t>(y / 256);
    }
  }
  return std::move(picture).finish();
}

class PictureCanvasTest : public UiTestCase {
 protected:
  void SetUp() override {
    startDesktop();
    startUi();
    canvas.emplace();
    canvas->resize(464, 364);  // 400 x 300 within its margins
    canvas->setVisible(true);
  }
  void TearDown() override { canvas.reset(); }

  /// The number of the picture's row that is painted there; -1 beside the picture.
  int rowAt(int y) {
    const QRgb pixel = canvas->grab().toImage().pixel(canvas->width() / 2, y);
    return qRed(pixel) != 0 ? -1 : qGreen(pixel) * 256 + qBlue(pixel);
  }
  bool key(int key) {
    const QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
    return canvas->scrollWith(press);
  }
  void click(QPoint at) {
    for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
      QMouseEvent event(type, at, canvas->mapToGlobal(at), Qt::LeftButton, Qt::LeftButton, {});
      QCoreApplication::sendEvent(&*canvas, &event);
    }
  }

  std::optional<PictureCanvas> canvas;
};

TEST_F(PictureCanvasTest, ATallPictureIsAsWideAsThereIsRoomAndScrolled) {
  canvas->show(numberedRows({400, 40'000}));
  ASSERT_TRUE(waitFor([&] { return rowAt(40) >= 0; })) << "it does not come";
  EXPECT_TRUE(canvas->scrolls());
  EXPECT_EQ(rowAt(31), -1) << "some room above it";
  EXPECT_EQ(rowAt(40), 8);
  EXPECT_TRUE(key(Qt::Key_Down));
  QWheelEvent wheel(QPointF(200, 200), {}, {}, QPoint(0, -120), {}, {}, Qt::NoScrollPhase, false);
  QCoreApplication::sendEvent(&*canvas, &wheel);
  EXPECT_EQ(rowAt(40), 8 + 60 + 60);
  // Farther than the toolkit's coordinates reach.
  EXPECT_TRUE(key(Qt::Key_End));
  EXPECT_EQ(rowAt(331), 39'999);
  EXPECT_EQ(rowAt(332 + 4), -1);
  EXPECT_TRUE(key(Qt::Key_PageUp) && key(Qt::Key_Home));
  EXPECT_EQ(rowAt(40), 8);
  EXPECT_FALSE(key(Qt::Key_Right)) << "which goes to the next capture";
}

TEST_F(PictureCanvasTest, OneThatIsScaledIsTheSameAtEverySeamAndStaysUnderThePointer) {
  canvas->show(numberedRows({800, 20'000}));
  ASSERT_TRUE(waitFor([&] { return rowAt(40) >= 0; })) << "it does not come";
  for (const int y : {60, 200, 286, 287, 288, 289, 320}) {  // a strip ends at 288
    EXPECT_NEAR(rowAt(y), 2 * (y - 32), 2) << y;
  }
  key(Qt::Key_PageDown);
  const int before = rowAt(200);
  click({232, 200});
  EXPECT_NEAR(rowAt(200), before, 2);
  EXPECT_NEAR(rowAt(210) - rowAt(200), 10, 1) << "pixel by pixel";
  click({232, 200});
  EXPECT_NEAR(rowAt(200), before, 3);

  canvas->show(numberedRows({800, 1'000}));
  EXPECT_FALSE(canvas->scrolls()) << "all of it can be seen well";
  EXPECT_FALSE(key(Qt::Key_Down));
}

}  // namespace
}  // namespace vantorel
