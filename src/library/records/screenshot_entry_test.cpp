#include "library/records/screenshot_entry.hpp"

#include <gtest/gtest.h>

#include "library/records/history_collection.hpp"

namespace vantorel {
namespace {

ScreenshotEntry entryOf(const std::string& text) {
  auto entry = json::fromText<ScreenshotEntry>(text);
  EXPECT_TRUE(entry.has_value()) << entry.error().reason;
  return entry ? *std::move(entry) : ScreenshotEntry{};
}

std::string roundTrip(const std::string& text) { return json::toText(entryOf(text)); }

constexpr const char* blocks =
    R"([{"lines":[{"text":"Total 12","box":{"x":0.1,"y":0.2,"w":0.3,"h":0.05},"confidence":0.9}]}])";

TEST(ScreenshotEntryTest, FullEntryRoundTripsInOrderWithWhatIsUnknownAtEveryLevel) {
  const std::string full =
      R"({"id":"A","capturedAt":1767323045.678,"path":"/p/a.png","originalPath":"/p/o.png",)"
      R"("shapes":[{"id":"s","type":"counter","color":"#ff3b30","width":3,"points":[],)"
      R"("x1":0,"y1":0,"x2":0,"y2":0,"x":4,"y":5,"text":"","fontSize":0,"number":2,"later":1}],)"
      R"("crop":{"x":1,"y":2,"w":3,"h":4},)"
      R"("canvas":{"width":10,"height":20,"backdropHex":"#ffffff"},"ocrText":"Total 12",)"
      R"("ocrBlocks":[{"lines":[{"text":"Total 12","box":{"x":0.1,"y":0.2,"w":0.3,"h":0.05,"r":9},)"
      R"("confidence":0.9,"lang":"en"}],"kind":"p"}],"ocrVersion":3,"ocrTruncated":true,)"
      R"("translations":{"de":{"source":"en","blocks":[{"block":0,"text":"Summe 12"}],)"
      R"("fingerprint":"f","engine":"x"}},)"
      R"("codes":[{"payload":"p","symbology":"qr","box":{"x":0,"y":0,"w":1,"h":1}}],)"
      R"("pixelWidth":30,"pixelHeight":20,"isTallCapture":true,"medium":"gif",)"
      R"("durationSeconds":2.5,"trimmedAt":3,"editedAt":4,"captureScale":2,"starred":true,)"
      R"("zoomEvents":[{"time":1,"level":2,"focalX":0.5,"focalY":0.5,"by":"me"}],)"
      R"("collectionIDs":["c"],"sourceEntryID":"B",)"
      R"("gifExport":{"options":{"size":{"width":{"_0":640}},"framesPerSecond":12,"speed":1.5,)"
      R"("dithering":false,"loopsForever":true},"rangeStart":1,"rangeEnd":2},)"
      R"("studio":{"version":2,"duration":3,"posterTime":1,"zoom":7},)"
      R"("editedText":{"basis":"b","blocks":[],"parked":false},)"
      R"("sourceApp":{"bundleID":"org.x","name":"X"},"title":"T",)"
      R"("fileIdentity":{"volume":"v","folder":"/p","file":-9223372036854775803,"size":1,)"
      R"("modified":1.5,"folderFile":4503599627370497,"later":1},)"
      R"("originalIdentity":{"volume":"v","folder":"/p","file":2,"size":1,"modified":1},)"
      R"("weather":{"deep":[1.0,18446744073709551616]}})";
  EXPECT_EQ(roundTrip(full), full);
  // Some disks use all bits of the numbers of their files.
  EXPECT_EQ(static_cast<std::uint64_t>(entryOf(full).fileIdentity->file), 0x8000'0000'0000'0005U);
}

// A newer build's work survives an edit of the title by this one.
TEST(ScreenshotEntryTest, AnnotationsThatThisBuildCannotReadStayWhereTheyWere) {
  const std::string shape = R"({"id":"1","type":"pen","color":"#000000","width":1,"points":[)"
                            R"({"at":[1,2]},{"x":1,"y":2,"pressure":0.5},{"x":3,"y":4},7],)"
                            R"("x1":0,"y1":0,"x2":0,"y2":0,"x":0,"y":0,"text":"","fontSize":0})";
  const std::string text =
      R"({"id":"A","capturedAt":1,"path":"/a","shapes":[{"id":"0","type":"hologram","deep":[1]},)" +
      shape +
      R"(,null,{"id":"2","type":"lens","color":"#000000","width":1}],)"
      R"("crop":{"x":1,"y":2,"w":3,"h":4,"angle":5},)"
      R"("layers":[{"id":"v","kind":"video"},{"id":"l","frameIndex":0,"pixelWidth":1,)"
      R"("pixelHeight":1,"frame":{"x":1,"y":2,"w":3,"h":4,"tilt":[]},"visible":true,)"
      R"("locked":false,"name":""}],)"
      R"("ocrVersion":0,"ocrTruncated":false,"isTallCapture":false,"medium":"image",)"
      R"("starred":false,"collectionIDs":[],"title":"T"})";
  EXPECT_EQ(roundTrip(text), text);
  ScreenshotEntry entry = entryOf(text);
  ASSERT_EQ(entry.shapes.size(), 1U);
  EXPECT_EQ(entry.shapes[0].points.size(), 2U);
  ASSERT_EQ(entry.layers->size(), 1U);
  entry.crop = Box{5, 6, 7, 8};
  entry.layers.reset();
  entry.shapes.clear();
  const std::string edited = json::toText(entry);
  EXPECT_NE(edited.find(R"("angle":5)"), std::string::npos);
  EXPECT_NE(edited.find(R"({"id":"v","kind":"video"})"), std::string::npos);
  EXPECT_NE(edited.find(R"("hologram")"), std::string::npos);
}

TEST(ScreenshotEntryTest, OlderAndDamagedFieldsDoNotTakeTheEntryWithThem) {
  const std::string least =
      R"({"id":"A","capturedAt":1,"path":"/a","shapes":[],"ocrVersion":0,"ocrTruncated":false,)"
      R"("isTallCapture":false,"medium":"image","starred":false,"collectionIDs":[]})";
  EXPECT_EQ(roundTrip(R"({"id":"A","capturedAt":1,"path":"/a"})"), least);
  EXPECT_EQ(roundTrip(R"({"id":"A","capturedAt":1,"path":"/a","ocrVersion":3})"), least);
  EXPECT_EQ(entryOf(R"({"id":"A","capturedAt":1,"path":"/a","shapes":[)"
                    R"({"id":"1","type":"pen","color":"#000000","width":1},)"
                    R"({"id":"2","type":"hologram","color":"#000000","width":1},7,)"
                    R"({"id":"3","type":"rect","color":"#000000","width":1}]})")
                .shapes.size(),
            2U);
  // One bad line spoils the whole text: edits and translations count blocks.
  const ScreenshotEntry entry =
      entryOf(R"({"id":"A","capturedAt":1,"path":"/a","ocrVersion":3,"ocrBlocks":)"
              R"([{"lines":[]},{"lines":[{"text":"x","box":{"x":0}}]}]})");
  EXPECT_FALSE(entry.ocrBlocks.has_value());
  EXPECT_EQ(entry.ocrVersion, 0);

  for (const char* const bad :
       {R"({"capturedAt":1,"path":"/a"})", R"({"id":"A","capturedAt":"x","path":"/a"})",
        R"({"id":"A","capturedAt":1,"path":"/a","medium":"hologram"})"}) {
    EXPECT_FALSE(json::fromText<ScreenshotEntry>(bad).has_value()) << bad;
  }
}

TEST(ScreenshotEntryTest, TextShapeIsKeptOnlyForTheTextAndTheRulesItWasFoundWith) {
  const std::string start =
      std::string(R"({"id":"A","capturedAt":1,"path":"/a","ocrBlocks":)") + blocks;
  const std::string fingerprint = textFingerprint(*entryOf(start + "}").ocrBlocks);
  const auto shapeWith = [&](const std::string& version, const std::string& print,
                             const std::string& shape = R"("table")") {
    return entryOf(start + R"(,"textShape":)" + shape + R"(,"textShapeVersion":)" + version +
                   R"(,"textShapeFingerprint":)" + print + "}")
        .textShape;
  };
  const std::string right = '"' + fingerprint + '"';
  EXPECT_EQ(shapeWith("4", right), TextShape::table);
  EXPECT_EQ(shapeWith("3", right), std::nullopt);
  EXPECT_EQ(shapeWith(R"("4")", right), std::nullopt);
  EXPECT_EQ(shapeWith("4", R"("0123")"), std::nullopt);
  EXPECT_EQ(shapeWith("4", "4"), std::nullopt);
  EXPECT_EQ(shapeWith("4", right, R"("poem")"), std::nullopt);

  ScreenshotEntry entry = entryOf(start + "}");
  entry.textShape = TextShape::code;
  const ScreenshotEntry back = entryOf(json::toText(entry));
  EXPECT_EQ(back.textShape, TextShape::code);
  entry.ocrBlocks->front().lines.front().text += "!";
  EXPECT_NE(textFingerprint(*entry.ocrBlocks), fingerprint);
  // Without blocks the fingerprint is that of no text.
  entry.ocrBlocks.reset();
  EXPECT_EQ(entryOf(json::toText(entry)).textShape, TextShape::code);
}

}  // namespace
}  // namespace vantorel
