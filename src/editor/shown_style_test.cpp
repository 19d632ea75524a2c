#include "editor/shown_style.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "editor/crop_frame.hpp"
#include "editor/testing/editor_fixture.hpp"

namespace vantorel {
namespace {

class ShownStyleTest : public EditorModelTest {
 protected:
  std::string add(ShapeType type, const std::function<void(Shape&)>& change = {}) {
    Shape shape = model->newShape(type);
    if (change) change(shape);
    model->edit("Add", [&](EditorSnapshot& state) { state.append(shape); });
    return shape.id;
  }
};

TEST_F(ShownStyleTest, AToolShowsWhatItDrawsWithAndNothingElse) {
  EXPECT_EQ(shownStyle(*model).title, "") << "there is nothing to change";
  model->pickTool(Tool::arrow);
  ShownStyle shown = shownStyle(*model);
  EXPECT_EQ(shown.title, "Arrow");
  EXPECT_TRUE(shown.color.isThere && shown.width.isThere && shown.headStyle.isThere &&
              shown.tailScale.isThere && shown.opacity.isThere);
  EXPECT_EQ(shown.opacity.value, 1);
  EXPECT_FALSE(shown.fill.isThere || shown.sides.isThere || shown.textStyle.isThere ||
               shown.emoji.isThere || shown.redactStyle.isThere || shown.cropAspect.isThere);

  model->pickTool(Tool::polygon);
  model->changeStyle([](ToolStyle& style) {
    style.sides = 8;
    style.starInset = 0.3;
  });
  EXPECT_EQ(shownStyle(*model).title, "8-pointed star");
  model->pickTool(Tool::emoji);
  shown = shownStyle(*model);
  EXPECT_TRUE(shown.emoji.isThere && !shown.color.isThere);
  EXPECT_EQ(shown.widthMeaning, WidthMeaning::size);
  model->pickTool(Tool::redact);
  EXPECT_FALSE(shownStyle(*model).color.isThere) << "of squares of the picture itself";
  model->changeStyle([](ToolStyle& style) { style.redactStyle = RedactStyle::solidBox; });
  EXPECT_TRUE(shownStyle(*model).color.isThere);
  model->pickTool(Tool::crop);
  model->setCropAspect(CropAspect::sixteenByNine);
  EXPECT_EQ(shownStyle(*model).cropAspect.value, CropAspect::sixteenByNine);
  model->beginText({10, 10});
  EXPECT_EQ(shownStyle(*model).title, "Text");
  EXPECT_EQ(shownStyle(*model).widthMeaning, WidthMeaning::fontSize);
}

TEST_F(ShownStyleTest, ASelectionShowsWhatAllOfItHasAndWhereItDiffers) {
  const auto first = add(ShapeType::arrow, [](Shape& arrow) {
    arrow.opacity.reset();
    arrow.lineStyle.reset();
  });
  const auto second = add(ShapeType::arrow, [](Shape& arrow) {
    arrow.opacity = 1;
    arrow.lineStyle = LineStyle::solid;
    arrow.color = "#123456";
  });
  const auto box = add(ShapeType::rect, [](Shape& rect) { rect.opacity = 0.5; });
  const auto plain = add(ShapeType::polygon, [](Shape& polygon) {
    polygon.sides.reset();
    polygon.starInset.reset();
  });

  model->select({first, second});
  ShownStyle shown = shownStyle(*model);
  EXPECT_EQ(shown.title, "2 annotations");
  EXPECT_EQ(shown.color.common(), std::nullopt);
  EXPECT_EQ(shown.opacity.common(), 1) << "left open, a shape is opaque";
  EXPECT_EQ(shown.lineStyle.common(), LineStyle::solid);
  EXPECT_TRUE(shown.headStyle.isThere);

  model->select({first, box});
  shown = shownStyle(*model);
  EXPECT_FALSE(shown.headStyle.isThere || shown.fill.isThere);
  EXPECT_TRUE(shown.lineStyle.isThere && shown.opacity.isMixed);

  model->select({plain});
  EXPECT_EQ(shownStyle(*model).title, "Triangle");
  model->selectAll();
  EXPECT_EQ(shownStyle(*model).title, "4 annotations");
}

TEST_F(ShownStyleTest, ACropFrameTakesProportionsAndTypedSizes) {
  model->pickTool(Tool::crop);
  ASSERT_TRUE(setCropSize(*model, 400, 300, false));
  EXPECT_EQ(model->pendingCrop(), (Box{200, 150, 400, 300})) << "in the middle of 800 by 600";
  chooseCropAspect(*model, CropAspect::square);
  EXPECT_EQ(model->pendingCrop(), (Box{250, 150, 300, 300}));
  ASSERT_TRUE(setCropSize(*model, 500, 300, false));
  EXPECT_EQ(model->pendingCrop(), (Box{150, 50, 500, 500}));
  ASSERT_TRUE(setCropSize(*model, 500, 120, true));
  EXPECT_EQ(model->pendingCrop(), (Box{340, 240, 120, 120}));

  model->setCropAspect(CropAspect::free);
  model->setPendingCrop(Box{700, 500, 50, 50});
  ASSERT_TRUE(setCropSize(*model, 300, 200, false));
  EXPECT_EQ(model->pendingCrop(), (Box{500, 400, 300, 200})) << "the canvas has room for it";
  ASSERT_TRUE(setCropSize(*model, 1000, 200, false));
  EXPECT_EQ(model->pendingCrop(), (Box{150, 400, 1000, 200})) << "larger than the canvas";
  EXPECT_FALSE(setCropSize(*model, 9000, 9000, false));
  EXPECT_FALSE(setCropSize(*model, 0, 10, false));
  EXPECT_EQ(model->pendingCrop()->w, 1000);
}

}  // namespace
}  // namespace vantorel
