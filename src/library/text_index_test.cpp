#include "library/text_index.hpp"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <ranges>

#include "platform/testing/fake_runners.hpp"

namespace vantorel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(SearchWords, AreFoldedAndHeldTogetherByQuotes) {
  const TypedWords typed = typedWords(R"( Größe "Two  Words" @GIF @ größe "@mail" "" "open end)");
  EXPECT_THAT(typed.words, ElementsAre("grosse", "two words", "@mail", "open end"));
  EXPECT_THAT(typed.operators, ElementsAre("gif"));
  EXPECT_EQ(searchableText("  One\ttwo\nthree \n\n Four\n"), "one two three\nfour");
  EXPECT_TRUE(SearchWord("bridge").isSettledByPieces);
  EXPECT_TRUE(SearchWord("/").isSettledByPieces);
  EXPECT_FALSE(SearchWord("a/b").isSettledByPieces) << "a text may have all of it elsewhere";
}

/// Entries with texts, by number.
class TextIndexTest : public testing::Test {
 protected:
  static EntryPointer entryOf(const std::string& text) {
    auto entry = std::make_shared<ScreenshotEntry>();
    entry->ocrText = text;
    return entry;
  }
  void add(const std::string& text) {
    texts.push_back(text);
    slots.push_back(index.add(entryOf(text)));
  }
  void change(std::size_t number, const std::string& text) {
    texts[number] = text;
    slots[number] = index.replaced(slots[number], entryOf(text));
  }
  void remove(std::size_t number) {
    index.remove(std::exchange(slots[number], TextIndex::noSlot));
    texts[number].clear();
  }
  void read() {
    index.read();
    runners.run();
  }
  std::vector<std::size_t> found(const std::string& word) const {
    TextIndex::Slots all;
    for (const TextIndex::Slot slot : slots) all.insert(slot);
    const TextIndex::Slots having = index.having(SearchWord(word), all);
    std::vector<std::size_t> numbers;
    for (std::size_t i = 0; i < slots.size(); ++i) {
      if (having.contains(slots[i])) numbers.push_back(i);
    }
    return numbers;
  }
  /// Those that have the word, looked for one by one.
  std::vector<std::size_t> expected(const std::string& word) const {
    std::vector<std::size_t> numbers;
    for (std::size_t i = 0; i < texts.size(); ++i) {
      if (searchableText(texts[i]).contains(word)) numbers.push_back(i);
    }
    return numbers;
  }

  FakeRunners runners;
  TextIndex index{{.main = runners.main(),
                   .work = runners.runner("work"),
                   .textOf = [](const ScreenshotEntry& entry, std::string&) -> std::string_view {
                     return *entry.ocrText;
                   }}};
  std::vector<std::string> texts;
  std::vector<TextIndex::Slot> slots;
};

TEST_F(TextIndexTest, FindsWhatLookingThroughAllTextsFinds) {
  std::mt19937 random(3);
  const auto pick = [&](std::string_view letters) { return letters[random() % letters.size()]; };
  const auto makeText = [&] {
    std::string text;
    for (std::size_t words = random() % 40; words > 0; --words) {
      if (random() % 3 == 0) {
        text += fmt::format("common{} ", random() % 4);
        continue;
      }
      for (std::size_t left = 1 + random() % 6; left > 0; --left)
        text += pick("abcAB12/.-_\xC3\xA9");
      text += pick("  \n");
      if (random() % 9 == 0) text += "\nÜber ";
    }
    return text;
  };
  for (int i = 0; i < 900; ++i) add(makeText());
  const auto check = [&](const char* when) {
    for (const std::string& text : texts | std::views::take(60)) {
      const std::string searched = searchableText(text);
      if (searched.empty()) continue;
      const std::size_t begin = random() % searched.size();
      std::string word = searched.substr(begin, 1 + random() % 9);
      std::erase(word, '\n');
      while (word.starts_with(' ')) word.erase(0, 1);
      while (word.ends_with(' ')) word.pop_back();
      if (word.empty()) continue;
      ASSERT_EQ(found(word), expected(word)) << when << ": “" << word << "”";
    }
    for (const char* const word :
         {"common", "common1", "e", "uber", "/", "nowhere", "common2 co"}) {
      ASSERT_EQ(found(word), expected(word)) << when << ": " << word;
    }
  };
  check("before it has read anything");
  read();
  check("read");

  // Entries come, change and go while others are being read.
  for (int round = 0; round < 6; ++round) {
    for (int i = 0; i < 250; ++i) add(makeText());
    index.read();
    for (int i = 0; i < 60; ++i) {
      const std::size_t number = random() % texts.size();
      if (slots[number] == TextIndex::noSlot) continue;
      if (i % 2 == 0) {
        change(number, makeText());
      } else {
        remove(number);
      }
    }
    check("while it reads");
    runners.run();
    check("read again");
  }
  // Most of what was read first is gone.
  for (std::size_t i = 0; i < 900; ++i) {
    if (slots[i] != TextIndex::noSlot && i % 7 != 0) remove(i);
  }
  check("most is gone");
  read();
  check("and the rest read anew");
}

TEST_F(TextIndexTest, MoreThanCanBeLookedThroughIsFoundOnceItIsRead) {
  for (int i = 0; i < 20'000; ++i) add(fmt::format("shot number{} of many", i));
  EXPECT_FALSE(index.isRead());
  EXPECT_THAT(found("number777"), IsEmpty());
  int steps = 0;
  index.onRead = [&] { ++steps; };
  read();
  EXPECT_EQ(steps, 3);
  EXPECT_TRUE(index.isRead());
  EXPECT_EQ(found("number777").size(), 11U);
  EXPECT_EQ(found("many").size(), 20'000U);
  EXPECT_EQ(found("number777 of").size(), 1U);
}

TEST_F(TextIndexTest, TakesLessMemoryThanTheTextsHoweverTheyAreMade) {
  std::mt19937 random(5);
  const auto check = [&](const char* kind, const std::function<std::string()>& word) {
    std::size_t size = 0;
    for (int i = 0; i < 3000; ++i) {
      std::string text;
      while (text.size() < 1000) text += word() + ' ';
      size += text.size();
      add(text);
    }
    read();
    EXPECT_LT(index.bytes(), size) << kind;
    const std::string last = texts.back().substr(0, texts.back().find(' '));
    EXPECT_EQ(found(last), expected(last)) << kind;
    RecordProperty(kind, static_cast<int>(100 * index.bytes() / size));
    for (std::size_t i = 0; i < slots.size(); ++i) remove(i);
    slots.clear();
    texts.clear();
  };
  check("numbers", [&] { return fmt::format("{}", random()); });
  check("ofThreeLetters", [&] { return fmt::format("{:03x}", random() % 4096); });
  check("pathsAndMarks", [&] { return fmt::format("/a{}/b-{}", random() % 99, random() % 999); });
  check("same", [] { return "same"; });
}

}  // namespace
}  // namespace vantorel
