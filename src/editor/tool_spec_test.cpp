#include "editor/tool_spec.hpp"

#include <gtest/gtest.h>

#include <set>

#include "editor/shape_styling.hpp"

namespace vantorel {
namespace {

TEST(ToolSpecTest, EveryToolHasItsEntryInOrderAndAKeyOfItsOwn) {
  const auto specs = toolSpecs();
  ASSERT_EQ(specs.size(), enumNames<Tool>.size());
  std::set<std::string_view> keys;
  for (std::size_t i = 0; i < specs.size(); ++i) {
    EXPECT_EQ(specs[i].tool, enumNames<Tool>[i].value);
    EXPECT_TRUE(keys.insert(specs[i].key).second) << specs[i].label;
    EXPECT_EQ(toolForKey(specs[i].key), specs[i].tool);
    if (const auto type = shapeTypeOf(specs[i].tool)) {
      EXPECT_EQ(toolOf(*type), specs[i].tool);
    }
  }
  EXPECT_EQ(toolForKey("R"), Tool::rect);
  EXPECT_EQ(toolForKey("é"), std::nullopt);
  EXPECT_EQ(shapeTypeOf(Tool::highlightArea), ShapeType::highlightRect);
  EXPECT_EQ(shapeTypeOf(Tool::eyedropper), std::nullopt);
}

TEST(ShapeStylingTest, AShapeTakesOnlyWhatItsKindUses) {
  ToolStyles remembered;
  remembered["rect"].color = "#007aff";
  remembered["rect"].widthIdx = 99;
  remembered["rect"].fill = FillStyle::tint;
  Shape rect;
  rect.type = ShapeType::rect;
  dress(rect, styleOf(Tool::rect, remembered));
  EXPECT_EQ(rect.color, "#007aff");
  EXPECT_EQ(rect.width, strokeWidths.back());
  EXPECT_EQ(rect.fill, FillStyle::tint);
  EXPECT_EQ(rect.cornerRadius, 0.0);
  EXPECT_EQ(rect.sides, std::nullopt);
  EXPECT_EQ(rect.headStyle, std::nullopt);
  EXPECT_EQ(styleOf(Tool::highlightArea, {}).color, "#ff3b30");

  // At twice the scale strokes and letters have twice the pixels.
  Shape text;
  text.type = ShapeType::text;
  const ToolStyle bold{.color = "#007aff", .widthIdx = 2};
  dress(text, bold, 2);
  EXPECT_EQ(text.width, 12);
  EXPECT_EQ(text.fontSize, 2 * fontSizeFor(6));
  EXPECT_EQ(styleShownBy(text, 2).widthIdx, 2);

  rect.cornerRadius = 12;
  const ToolStyle shown = styleShownBy(rect);
  ToolStyle changed = shown;
  changed.fill = FillStyle::solid;
  changed.sides = 5;
  restyle(rect, shown, changed);
  EXPECT_EQ(rect.fill, FillStyle::solid);
  EXPECT_EQ(rect.cornerRadius, 12.0);
  EXPECT_EQ(rect.sides, std::nullopt);
}

TEST(ShapeStylingTest, SampledColoursReadAsPeopleWriteThem) {
  EXPECT_EQ(colorText("#ff3b30", ColorFormat::hex), "#ff3b30");
  EXPECT_EQ(colorText("#ff3b30", ColorFormat::rgb), "rgb(255, 59, 48)");
  EXPECT_EQ(colorText("#ff3b3", ColorFormat::rgb), "#ff3b3");
}

}  // namespace
}  // namespace vantorel
