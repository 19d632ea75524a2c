#include "library/parked_index.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/log.hpp"
#include "platform/testing/fake_files.hpp"

namespace vantorel {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr double day = 86400;
const LibraryPaths paths{"/data", "/caches"};

TEST(ParkedIndexTest, WhatIsDamagedLosesItsTextsAndKeepsTheRest) {
  const auto tidied = [](const std::string& text) {
    FakeFiles files;
    files.put("/data/history-1.unreadable.json", text);
    (void)tidyParkedIndexes(files, {"/data", "/caches"}, 1);
    return files.text("/data/history-1.unreadable.json");
  };
  EXPECT_EQ(
      tidied(R"({"entries":[{"id":"a","ocrText" : "a \"secret\"","title":"say \"ocrText\": me",)"
             R"("editedText":{"a":["secret",{"b":"]}"}]},"starred":true},{"id":"b)"),
      R"({"entries":[{"id":"a","ocrText" : null,"title":"say \"ocrText\": me",)"
      R"("editedText":null,"starred":true},{"id":"b)");
  // A list that lost its end takes no other entry with it.
  EXPECT_EQ(
      tidied(R"({"entries":[{"id":"a","ocrBlocks":[{"lines":["secret"},{"id":"b","title":"t"}])"),
      R"({"entries":[{"id":"a","ocrBlocks":null{"id":"b","title":"t"}])");
  EXPECT_EQ(tidied(R"({"codes":)"), R"({"codes":null)");
}

TEST(ParkedIndexTest, WhatARepairHasUsedGoesAfterAMonthAndWhichIsNewerStays) {
  FakeFiles files;
  const std::string text =
      R"({"version":4,"entries":[{"id":"a","capturedAt":1,"path":"/a.png","ocrText":"a secret"},)";
  const std::string older = "/data/history-1.unreadable.json";
  const std::string newer = "/data/history-0.unreadable.json";
  files.put(older, text);
  files.put("/data/history-2.unreadable.json", text);
  files.now = 1;
  files.put(newer, R"({"version":4,"entries":[{"id":"a","capturedAt":1,"path":"/a.png"},)");
  files.now = 2;
  ASSERT_TRUE(markSalvaged(files, "/data/history-2.unreadable.json").has_value());
  const std::string used = "history-2.salvaged.unreadable.json";
  EXPECT_EQ(files.names("/data"), (std::vector<std::string>{"history-0.unreadable.json",
                                                            "history-1.unreadable.json", used}));
  files.disk.at(paths.data / used)->status.mode = 0644;
  files.beforeChange = [&](int) { ++files.now; };
  EXPECT_EQ(tidyParkedIndexes(files, paths, 6), (ParkedIndexPass{.scrubbed = 2, .left = 1}));
  EXPECT_EQ(files.disk.at(paths.data / used)->status.mode, 0600U);
  EXPECT_THAT(files.text(paths.data / used), Not(HasSubstr("secret")));
  EXPECT_LT(files.status(older)->modified, files.status(newer)->modified);

  EXPECT_EQ(tidyParkedIndexes(files, paths, 31 * day), (ParkedIndexPass{.removed = 1, .left = 2}));
  EXPECT_FALSE(files.disk.contains(paths.data / used));
}

TEST(ParkedIndexTest, CopiesLoseTheirTextAndRubbishGoesAfterAMonthButNoLinkIsTouched) {
  std::string log;
  const LogSink formerSink = setLogSink(
      [&](LogLevel, std::string_view, std::string_view text) { log += std::string(text) + "\n"; });
  FakeFiles files;
  EXPECT_EQ(tidyParkedIndexes(files, paths, 0), ParkedIndexPass{}) << "there is no folder yet";

  const std::string text =
      R"({"version":3,"entries":{"x":[{"id":"a","ocrText":"a secret","title":"mine",)"
      R"("future":{"ocrBlocks":[{"text":"a secret"}],"deep":1e400},"shapes":[]}]}})";
  ASSERT_TRUE(files.makeFolder("/data", Privacy::ownerOnly).has_value());
  ASSERT_EQ(parkIndex(files, paths.index(), text, ParkedKind::unreadable), Parking::parked);
  EXPECT_THAT(files.flushed, testing::ElementsAre(paths.data))
      << "before the index is written over";
  ASSERT_EQ(parkIndex(files, paths.index(), text, ParkedKind::unreadable), Parking::alreadyParked);
  const Path parked = paths.data / files.names("/data").at(0);
  files.disk[parked]->status.mode = 0644;
  files.put("/data/history-1.unreadable.json", R"({"version":9,"entries":"none"})");
  files.put("/data/history-2.unreadable.json", R"({"version":4,"entries":[{"id":"a","ocrText":"a)");
  files.put("/data/history-3.unreadable.json", "a link");
  files.disk["/data/history-3.unreadable.json"]->status.type = FileType::link;
  files.disk["/data/history-3.unreadable.json"]->status.mode = 0777;
  files.put("/data/settings-1.unreadable.json", "another's rubbish");
  files.put("/data/history-1.unreadable.json.staging", "half a c");
  const auto texts = [&] {
    std::string all;
    for (const std::string& name : files.names("/data")) all += files.text(paths.data / name);
    return all;
  };

  EXPECT_EQ(tidyParkedIndexes(files, paths, 29 * day),
            (ParkedIndexPass{.scrubbed = 2, .alreadyClean = 1, .left = 1}));
  EXPECT_EQ(files.text("/data/history-2.unreadable.json"),
            R"({"version":4,"entries":[{"id":"a","ocrText":null)");
  EXPECT_EQ(files.text(parked), R"({"version":3,"entries":{"x":[{"id":"a","title":"mine",)"
                                R"("future":{"deep":1e400},"shapes":[]}]}})");
  EXPECT_EQ(files.disk[parked]->status.mode, 0600U);
  EXPECT_EQ(files.disk["/data/history-3.unreadable.json"]->status.mode, 0777U);
  EXPECT_FALSE(files.disk.contains("/data/history-1.unreadable.json.staging"));
  EXPECT_THAT(log, HasSubstr("made 1 parked index copy(ies) owner-only"));

  EXPECT_EQ(tidyParkedIndexes(files, paths, 31 * day),
            (ParkedIndexPass{.alreadyClean = 2, .removed = 1, .left = 1}));
  EXPECT_THAT(texts(), Not(HasSubstr("ocrText")));
  EXPECT_EQ(files.text("/data/settings-1.unreadable.json"), "another's rubbish");
  EXPECT_EQ(files.text("/data/history-3.unreadable.json"), "a link");

  // A disk that takes no changes leaves everything as it is, and says so.
  ASSERT_EQ(parkIndex(files, paths.index(), text, ParkedKind::unreadable), Parking::parked);
  files.put("/data/history-2.unreadable.json", "rubbish");
  files.changesFail = FailureKind::readOnly;
  const std::string before = texts();
  EXPECT_EQ(tidyParkedIndexes(files, paths, 31 * day),
            (ParkedIndexPass{.alreadyClean = 1, .left = 3}));
  EXPECT_EQ(texts(), before);
  EXPECT_THAT(log, HasSubstr("a parked index copy could not be rewritten without its text"));
  EXPECT_THAT(log, HasSubstr("a parked index copy no build can read could not be deleted"));
  setLogSink(formerSink);
}

}  // namespace
}  // namespace vantorel
