#include "editor/records/shape.hpp"

#include <gtest/gtest.h>

#include <limits>

#include "editor/records/tool_style.hpp"

namespace vantorel {
namespace {

Shape shapeFrom(const std::string& members) {
  auto shape = json::fromText<Shape>(R"({"id":"a","color":"#ff3b30","width":4,)" + members + "}");
  EXPECT_TRUE(shape.has_value()) << shape.error().reason;
  return shape.value_or(Shape{});
}

std::string refusal(const std::string& text) {
  const auto shape = json::fromText<Shape>(text);
  return shape ? "accepted" : shape.error().reason;
}

TEST(ShapeTest, FourKeysAreEnoughAndWritingOrdersAllKeys) {
  EXPECT_EQ(json::toText(shapeFrom(R"("type":"pen")")),
            R"({"id":"a","type":"pen","color":"#ff3b30","width":4,"points":[],"x1":0,"y1":0,)"
            R"("x2":0,"y2":0,"x":0,"y":0,"text":"","fontSize":0})");
  const std::string full =
      R"({"id":"a","type":"polygon","color":"#ff3b30","width":2.5,)"
      R"("points":[{"x":1,"y":2}],"x1":1,"y1":2,"x2":3,"y2":4,"x":5,"y":6,"text":"é","fontSize":24,)"
      R"("boxWidth":120,"textStyle":"label","redactStyle":"pixelate","number":7,)"
      R"("measureUnit":"pt","bow":-12.5,"tailMarker":"ring","tailScale":1.5,"opacity":0.5,)"
      R"("fill":"tint","cornerRadius":8,"lineStyle":"dashed","headStyle":"both",)"
      R"("textAlign":"trailing","sides":5,"starInset":0.4,"layerId":"l","glow":{"deep":[1,null]}})";
  const auto shape = json::fromText<Shape>(full);
  ASSERT_TRUE(shape.has_value());
  EXPECT_EQ(json::toText(*shape), full);
}

TEST(ShapeTest, OldTypesMapForwardAndUnknownOnesFailAlone) {
  const Shape line = shapeFrom(R"("type":"line","headStyle":"both","lineStyle":"dashed")");
  EXPECT_EQ(line.type, ShapeType::arrow);
  EXPECT_EQ(line.headStyle, ArrowHeadStyle::headless);
  EXPECT_EQ(line.lineStyle, LineStyle::dashed);
  EXPECT_EQ(shapeFrom(R"("type":"line","headStyle":7)").extra, json::Extra{});
  const Shape rect = shapeFrom(R"("fill":"none","type":"rectFill")");
  EXPECT_EQ(rect.type, ShapeType::rect);
  EXPECT_EQ(rect.fill, FillStyle::solid);

  const auto circle = json::Document::parse(R"({"id":"a","type":"circle","color":"","width":1})");
  Shape shape;
  json::Problem problem;
  EXPECT_FALSE(read(circle->root(), shape, problem));
  EXPECT_EQ(problem.description, "unknown shape type circle");
  EXPECT_EQ(refusal(R"({"id":"a","color":"#000000","width":1})"), "type: is missing");
  EXPECT_EQ(refusal(R"({"type":"pen","color":"#000000","width":1})"), "id: is missing");
  EXPECT_EQ(refusal(R"({"id":"a","type":"pen","color":"#000000"})"), "width: is missing");
  EXPECT_EQ(refusal(R"({"id":"a","type":3,"color":"#000000","width":1})"),
            "type: must be a string");
  EXPECT_EQ(refusal("[]"), "must be an object");

  std::vector<Shape> shapes;
  const auto list = json::Document::parse(
      R"([{"id":"a","type":"circle","color":"","width":1},{"id":"b","type":"pen","color":"","width":1}])");
  ASSERT_TRUE(json::read(list->root(), shapes, problem));
  ASSERT_EQ(shapes.size(), 1U);
  EXPECT_EQ(shapes.front().id, "b");
}

TEST(ShapeTest, NumbersClampAndOptionalsOfAnotherKindAreCarriedAlong) {
  EXPECT_EQ(shapeFrom(R"("type":"polygon","sides":40)").sides, 12);
  EXPECT_EQ(shapeFrom(R"("type":"polygon","sides":1)").sides, 3);
  EXPECT_EQ(shapeFrom(R"("type":"polygon","sides":-1e300)").sides, 3);
  EXPECT_EQ(shapeFrom(R"("type":"polygon","starInset":0.9)").starInset, 0.7);
  EXPECT_EQ(shapeFrom(R"("type":"polygon","starInset":-1)").starInset, 0.0);
  EXPECT_EQ(shapeFrom(R"("type":"rect","cornerRadius":-5)").cornerRadius, 0.0);

  const Shape odd = shapeFrom(
      R"("type":"pen","fill":"plaid","bow":null,"x1":"left","points":[{"x":1},{"x":1,"y":2}])");
  EXPECT_EQ(odd.fill, std::nullopt);
  EXPECT_EQ(odd.x1, 0);
  EXPECT_EQ(odd.points, (std::vector<Pt>{{1, 2}}));
  EXPECT_NE(json::toText(odd).find(R"("fill":"plaid")"), std::string::npos);
}

TEST(ShapeTest, PointsAreReadWithTheirKeysInAnyOrderAndTheOthersDropped) {
  const auto points = json::fromText<std::vector<Pt>>(
      R"([{"y":2,"x":1},{"x":3,"z":{},"y":4},{"x":5,"x":6,"y":7},{"x":1e999,"y":8,"x":9},)"
      R"({"x":"1","y":2},{"x":1,"y":null},{"y":1},[1,2],{},18446744073709551615,)"
      R"({"x":18446744073709551615,"y":-0.5}])");
  ASSERT_TRUE(points.has_value());
  const double largest = std::numeric_limits<double>::max();
  EXPECT_EQ(*points, (std::vector<Pt>{{1, 2}, {3, 4}, {5, 7}, {largest, 8}, {0x1p64, -0.5}}));
}

TEST(ToolStylesTest, OneUnreadableStyleIsDroppedAndTheOthersStay) {
  const std::string kept =
      R"({"arrow":{"color":"#007aff","widthIdx":2,"headStyle":"both","later":1},)"
      R"("lasso":{"color":"#000000","widthIdx":0}})";
  const auto styles =
      json::fromText<ToolStyles>(R"({"pen":{"color":"#007aff"},"rect":7,)" + kept.substr(1));
  ASSERT_TRUE(styles.has_value());
  EXPECT_EQ(json::toText(*styles), kept);
}

}  // namespace
}  // namespace vantorel
