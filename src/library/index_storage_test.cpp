#include "library/index_storage.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "base/json_document.hpp"
#include "base/log.hpp"
#include "platform/testing/fake_files.hpp"
#include "platform/testing/quiet_log.hpp"

namespace vantorel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* index = "/data/history.json";

class IndexStorageTest : public testing::Test {
 protected:
  IndexStorageTest() { files.folders.insert("/data"); }

  static EntryPointer entry(int number, const std::string& title) {
    ScreenshotEntry made;
    made.id = std::to_string(number);
    made.path = "/captures/" + made.id;
    made.title = title;
    return std::make_shared<const ScreenshotEntry>(std::move(made));
  }

  /// Titles as another run reads them.
  std::vector<std::string> titlesOnDisk() {
    IndexStorage other(files, {"/data", "/caches"}, 0);
    std::vector<std::string> titles;
    for (const EntryPointer& one : other.load().entries) titles.push_back(*one->title);
    return titles;
  }

  FakeFiles files;
  QuietLog quiet;
};

TEST_F(IndexStorageTest, RandomChangesArriveOnDiskHoweverTheIndexIsPutTogether) {
  std::mt19937 random(7);
  const auto below = [&](std::size_t bound) {
    return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random);
  };
  files.put(index,
            "{ \"entries\" : [ {\"id\":\"0\",\"capturedAt\":0,\"path\":\"/0\",\"title\":"
            "\"quo\\\"te, [\"} ,\n {\"id\":\"odd\"}\n, {\"title\":\"b\",\"id\":\"1\","
            "\"capturedAt\":1e0,\"path\":\"/1\"}\t] , \"version\": 4 , \"more\":[{}] }");
  IndexStorage storage(files, {"/data", "/caches"}, 0);
  std::vector<std::string> titles;
  for (const EntryPointer& one : storage.load().entries) titles.push_back(*one->title);
  EXPECT_THAT(titles, ElementsAre("quo\"te, [", "b"));
  int number = 2;
  for (int round = 0; round < 200; ++round) {
    std::vector<IndexChange> changes;
    for (std::size_t i = below(4); i > 0; --i) {
      const std::string title = fmt::format("{},{{\"{}", number, std::string(below(40), '\\'));
      const std::size_t kind = titles.empty() ? 0 : below(4);
      if (kind == 0) {
        const std::size_t at = below(titles.size() + 1);
        const std::size_t next = at + 1 + below(titles.size() - at + 1);
        changes.push_back({IndexChange::Insert{
            {{at, entry(number, title)}, {next, entry(number + 1, title + "!")}}}});
        titles.insert(titles.begin() + static_cast<std::ptrdiff_t>(at), title);
        titles.insert(titles.begin() + static_cast<std::ptrdiff_t>(next), title + "!");
      } else if (kind == 1) {
        const std::size_t at = below(titles.size());
        changes.push_back({IndexChange::Replace{at, entry(number, title)}});
        titles[at] = title;
      } else {
        const std::size_t at = below(titles.size());
        changes.push_back({IndexChange::Remove{{at}}});
        titles.erase(titles.begin() + static_cast<std::ptrdiff_t>(at));
      }
      number += 2;
    }
    storage.apply(std::move(changes));
    ASSERT_TRUE(storage.write().has_value());
    const auto parsed = json::parseValue(files.text(index));
    ASSERT_TRUE(parsed.has_value()) << files.text(index);
    ASSERT_EQ(titlesOnDisk(), titles) << files.text(index);
    EXPECT_THAT(files.text(index), testing::HasSubstr(R"({"id":"odd"})"));
  }
}

