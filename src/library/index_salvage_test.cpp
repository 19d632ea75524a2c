#include "library/index_salvage.hpp"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "library/history_index_file.hpp"

namespace vantorel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::string_view head = R"({"version":4,"entries":[)";
constexpr std::string_view tail =
    R"(],"collections":[{"id":"c","name":"C","color":"red","note":"","sort":"newest",)"
    R"("order":["1"],"createdAt":1}],"later":{"x":[1]}})";

std::string entry(int number) {
  return fmt::format(
      R"({{"id":"{0}","capturedAt":{0},"path":"/{0}{0}.png","shapes":[{{"id":"s","type":"rect"}}],)"
      R"("title":"\"{{\", [é]"}})",
      number);
}

std::vector<std::string> idsIn(const EntryList& entries) {
  std::vector<std::string> ids;
  for (const EntryPointer& one : entries) ids.push_back(one->id);
  return ids;
}

std::vector<std::string> salvagedIds(std::string_view text) {
  return idsIn(salvageIndex(text).entries);
}

TEST(IndexSalvageTest, AFlippedBitCostsNoEntryButItsOwn) {
  std::string whole(head);
  std::vector<std::size_t> ends;
  for (int i = 1; i <= 3; ++i) {
    whole += (i == 1 ? "" : ",") + entry(i);
    ends.push_back(whole.size());
  }
  whole += tail;
  int damagedCount = 0;
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (int bit = 0; bit < 8; ++bit) {
      std::string text = whole;
      text[at] = static_cast<char>(text[at] ^ (1 << bit));
      const auto decoded = decodeIndex(text);
      if (decoded && decoded->file.version > HistoryIndexFile::currentVersion) continue;
      const SalvagedIndex salvaged = decoded ? SalvagedIndex() : salvageIndex(text);
      damagedCount += decoded ? 0 : 1;
      EXPECT_TRUE(decoded || salvaged.damagedPlaces == 1) << text;
      const auto& entries = decoded ? decoded->file.entries : salvaged.entries;
      std::set<std::string> paths;
      for (const EntryPointer& one : entries) paths.insert(one->path);
      EXPECT_EQ(paths.size(), entries.size()) << text;
      for (int i = 1; i <= 3; ++i) {
        const std::size_t end = ends[static_cast<std::size_t>(i) - 1];
        const bool isOwn = at >= end - entry(i).size() && at < end;
        EXPECT_TRUE(isOwn || paths.contains(fmt::format("/{}{}.png", i, i))) << text;
      }
      const std::size_t readable =
          entries.size() + (decoded ? decoded->file.unreadEntries.size() : 0);
      EXPECT_LE(readable, 3U) << text;
    }
  }
  EXPECT_GT(damagedCount, 1000);
}

TEST(IndexSalvageTest, WhatIsCutOffOrOverwrittenTakesNothingElseAlong) {
  const std::string whole =
      std::string(head) + entry(1) + "," + entry(2) + "," + entry(3) + std::string(tail);
  const std::size_t second = head.size() + entry(1).size() + 1;
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    std::vector<std::string> expected;
    for (int i = 1; i <= 3; ++i) {
      if (length >= head.size() + i * (entry(1).size() + 1) - 1) {
        expected.push_back(std::to_string(i));
      }
    }
    EXPECT_EQ(salvagedIds(whole.substr(0, length)), expected) << length;
  }
  for (const char filler : {'\0', ' ', '"', '{', 'x', '\xff'}) {
    std::string text = whole;
    std::fill_n(text.begin() + static_cast<std::ptrdiff_t>(second) - 1, 40, filler);
    const SalvagedIndex salvaged = salvageIndex(text);
    EXPECT_THAT(idsIn(salvaged.entries), ElementsAre("1", "3")) << text;
    EXPECT_EQ(salvaged.damagedPlaces, 1U);
    ASSERT_EQ(salvaged.collections.size(), 1U);
    EXPECT_EQ(salvaged.collections[0].name, "C");
  }
  EXPECT_THAT(salvagedIds(whole.substr(100)), ElementsAre("2", "3")) << "the beginning is gone";

  std::string two = whole;
  two[10 + second] = '\0';
  two.pop_back();
  EXPECT_EQ(salvageIndex(two).damagedPlaces, 2U);
}

TEST(IndexSalvageTest, NothingInsideADamagedEntryIsTakenForAnEntry) {
  // As a later build may keep an entry's earlier states.
  for (const std::string& nested :
       {R"("earlier":[)" + entry(7) + "," + entry(8) + "]", R"("earlier":)" + entry(7),
        R"("deep":{"earlier":[[)" + entry(7) + "]]}"}) {
    const std::string parent =
        R"({"id":"2","capturedAt":2,"path":"/2.png",)" + nested + R"(,"title":"t"})";
    for (const std::string& following : {"," + entry(3), std::string()}) {
      const std::string whole = fmt::format("{}{},{}{}{}", head, entry(1), parent, following, tail);
      std::vector<std::string> expected{"1"};
      if (!following.empty()) expected.emplace_back("3");
      std::string text = whole;
      text[text.find(R"("capturedAt":2)") + 12] = '\0';
      EXPECT_EQ(salvagedIds(text), expected) << text;
      expected.insert(expected.begin() + 1, "2");
      text = whole;
      text.back() = '\0';
      EXPECT_EQ(salvagedIds(text), expected) << text;
    }
  }
}

TEST(IndexSalvageTest, EntriesAreToldApartAndAnotherBuildsAndOtherFilesAreLeft) {
  std::string again = entry(1);
  again.replace(again.find("/11.png"), 7, "/x.png");
  const SalvagedIndex salvaged =
      salvageIndex(std::string(head) + entry(1) + "," + entry(1) + "," + again + ",");
  ASSERT_EQ(salvaged.entries.size(), 2U);
  EXPECT_EQ(salvaged.entries[1]->path, "/x.png");
  EXPECT_NE(salvaged.entries[1]->id, "1");

  EXPECT_THAT(salvagedIds(R"({"version": 5,"entries":[)" + entry(1) + ","), IsEmpty());
  EXPECT_THAT(salvagedIds(R"([{"id":"a"},{"id":"b","path":"/b"},)"), IsEmpty());
  EXPECT_THAT(salvagedIds(std::string(100000, '{')), IsEmpty());
  // Written by hand, with a comma that is missing.
  EXPECT_THAT(
      salvagedIds(
          "{ \"entries\": [\n  { \"id\": \"a\", \"path\": \"/a\", \"capturedAt\": 1 }\n"
          "  {\n \"id\": \"b\", \"path\": \"/b\", \"capturedAt\": 1 }\n ], \"version\": 4 }"),
      ElementsAre("a", "b"));
}

}  // namespace
}  // namespace vantorel
