#include <gmock/gmock.h>

#include "app/annotate_session.hpp"

namespace vantorel {
namespace {

using ::testing::HasSubstr;
using ::testing::SizeIs;

/// Capture "a" is open; its file was covered before it was filed.
class AnnotateRedactionTest : public ::testing::Test {
 protected:
  AnnotateRedactionTest() {
    run.files->folders.insert("/elsewhere");
    run.switchRedaction("a", true);
    run.openEntry("a");
  }
  AnnotateModel& model() { return run.model(); }
  /// The color of the picture that goes out, and how many shapes are drawn on it.
  std::pair<int, int> copied() {
    model().copy();
    run.runners.run();
    const Image image = run.codec.decode(run.pasteboard.content["image/png"]).value();
    return {image.row(1)[0], image.row(0)[0]};
  }

  CoordinatorWorld world;
  AnnotateSession run{world};
};

TEST_F(AnnotateRedactionTest, WhatWasCoveredIsUncoveredBelowWhatIsDrawn) {
  ASSERT_TRUE(model().keptRedaction() && model().keptRedaction()->isCovering);
  run.draw(1);
  EXPECT_EQ(copied(), std::pair(1, 1));
  model().smartRedact()->open();
  run.runners.run();
  run.scans.answer(0, {});

  model().switchRedaction();
  EXPECT_TRUE(model().isSwitchingRedaction());
  run.runners.run();
  EXPECT_FALSE(model().isSwitchingRedaction());
  EXPECT_EQ(run.notice(), "Redactions removed");
  EXPECT_FALSE(model().keptRedaction()->isCovering);
  EXPECT_THAT(run.scans.asked, SizeIs(2)) << "what is seen now is to be looked at";
  run.scans.answer(1, {});
  EXPECT_TRUE(model().hasUnsavedChanges());
  EXPECT_EQ(copied(), std::pair(2, 1));
  run.draw(2);
  EXPECT_TRUE(run.save());
  EXPECT_THAT(run.store.find("a")->shapes, SizeIs(2));
  EXPECT_EQ(run.store.entries().size(), 3U) << "it is no other program's picture";
  EXPECT_TRUE(model().editor().undo());
  EXPECT_TRUE(model().editor().undo()) << "what was done before is undone as ever";

  model().switchRedaction();
  run.runners.run();
  EXPECT_EQ(run.notice(), "Redacted again");
  run.scans.answer(2, {});
  EXPECT_EQ(copied(), std::pair(1, 0));
}

TEST_F(AnnotateRedactionTest, WhatCannotBeUncoveredIsSaidAndLeavesAllAsItIs) {
  run.draw(1);
  run.switchFails = "The capture's original couldn't be read: it is gone.";
  model().switchRedaction();
  run.runners.run();
  EXPECT_EQ(run.notice(), run.switchFails);
  EXPECT_TRUE(model().notice()->isWarning);
  EXPECT_EQ(copied(), std::pair(1, 1));
  EXPECT_FALSE(model().isSwitchingRedaction());

  // Made smaller since: what is drawn would lie elsewhere.
  run.switchFails.clear();
  run.files->put("/data/Redacted Originals/a.png",
                 run.codec.encode(MutableImage({96, 60}, PixelFormat::bgrx).finish(), {}).value());
  model().switchRedaction();
  run.runners.run();
  EXPECT_THAT(run.notice(), HasSubstr("remove the redactions in History"));
  EXPECT_TRUE(model().keptRedaction()->isCovering);
  // The window may go while it is under way.
  run.switchRedaction("a", true);
  model().switchRedaction();
  run.windows.answer = EditorWindowsInMemory::Answer::discard;
  run.closeWindow();
  EXPECT_EQ(run.openEntry("a"), "");
}

TEST_F(AnnotateRedactionTest, EveryWayOutAsksAndWaitsForTheScanUnderWay) {
  std::optional<AnnotateModel::Dragged> dragged;
  bool isClosed = false;
  const std::vector<std::function<void()>> ways{
      [&] { model().copy(); }, [&] { model().copySelection(); },
      [&] { model().saveAs("/elsewhere/mine.png", ExportFormat::png); },
      [&] { model().prepareDrag([&](auto what) { dragged = std::move(what); }); },
      [&] { model().done([&] { isClosed = true; }); }};
  model().smartRedact()->open();
  run.runners.run();
  ways[0]();
  run.runners.run();
  EXPECT_EQ(run.notice(), "Scanning for sensitive text");
  EXPECT_EQ(run.pasteboard.images, 0) << "nobody knows what is on it";
  run.scans.answer(0, {{SensitiveMatchKind::email, {2, 2, 20, 8}, 1, "a@b.org"}});
  run.runners.run();
  for (std::size_t way = 0; way < ways.size(); ++way) {
    if (way > 0) ways[way]();
    run.runners.run();
    ASSERT_TRUE(run.alerts.shown) << way;
    EXPECT_EQ(run.alerts.shown->message, "Publish without redacting?");
    EXPECT_TRUE(run.alerts.press("Cancel"));
    run.runners.run();
    EXPECT_EQ(run.notice(), "Publish wasn't confirmed") << way;
  }
  EXPECT_EQ(run.pasteboard.images, 0);
  EXPECT_FALSE(run.files->disk.contains("/elsewhere/mine.png"));
  EXPECT_FALSE(dragged);
  EXPECT_FALSE(isClosed);
  // What stays in the library is not published.
  run.draw(1);
  EXPECT_TRUE(run.save());
}

}  // namespace
}  // namespace vantorel
