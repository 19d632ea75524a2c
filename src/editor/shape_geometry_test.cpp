#include "editor/shape_geometry.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace vantorel {
namespace {

Shape twoPoint(ShapeType type, Pt from, Pt to) {
  Shape shape;
  shape.type = type;
  shape.x1 = from.x;
  shape.y1 = from.y;
  shape.x2 = to.x;
  shape.y2 = to.y;
  return shape;
}

TEST(PolygonTest, OutlinesFillTheirFrameAndStartAtTheTop) {
  Shape shape = twoPoint(ShapeType::polygon, {110, 80}, {10, 20});  // drawn backwards
  EXPECT_EQ(polygonVertices(shape).size(), 3U);
  for (const auto& [sides, inset, count] :
       std::initializer_list<std::tuple<int, double, size_t>>{{3, 0, 3},
                                                              {4, 0, 4},
                                                              {5, 0.4, 10},
                                                              {7, 0, 7},
                                                              {12, 0.7, 24},
                                                              {40, 2, 24},
                                                              {-1, -1, 3}}) {
    shape.sides = sides;
    shape.starInset = inset;
    const auto vertices = polygonVertices(shape);
    ASSERT_EQ(vertices.size(), count);
    EXPECT_NEAR(vertices[0].x, 60, 1e-9);
    EXPECT_NEAR(vertices[0].y, 20, 1e-9);
    const Box bounds = boundsOf(vertices);
    EXPECT_NEAR(bounds.x, 10, 1e-9);
    EXPECT_NEAR(bounds.right(), 110, 1e-9);
    EXPECT_NEAR(bounds.bottom(), 80, 1e-9);
  }
  EXPECT_EQ(boundsOf(polygonVertices(twoPoint(ShapeType::polygon, {5, 6}, {5, 6}))),
            (Box{5, 6, 0, 0}));
}

TEST(PolygonTest, NamesComeBackFromPresets) {
  EXPECT_EQ(polygonName({6, 0}), "Hexagon");
  EXPECT_EQ(polygonName({7, 0}), "7-sided");
  EXPECT_EQ(polygonName({5, 0.4}), "Star");
  EXPECT_EQ(polygonName({12, 0.3}), "Burst");
  EXPECT_EQ(polygonName({8, 0.3}), "8-pointed star");
  EXPECT_EQ(polygonName({9, 0.3}), "9-pointed star");
  for (const auto& [preset, name] : enumNames<PolygonPreset>) {
    std::string lower = polygonName(polygonForm(preset));
    lower[0] = static_cast<char>(std::tolower(lower[0]));
    EXPECT_EQ(lower, name);
    EXPECT_EQ(polygonPreset(polygonForm(preset)), preset);
  }
  EXPECT_EQ(polygonPreset({7, 0}), std::nullopt);
}

TEST(MeasureTest, LabelsInPixelsAndPoints) {
  EXPECT_EQ(measureLabel(250, MeasureUnit::pt, 2.0), "125 pt");
  EXPECT_EQ(measureLabel(251, MeasureUnit::pt, 2.0), "125.5 pt");
  EXPECT_EQ(measureLabel(250, MeasureUnit::px, 2.0), "250 px");
  EXPECT_EQ(measureLabel(251, std::nullopt, 2.0), "251 px");
  EXPECT_EQ(measureLabel(251, MeasureUnit::pt, std::nullopt), "251 px");
  EXPECT_EQ(measureLabel(251, MeasureUnit::pt, 0.0), "251 px");
  EXPECT_EQ(measureLabel(twoPoint(ShapeType::measure, {1, 1}, {4, 5}), std::nullopt), "5 px");
}

TEST(SnapTest, LinesTurnToTheNearestEighthAndCornersSpanSquares) {
  EXPECT_EQ(snappedTo45({10, 10}, {20, 11}).y, 10);
  EXPECT_EQ(snappedTo45({10, 10}, {9, -30}).x, 10);
  const Pt diagonal = snappedTo45({0, 0}, {-30, -26});
  EXPECT_NEAR(diagonal.x, diagonal.y, 1e-12);
  EXPECT_NEAR(std::hypot(diagonal.x, diagonal.y), std::hypot(30, 26), 1e-9);
  EXPECT_EQ(snappedTo45({3, 4}, {3, 4}), (Pt{3, 4}));
  EXPECT_EQ(squared({10, 10}, {4, 30}), (Pt{-10, 30}));
}

TEST(ArrowTest, TheBowHandleLiesOnTheCurveAndDraggingItBends) {
  Shape arrow = twoPoint(ShapeType::arrow, {0, 0}, {100, 0});
  EXPECT_EQ(bowHandle(arrow), (Pt{50, 0}));
  arrow.bow = bowTowards(arrow, {70, 30}, 2);
  EXPECT_EQ(arrow.bow, 30);
  EXPECT_EQ(bowHandle(arrow), (Pt{50, 30}));
  EXPECT_EQ(arrowCurve(arrow).at(1), (Pt{100, 0}));
  EXPECT_EQ(bowTowards(arrow, {10, -1.5}, 2), std::nullopt);
  EXPECT_EQ(bowTowards(twoPoint(ShapeType::arrow, {1, 1}, {1, 1}), {9, 9}, 0), std::nullopt);
}

TEST(MappedTest, MirroringAnArrowMirrorsItsBow) {
  Shape arrow = twoPoint(ShapeType::arrow, {0, 0}, {100, 0});
  arrow.bow = 30;
  arrow.width = 4;
  const AxisMap flip = mapBetween({0, 0, 100, 50}, {100, 0, -100, 50});
  const Shape flipped = mapped(arrow, flip);
  EXPECT_EQ(bowHandle(flipped), flip(bowHandle(arrow)));
  EXPECT_EQ(flipped.width, 4);

  const AxisMap shift{1, 1, 7, -3};
  EXPECT_EQ(mapped(mapped(arrow, shift), shift.inverse()), arrow);
  EXPECT_EQ(mapBetween({1, 2, 0, 4}, {5, 6, 9, 8})(Pt{1, 4}), (Pt{5, 10}));
}

}  // namespace
}  // namespace vantorel