TEST_F(IndexStorageTest, OneChangeAmongManyIsOneEncoding) {
  IndexStorage storage(files, {"/data", "/caches"}, 0);
  (void)storage.load();
  IndexChange::Insert insert;
  for (int i = 0; i < 1000; ++i) {
    insert.entries.emplace_back(i, entry(i, std::string(500, 'x')));
  }
  storage.apply({{std::move(insert)}});
  ASSERT_TRUE(storage.write().has_value());
  EXPECT_EQ(files.copiedBytes, 0U);
  const auto size = files.text(index).size();

  // The same run that wrote it, and one that read it.
  for (int run = 0; run < 2; ++run) {
    IndexStorage second(files, {"/data", "/caches"}, 0);
    IndexStorage& writer = run == 0 ? storage : second;
    if (run == 1) (void)second.load();
    files.copiedBytes = 0;
    writer.apply({{IndexChange::Replace{400, entry(400, std::string(500, 'y'))}}});
    ASSERT_TRUE(writer.write().has_value());
    EXPECT_GT(files.copiedBytes, size - 2000);
    EXPECT_EQ(files.text(index).size(), size);
    EXPECT_EQ(titlesOnDisk()[400], std::string(500, 'y'));
  }
}

TEST_F(IndexStorageTest, WhatOthersWriteIntoTheFileIsNeverCopied) {
  IndexStorage storage(files, {"/data", "/caches"}, 0);
  (void)storage.load();
  storage.apply({{IndexChange::Insert{{{0, entry(0, "a")}, {1, entry(1, "b")}}}}});
  ASSERT_TRUE(storage.write().has_value());
  FakeFiles::File& file = *files.disk[index];
  file.bytes.assign(file.bytes.size(), '#');
  file.status.modified += 1;
  storage.apply({{IndexChange::Replace{1, entry(1, "c")}}});
  ASSERT_TRUE(storage.write().has_value());
  EXPECT_THAT(titlesOnDisk(), ElementsAre("a", "c"));

  // Replaced or deleted by somebody: the file that is open is still the one that was written.
  files.disk.erase(index);
  storage.apply({{IndexChange::Remove{{0}}}});
  ASSERT_TRUE(storage.write().has_value());
  EXPECT_THAT(titlesOnDisk(), ElementsAre("c"));
}

TEST_F(IndexStorageTest, WhatOthersPutInItsPlaceIsKeptAndANewerOneStays) {
  const auto ofOthers = [](int version, const std::string& title) {
    return fmt::format(
        R"({{"version":{},"entries":[{{"id":"x","capturedAt":1,"path":"/x","title":"{}"}}]}})",
        version, title);
  };
  IndexStorage storage(files, {"/data", "/caches"}, 0);
  const auto kept = [&](std::string_view ending) {
    std::vector<std::string> texts;
    for (const std::string& name : files.names("/data")) {
      if (name.ends_with(ending)) texts.push_back(files.text("/data/" + name));
    }
    return texts;
  };
  // None was there at the start, and then one came; the next comes while that one is being kept.
  (void)storage.load();
  storage.apply({{IndexChange::Insert{{{0, entry(0, "a")}}}}});
  std::vector<std::string> coming{ofOthers(4, "first"), ofOthers(3, "second"), "", "no index"};
  files.beforeChange = [&](int) {
    if (coming.empty()) return;
    if (!coming.front().empty()) files.put(index, coming.front());
    coming.erase(coming.begin());
  };
  ASSERT_TRUE(storage.write().has_value());
  EXPECT_THAT(titlesOnDisk(), ElementsAre("a"));
  EXPECT_THAT(kept(".replaced.json"),
              testing::UnorderedElementsAre(ofOthers(4, "first"), ofOthers(3, "second")));
  EXPECT_THAT(kept(".unreadable.json"), ElementsAre("no index"));
  const auto foreign = storage.takeForeign();
  ASSERT_EQ(foreign.size(), 3U);
  EXPECT_THAT(files.names("/data"), testing::Contains(foreign[0].keptAs));
  EXPECT_THAT(storage.takeForeign(), IsEmpty());

  // The same once more, under another number: a copy that was put back.
  files.put(index, files.text(index));
  ASSERT_TRUE(storage.write().has_value());
  EXPECT_THAT(storage.takeForeign(), IsEmpty());

  // Written into.
  files.disk[index]->bytes = ofOthers(4, "third");
  files.disk[index]->status.modified += 1;
  ASSERT_TRUE(storage.write().has_value());
  EXPECT_THAT(kept(".replaced.json"), testing::Contains(ofOthers(4, "third")));

  files.put(index, ofOthers(99, "newer"));
  EXPECT_FALSE(storage.write().has_value());
  EXPECT_EQ(files.text(index), ofOthers(99, "newer"));
  EXPECT_FALSE(files.disk.contains("/data/history.json.staging"));
  ASSERT_EQ(storage.takeForeign().back().load, IndexLoad::newer);
}

