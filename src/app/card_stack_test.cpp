#include "app/card_stack.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/card_session.hpp"
#include "platform/testing/quiet_log.hpp"

namespace vantorel {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class CardStackTest : public testing::Test, protected CardSession {
 protected:
  QuietLog quiet;
};

TEST_F(CardStackTest, EachCaptureHasOneCardAsLongAsTheSettingsWantThem) {
  capture("a");
  capture("b");
  capture("a");
  EXPECT_THAT(ids(), ElementsAre("b", "a"));
  EXPECT_EQ(stack.cards().front().shown, (PixelRect{10, 20, 48, 30}));
  EXPECT_FALSE(stack.cards().front().picture.isEmpty());
  settings.set(&SettingsValues::showQuickAccessOverlay, false);
  EXPECT_THAT(ids(), IsEmpty());
  capture("c");
  EXPECT_THAT(ids(), IsEmpty());
  settings.set(&SettingsValues::showQuickAccessOverlay, true);
  stack.add({.entry = entry("d"), .notes = {}, .indexFailure = "It is not listed yet."});
  library.runners.run();
  EXPECT_EQ(stack.cards().front().badge, "It is not listed yet.");
  EXPECT_TRUE(stack.cards().front().isWarning);
  EXPECT_FALSE(stack.cards().front().picture.isEmpty()) << "from the file";
}

TEST_F(CardStackTest, ThumbnailsAreSmallWhateverTheScreen) {
  stack.add({.entry = entry("a"), .picture = flatPicture({3840, 400})});
  library.runners.run();
  EXPECT_EQ(stack.cards().front().picture.size(), (PixelSize{560, 58}));
  stack.add({.entry = entry("b"), .picture = flatPicture({1120, 20'000})});
  library.runners.run();
  EXPECT_EQ(stack.cards().front().picture.size(), (PixelSize{560, 350})) << "a page's beginning";
}

TEST_F(CardStackTest, IdleTimeEndsACardAndStandsStillUnderThePointer) {
  settings.set(&SettingsValues::thumbnailIdleSeconds, 6);
  capture("a");
  library.runners.advance(4s);
  capture("b");
  library.runners.advance(1900ms);
  EXPECT_THAT(ids(), ElementsAre("b", "a"));
  stack.setHeld(true);
  library.runners.advance(1h);
  EXPECT_THAT(ids(), ElementsAre("b", "a"));
  stack.setHeld(false);
  library.runners.advance(99ms);
  EXPECT_THAT(ids(), ElementsAre("b", "a"));
  library.runners.advance(2ms);
  EXPECT_THAT(ids(), ElementsAre("b"));
  library.runners.advance(4s);
  EXPECT_THAT(ids(), IsEmpty());

  settings.set(&SettingsValues::thumbnailAutoDismiss, false);
  capture("c");
  library.runners.advance(1h);
  EXPECT_THAT(ids(), ElementsAre("c"));
  EXPECT_TRUE(library.runners.isIdle()) << "nothing wakes for it";
  settings.set(&SettingsValues::thumbnailAutoDismiss, true);
  library.runners.advance(7s);
  EXPECT_THAT(ids(), IsEmpty());
}

TEST_F(CardStackTest, CopiedIsReadForTwoSeconds) {
  const auto a = capture("a");
  stack.copy(a);
  EXPECT_EQ(stack.find(a)->state, Card::State::busy);
  library.runners.run();
  EXPECT_EQ(clipboard.images, 1);
  EXPECT_EQ(stack.find(a)->badge, "Copied");
  library.runners.advance(2s);
  EXPECT_EQ(stack.find(a)->badge, "");

  clipboard.refuses = true;
  stack.copy(a);
  library.runners.run();
  EXPECT_EQ(stack.find(a)->state, Card::State::failed);
  EXPECT_EQ(stack.find(a)->sentence, "The clipboard wouldn't take the image.");

  // The copy that follows a capture may be done before its thumbnail is.
  stack.add({.entry = entry("b"), .picture = flatPicture({48, 30})});
  stack.copied("b");
  library.runners.run();
  EXPECT_EQ(stack.cards().front().badge, "Copied");
}

TEST_F(CardStackTest, TheTrashCanBeUndoneForAsLongAsTheLibrarySays) {
  const auto a = capture("a");
  stack.trash(a);
  EXPECT_NE(stack.obstacle(*stack.find(a), CardAction::copy), "");
  library.runners.run();
  ASSERT_NE(stack.find(a), nullptr);
  EXPECT_EQ(stack.find(a)->state, Card::State::trashed);
  EXPECT_EQ(stack.find(a)->sentence, "1 capture deleted");
  EXPECT_FALSE(library.files->disk.contains("/captures/a.png"));
  stack.setHeld(true);  // the eight seconds are never paused
  library.runners.advance(4s);
  EXPECT_NEAR(stack.undoLeft(*stack.find(a)), 0.5, 0.01);
  stack.undo(a);
  library.runners.advance(1s);
  EXPECT_TRUE(library.files->disk.contains("/captures/a.png"));
  EXPECT_EQ(stack.find(a)->state, Card::State::rest);

  stack.trash(a);
  library.runners.run();
  library.runners.advance(8s);
  EXPECT_EQ(stack.find(a), nullptr);

  // A deletion made since has taken the place of this one.
  const auto b = capture("b");
  stack.trash(b);
  library.runners.run();
  library.library.deletion().trash({"c"}, HistoryDeletion::Undo::offered, [](const auto&) {});
  library.runners.run();
  stack.undo(b);
  library.runners.run();
  EXPECT_EQ(stack.find(b), nullptr);
  EXPECT_EQ(library.store.find("c"), nullptr) << "the newer one was not undone";

  library.trash.failing["/captures/d.png"] = FailureKind::denied;
  const auto d = capture("d");
  stack.trash(d);
  library.runners.run();
  EXPECT_EQ(stack.find(d)->state, Card::State::failed);
  EXPECT_NE(stack.find(d)->sentence, "");
}

TEST_F(CardStackTest, RowsShowWhatEachFormatWouldWeigh) {
  codec->broken = {ExportFormat::heic};
  const auto a = capture("a");
  CardRows rows = stack.rows(*stack.find(a));
  ASSERT_THAT(rows.formats, SizeIs(4));
  EXPECT_EQ(rows.formats[1].size, "\u2026");
  stack.openRows(a);
  library.runners.run();
  rows = stack.rows(*stack.find(a));
  const auto weight = codec->encode(flatPicture({48, 30}), {.format = ExportFormat::jpeg});
  EXPECT_TRUE(rows.formats[0].isCurrent);
  EXPECT_EQ(rows.formats[1].size, weight->size() < 1000
                                      ? std::to_string(weight->size()) + " bytes"
                                      : std::to_string((weight->size() + 500) / 1000) + " kB");
  EXPECT_THAT(rows.formats[2].obstacle, HasSubstr("couldn't be encoded"));
  EXPECT_THAT(rows.compress->note, HasSubstr("about "));
  EXPECT_EQ(library.files->names("/captures").size(), 5U) << "nothing was written";

  stack.compress(a);
  library.runners.run();
  EXPECT_EQ(stack.find(a)->state, Card::State::rest);
  EXPECT_EQ(stack.rows(*stack.find(a)).compress->note, "Already compact");
  const auto smaller = library.files->text("/captures/a.png").size();
  EXPECT_LT(smaller, codec->encode(flatPicture({48, 30}), {})->size());

  stack.convert(a, ExportFormat::webp);
  library.runners.run();
  EXPECT_EQ(stack.find(a)->entry->path, "/captures/a.webp");
  rows = stack.rows(*stack.find(a));
  EXPECT_TRUE(rows.formats[3].isCurrent);
  EXPECT_NE(rows.formats[1].size, "\u2026") << "measured anew";

  settings.set(&SettingsValues::cardFormatRow, false);
  settings.set(&SettingsValues::cardCompress, false);
  settings.set(&SettingsValues::cardRedact, false);
  EXPECT_TRUE(stack.rows(*stack.find(a)).isEmpty());
}

TEST_F(CardStackTest, WhatIsRedactedIsCoveredOnTheClipboardTooUnlessThatHasSomethingElse) {
  const auto a = capture("a");
  stack.copy(a);
  library.runners.run();
  ASSERT_EQ(codec->pixelSize(clipboard.png).value(), (PixelSize{48, 30}));
  stack.redact(a);
  library.runners.run();
  EXPECT_EQ(codec->pixelSize(clipboard.png).value(), (PixelSize{20, 20})) << "as it is drawn";

  const auto b = capture("b");
  clipboard.png = "somebody else's";
  stack.redact(b);
  library.runners.run();
  EXPECT_EQ(clipboard.png, "somebody else's");
}

TEST_F(CardStackTest, RedactSaysWhatItDidAndIsUndone) {
  const auto a = capture("a");
  const auto row = [&] { return *stack.rows(*stack.find(a)).redact; };
  ASSERT_TRUE(library.store
                  .update("a",
                          [](ScreenshotEntry& drawn) {
                            drawn.shapes = {
                                Shape{.type = ShapeType::redact, .x1 = 30, .x2 = 40, .y2 = 9}};
                            drawn.shapes[0].id = "mine";
                          })
                  .has_value());
  library.runners.run();
  redactFails = "Text can't be read here: no language is installed.";
  stack.redact(a);
  library.runners.run();
  EXPECT_EQ(stack.find(a)->state, Card::State::failed);
  EXPECT_EQ(stack.find(a)->sentence, redactFails);
  redactFails.clear();

  EXPECT_EQ(row().label, "Redact");
  stack.redact(a);
  library.runners.run();
  EXPECT_EQ(stack.find(a)->badge, "Redacted 3 items");
  EXPECT_EQ(stack.find(a)->state, Card::State::rest);
  EXPECT_EQ(row().label, "Undo Redact");
  EXPECT_EQ(row().note, "3 items");
  EXPECT_THAT(entry("a")->shapes, SizeIs(4));
  library.runners.advance(3s);
  EXPECT_EQ(stack.find(a)->badge, "");

  stack.redact(a);
  library.runners.run();
  ASSERT_THAT(entry("a")->shapes, SizeIs(1));
  EXPECT_EQ(entry("a")->shapes[0].id, "mine") << "what the user covered stays covered";
  EXPECT_EQ(row().label, "Redact");
  finds = 0;
  stack.redact(a);
  library.runners.run();
  EXPECT_EQ(stack.find(a)->badge, "Nothing sensitive found");
  EXPECT_EQ(row().note, "Nothing found");
  EXPECT_EQ(row().obstacle, "");
}

TEST_F(CardStackTest, WhatWasCoveredBeforeFilingIsUncoveredAndCoveredAgain) {
  cover("a", true);
  stack.add({.entry = entry("a"), .covered = 1, .picture = flatPicture({48, 30})});
  library.runners.run();
  const auto a = stack.cards().front().number;
  EXPECT_EQ(stack.find(a)->badge, "Redacted 1 item");
  EXPECT_FALSE(stack.find(a)->isWarning);
  const auto row = [&] { return *stack.rows(*stack.find(a)).redact; };
  EXPECT_EQ(row().label, "Remove Redactions");
  EXPECT_EQ(row().note, "1 item");
  library.files->put("/captures/a.png", codec->encode(flatPicture({30, 30}), {}).value());
  stack.redact(a);
  library.runners.run();
  EXPECT_EQ(stack.find(a)->badge, "Redactions removed");
  EXPECT_EQ(stack.find(a)->picture.size(), (PixelSize{30, 30})) << "what the file shows by now";
  EXPECT_EQ(row().label, "Redact Again");
  stack.redact(a);
  library.runners.run();
  EXPECT_THAT(switched, ElementsAre("a uncovered", "a covered"));
}

TEST_F(CardStackTest, TextIsCopiedOnceItIsReadAndWithoutWhatIsCovered) {
  const auto a = capture("a");
  EXPECT_FALSE(stack.rows(*stack.find(a)).copyText);
  EXPECT_TRUE(
      library.store.update("a", [](ScreenshotEntry& read) { read.ocrText = "some words"; }));
  library.runners.run();
  ASSERT_TRUE(stack.rows(*stack.find(a)).copyText);
  stack.copyText(a);
  library.runners.run();
  EXPECT_EQ(copiedText, "some words");
  EXPECT_EQ(stack.find(a)->badge, "Text copied");
  for (auto row : {&SettingsValues::cardFormatRow, &SettingsValues::cardCompress,
                   &SettingsValues::cardRedact}) {
    settings.set(row, false);
  }
  EXPECT_TRUE(stack.rows(*stack.find(a)).isEmpty()) << "it opens nothing for itself";
}

TEST_F(CardStackTest, WhatBecomesOfTheCaptureElsewhereShows) {
  const auto a = capture("a");
  const auto b = capture("b");
  library.library.deletion().trash({"a"}, HistoryDeletion::Undo::offered, [](const auto&) {});
  library.runners.run();
  EXPECT_EQ(stack.find(a), nullptr) << "deleted in History";
  surfaces.editors.show("b", [] {
    struct Open : Surface {
      void bringForward() override {}
    };
    return std::make_shared<Open>();
  });
  stack.convert(b, ExportFormat::jpeg);
  library.runners.run();
  EXPECT_EQ(stack.find(b)->state, Card::State::failed);
  EXPECT_EQ(stack.find(b)->sentence, "The capture can't be changed: close Annotate first.");
  library.files->disk.erase("/captures/c.png");
  const auto c = capture("c");
  stack.copy(c);
  library.runners.run();
  EXPECT_EQ(stack.find(c)->state, Card::State::failed);
  EXPECT_NE(stack.find(c)->sentence, "");
}

TEST_F(CardStackTest, OpensRevealsAndSavesElsewhere) {
  const auto a = capture("a");
  stack.reveal(a);
  EXPECT_THAT(revealed, ElementsAre("/captures/a.png"));
  library.files->folders.insert("/elsewhere");
  EXPECT_EQ(stack.suggestedFileName(*stack.find(a)), "a.png");
  const EntryPointer entryA = stack.find(a)->entry;
  stack.saveAs(entryA, "/elsewhere/mine.jpg");
  library.runners.run();
  EXPECT_THAT(library.files->text("/elsewhere/mine.jpg"), HasSubstr("jpeg"));
  stack.saveAs(entryA, "/elsewhere/plain");
  library.runners.run();
  EXPECT_TRUE(library.files->disk.contains("/elsewhere/plain.png"));
  stack.saveAs(entryA, "/captures/b.png");
  library.runners.run();
  EXPECT_EQ(stack.find(a)->state, Card::State::failed) << "never over another capture";

  // The question where to may stay longer than the card.
  const auto b = capture("b");
  const EntryPointer entryB = stack.find(b)->entry;
  stack.dismiss(b);
  stack.saveAs(entryB, "/elsewhere/late.png");
  library.runners.run();
  EXPECT_TRUE(library.files->disk.contains("/elsewhere/late.png"));
  EXPECT_EQ(stack.cards().front().entry->id, "b");

  openFails = Failure{FailureKind::other, "no program opens PNG pictures"};
  stack.open(a);
  EXPECT_EQ(stack.find(a)->sentence, "No program opens PNG pictures.");
  openFails.reset();
  stack.open(a);
  EXPECT_THAT(opened, ElementsAre("a"));
  EXPECT_EQ(stack.find(a), nullptr);
}

TEST_F(CardStackTest, TheKeyboardFindsTheNewestCardOrMakesOne) {
  const auto made = stack.cardForKeyboard();
  ASSERT_TRUE(made.has_value());
  EXPECT_EQ(stack.find(*made)->entry->id, "e");
  library.runners.run();
  EXPECT_EQ(stack.find(*made)->picture.size(), (PixelSize{48, 30}));
  // Annotated since: what is covered does not show on the card either.
  EXPECT_TRUE(library.store.update("e", [](ScreenshotEntry& entry) {
    entry.shapes = {Shape{.type = ShapeType::redact}};
    entry.editedAt = 7;
  }));
  library.runners.run();
  EXPECT_EQ(stack.find(*made)->picture.size(), (PixelSize{12, 6}));
  const auto b = capture("b");
  EXPECT_EQ(stack.cardForKeyboard(), b);
  stack.dismissAll();
  for (const char* id : {"a", "b", "c", "d", "e"}) {
    library.library.deletion().trash({id}, HistoryDeletion::Undo::none, [](const auto&) {});
  }
  library.runners.run();
  EXPECT_EQ(stack.cardForKeyboard(), std::nullopt);
}

}  // namespace
}  // namespace vantorel