TEST_F(IndexStorageTest, OfTwoEntriesForOneCaptureNeitherIsLost) {
  const auto entry = [](const std::string& title) {
    return R"({"id":"a","capturedAt":1,"path":"/a","title":")" + title + "\"}";
  };
  const auto put = [&](const std::string& first, const std::string& second) {
    files.put(index, R"({"version":4,"entries":[)" + entry(first) + "," + entry(second) +
                         R"(],"collections":[]})");
  };
  const auto parked = [this] {
    std::vector<std::string> names = files.names("/data");
    std::erase_if(names, [](const std::string& name) { return !name.ends_with("able.json"); });
    return names;
  };
  put("same", "same");
  EXPECT_THAT(titlesOnDisk(), ElementsAre("same"));
  EXPECT_THAT(parked(), IsEmpty());

  put("first", "second");
  files.changesFail = FailureKind::noSpace;
  EXPECT_FALSE(allowsWrites(IndexStorage(files, {"/data", "/caches"}, 0).load().load));
  files.changesFail.reset();
  const std::string text = files.text(index);
  EXPECT_THAT(titlesOnDisk(), ElementsAre("first"));
  ASSERT_EQ(parked().size(), 1U);
  EXPECT_EQ(files.text("/data/" + parked()[0]), text);
}

TEST_F(IndexStorageTest, AWriteThatFailsSaysWhenItsStagingFileStays) {
  std::string said;
  setLogSink([&](LogLevel, std::string_view, std::string_view text) { said += text; });
  IndexStorage storage(files, {"/data", "/caches"}, 0);
  (void)storage.load();
  files.put("/data/undo.json.staging", "being written by somebody else");
  // The disk breaks while the index is written, for good or for that moment.
  bool isBrokenForGood = true;
  files.beforeChange = [&](int) {
    const bool isOfIndex = !files.changesFail;
    if (isOfIndex) files.put("/data/history.json.staging", "half an index");
    files.changesFail =
        isOfIndex || isBrokenForGood ? std::optional(FailureKind::readOnly) : std::nullopt;
  };
  EXPECT_FALSE(storage.write().has_value());
  EXPECT_THAT(said, testing::HasSubstr("history index staging file could not be cleared: "));
  isBrokenForGood = false;
  files.changesFail.reset();
  EXPECT_FALSE(storage.write().has_value());
  EXPECT_THAT(files.names("/data"), ElementsAre("undo.json.staging"));
}

TEST_F(IndexStorageTest, DamageAnywhereInsideAnEntryIsNoticed) {
  const std::string whole =
      R"({"version":4,"entries":[{"id":"a","capturedAt":1,"path":"/a","shapes":[]},)"
      R"({"id":"b","capturedAt":1,"path":"/b"}],"collections":[]})";
  for (std::size_t i = 0; i < whole.size(); ++i) {
    for (const char replacement : {'"', '}', ']', ',', '\\', '\x01', '{'}) {
      std::string damaged = whole;
      damaged[i] = replacement;
      const bool isJSON = json::parseValue(damaged).has_value();
      EXPECT_TRUE(isJSON || !decodeIndex(damaged)) << damaged;
    }
    EXPECT_FALSE(decodeIndex(whole.substr(0, i)).has_value()) << i;
  }
}

}  // namespace
}  // namespace vantorel
