#include "library/history_listing.hpp"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "library/history_selection.hpp"
#include "library/testing/test_library.hpp"

namespace vantorel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Mode = HistorySelection::Mode;
using Step = HistorySelection::Step;

constexpr double hour = 3600;
constexpr double day = 24 * hour;

/// Days of UTC that begin and end `shift` seconds earlier.
DayOf shiftedDays(double shift) {
  return [shift](double seconds) {
    const auto midnight = std::chrono::floor<std::chrono::days>(
        std::chrono::sys_time(std::chrono::duration_cast<std::chrono::nanoseconds>(
            std::chrono::duration<double>(seconds + shift))));
    const std::chrono::year_month_day date(midnight);
    const double begin = std::chrono::duration<double>(midnight.time_since_epoch()).count() - shift;
    return LocalDay{.year = static_cast<int>(date.year()),
                    .month = static_cast<int>(static_cast<unsigned>(date.month())),
                    .day = static_cast<int>(static_cast<unsigned>(date.day())),
                    .weekday = static_cast<int>(std::chrono::weekday(midnight).c_encoding()),
                    .begin = begin,
                    .end = begin + day};
  };
}

/// A library at noon UTC of Friday, 2 January 2026.
class HistoryListingTest : public testing::Test {
 protected:
  HistoryListingTest() {
    library.runners.setNow(noon);
    library.library.open();
    library.runners.run();
    observation = library.store.observe([this](const HistoryChange& change) {
      listing.follow(change);
      listing.refresh();
      selection.refresh();
    });
  }

  /// `ago` seconds before noon.
  void add(const std::string& id, double ago, const std::string& title = {},
           const std::function<void(ScreenshotEntry&)>& change = {}) {
    ScreenshotEntry entry;
    entry.id = id;
    entry.capturedAt = noon - ago;
    entry.path = "/pictures/" + id + ".png";
    if (!title.empty()) entry.title = title;
    if (change) change(entry);
    ASSERT_TRUE(library.store.add(std::move(entry)));
  }

  std::vector<std::string> listed() const {
    std::vector<std::string> ids;
    for (std::size_t i = 0; i < listing.size(); ++i) ids.push_back(listing.at(i)->id);
    return ids;
  }
  std::vector<std::string> titles() const {
    std::vector<std::string> all;
    for (const auto& section : listing.sections()) {
      all.push_back(fmt::format("{}|{}|{}", section.title, section.detail, section.count));
    }
    return all;
  }
  std::vector<std::string> search(const std::string& text) {
    HistoryQuery query = listing.query();
    query.text = text;
    listing.setQuery(query);
    return listed();
  }
  std::vector<std::string> selected() const {
    std::vector<std::string> ids;
    for (const EntryPointer& entry : selection.entries()) ids.push_back(entry->id);
    return ids;
  }
  std::vector<std::string> idsOfSubjects() const {
    std::vector<std::string> ids;
    for (const EntryPointer& entry : selection.subjects()) ids.push_back(entry->id);
    return ids;
  }
  std::string focused() const {
    return selection.focus() ? listing.at(*selection.focus())->id : "nobody";
  }

  static constexpr double noon = 1767355200;
  double shift = 0;
  TestLibrary library;
  HistoryListing listing{
      library.store,
      library.runners,
      [this](double seconds) { return shiftedDays(shift)(seconds); },
      {.main = library.runners.main(),
       .work = library.runners.runner("work"),
       .textOf = [](const ScreenshotEntry& entry, std::string&) -> std::string_view {
         return entry.ocrText ? std::string_view(*entry.ocrText) : "";
       }}};
  HistorySelection selection{listing};
  Observation observation;
};

TEST_F(HistoryListingTest, DaysHaveTheNamesThatPeopleCallThemBy) {
  add("now", 0);
  add("morning", 11.9 * hour);
  add("evening", 12.1 * hour);
  add("tuesday", 3 * day);
  add("six", 6 * day);
  add("seven", 7 * day);
  add("earlier this year", 400 * day);
  EXPECT_THAT(titles(), ElementsAre("Today|2 January|2", "Yesterday|1 January|1",
                                    "Tuesday|30 December|1", "Saturday|27 December|1",
                                    "26 December 2025|Friday|1", "28 November 2024|Thursday|1"));
  EXPECT_EQ(listing.sections().back().month, "November 2024");
  EXPECT_EQ(listing.timeOf(1), "00:06");

  // The titles of a window that stays open over midnight.
  EXPECT_FALSE(listing.refreshDays());
  library.runners.setNow(listing.nextDay());
  EXPECT_TRUE(listing.refreshDays());
  EXPECT_EQ(titles()[0], "Yesterday|2 January|2");

  // Someone who travels sees the days of where they are.
  shift = hour;
  EXPECT_TRUE(listing.refreshDays());
  EXPECT_EQ(titles()[0], "Yesterday|2 January|3");
  EXPECT_EQ(listing.timeOf(1), "01:06");
}

TEST_F(HistoryListingTest, EveryWordOfASearchMustBeFoundSomewhere) {
  add("a", 0, "Überblick River");
  add("b", 10, "", [](ScreenshotEntry& entry) {
    entry.path = "/river/Screenshot 7.png";  // folders are not searched
    entry.sourceApp = SourceApp{.bundleID = {}, .name = "Text Editor"};
  });
  add("c", day, "River", [](ScreenshotEntry& entry) { entry.medium = CaptureMedium::text; });
  EXPECT_THAT(search("r"), ElementsAre("a", "b", "c"));
  EXPECT_THAT(search("ri"), ElementsAre("a", "c"));
  EXPECT_THAT(search("ri UBER"), ElementsAre("a"));
  EXPECT_THAT(search("ri uberx"), IsEmpty());
  EXPECT_THAT(search("river"), ElementsAre("a", "c"));  // and wider again
  EXPECT_THAT(search("editor screenshot"), ElementsAre("b"));
  EXPECT_THAT(search("river thursday"), ElementsAre("c"));
  EXPECT_THAT(search("2026-01-02 rive"), ElementsAre("a"));
  EXPECT_THAT(search("@text"), ElementsAre("c"));
  EXPECT_THAT(search("@texte"), ElementsAre("b"));
  EXPECT_THAT(search("@tex"), ElementsAre("b"));
  EXPECT_THAT(search("@screenshot januar"), ElementsAre("a", "b"));

  // What was found follows what becomes of it.
  EXPECT_THAT(search("weir"), IsEmpty());
  ASSERT_TRUE(library.store.update("b", [](ScreenshotEntry& entry) { entry.title = "Weir"; }));
  EXPECT_THAT(listed(), ElementsAre("b"));
  add("d", 5, "The weir");
  EXPECT_THAT(listed(), ElementsAre("d", "b"));
  library.store.removeEntries({"b"});
  EXPECT_THAT(listed(), ElementsAre("d"));
  EXPECT_EQ(listing.placeOf("b"), std::nullopt);
  EXPECT_THAT(search(""), ElementsAre("a", "d", "c"));
  EXPECT_EQ(listing.placeOf("c"), 2U);
}

TEST_F(HistoryListingTest, TextsReadAheadAreNotKeptForOtherTitles) {
  add("a", 0, "Bridge");
  add("b", 10, "River");
  add("c", 20, "Weir");
  EXPECT_TRUE(listing.readTexts(2));
  EXPECT_FALSE(listing.readTexts(2));
  ASSERT_TRUE(library.store.update("b", [](ScreenshotEntry& entry) { entry.title = "Ferry"; }));
  EXPECT_THAT(search("river"), IsEmpty());
  EXPECT_THAT(search("ferry"), ElementsAre("b"));
  add("d", 5, "Ferry");
  EXPECT_FALSE(listing.readTexts(100));
  EXPECT_THAT(search("ferry"), ElementsAre("d", "b"));
  EXPECT_THAT(search("weir"), ElementsAre("c"));
}

TEST_F(HistoryListingTest, WhatStandsOnPicturesIsSearchedWithTheNames) {
  const auto reads = [](const char* text) {
    return [text](ScreenshotEntry& entry) { entry.ocrText = text; };
  };
  add("a", 0, "River", reads("Total 48 €\nfile:///home/user/Straße.cpp"));
  add("b", 10, "", reads("The river is wide\n\nTotal of all"));
  add("c", 20, "Total");
  EXPECT_THAT(search("river"), ElementsAre("a", "b"));
  EXPECT_THAT(search("river total"), ElementsAre("a", "b"));
  EXPECT_THAT(search("river tot \"total 4"), ElementsAre("a"));
  EXPECT_THAT(search("total"), ElementsAre("a", "b", "c"));
  EXPECT_THAT(search("user/STRASSE"), ElementsAre("a"));
  EXPECT_THAT(search("\"wide total\""), IsEmpty()) << "the one ends a paragraph";
  EXPECT_THAT(search("\"river is\" @screenshot friday"), ElementsAre("b"));

  // What was read meanwhile, and what was edited.
  EXPECT_THAT(search("lock"), IsEmpty());
  ASSERT_TRUE(library.store.update("c", [](ScreenshotEntry& entry) { entry.ocrText = "a Lock"; }));
  EXPECT_THAT(listed(), ElementsAre("c"));
  ASSERT_TRUE(library.store.update("c", [](ScreenshotEntry& entry) { entry.ocrText = "a weir"; }));
  EXPECT_THAT(listed(), IsEmpty());

  int told = 0;
  listing.onTextsRead = [&] { ++told; };
  for (int i = 0; i < 300; ++i) {
    add(fmt::format("n{}", i), 100 + i, "", reads("a lock and a weir"));
  }
  EXPECT_EQ(listed().size(), 300U);
  listing.readTexts(1000);
  library.runners.run();
  EXPECT_EQ(told, 1);
  EXPECT_TRUE(listing.refresh());
  EXPECT_EQ(listed().size(), 300U);
  library.store.removeEntries({"n7"});
  EXPECT_EQ(search("weir").size(), 300U) << "one is gone, and one changed to it";
}

TEST_F(HistoryListingTest, ScopesAndFiltersLeaveWhatTheySay) {
  const auto medium = [](CaptureMedium kind) {
    return [kind](ScreenshotEntry& entry) { entry.medium = kind; };
  };
  add("image", 0);
  add("movie", 1, "", medium(CaptureMedium::recording));
  add("gif", 2, "", medium(CaptureMedium::gif));
  add("text", 3, "", medium(CaptureMedium::text));
  add("star", 4, "", [](ScreenshotEntry& entry) {
    entry.starred = true;
    entry.sourceApp = SourceApp{.bundleID = {}, .name = "Mail"};
  });
  ASSERT_TRUE(library.store.addCollection({.id = "C", .name = "Poster"}));
  for (const char* const id : {"text", "image", "gif"}) {
    ASSERT_TRUE(library.store.setMembership(id, "C", true));
  }
  const auto with = [&](const HistoryQuery& query) {
    listing.setQuery(query);
    return listed();
  };
  EXPECT_THAT(with({.scope = HistoryScope::images}), ElementsAre("image", "star"));
  EXPECT_THAT(with({.scope = HistoryScope::recordings}), ElementsAre("movie", "gif"));
  EXPECT_THAT(with({.scope = HistoryScope::recordings, .kind = CaptureMedium::gif}),
              ElementsAre("gif"));
  EXPECT_THAT(with({.scope = HistoryScope::starred}), ElementsAre("star"));
  EXPECT_THAT(with({.application = "Mail"}), ElementsAre("star"));
  add("old", 6 * day, "", medium(CaptureMedium::gif));
  add("older", 7 * day, "", medium(CaptureMedium::gif));
  EXPECT_THAT(with({.kind = CaptureMedium::gif, .days = 7}), ElementsAre("gif", "old"));
  EXPECT_EQ(listing.query().filters(), (std::vector{HistoryFilter::kind, HistoryFilter::date}));
  EXPECT_EQ(listing.query().label(HistoryFilter::date), "Last 7 days");
  EXPECT_THAT(with(listing.query().without(HistoryFilter::date)),
              ElementsAre("gif", "old", "older"));
  EXPECT_THAT(with({.kind = CaptureMedium::gif, .days = 7}), ElementsAre("gif", "old"));
  library.runners.setNow(noon + day);
  EXPECT_TRUE(listing.refreshDays());
  EXPECT_THAT(listed(), ElementsAre("gif")) << "the last 7 days are others";

  const HistoryQuery collected{.scope = HistoryScope::collection, .collectionID = "C"};
  EXPECT_THAT(with(collected), ElementsAre("image", "gif", "text"));
  // A collection with an order of its own has no days.
  ASSERT_TRUE(library.store.updateCollection("C", [](HistoryCollection& collection) {
    collection.sort = CollectionSort::custom;
    collection.order = {"text", "gone", "gif"};
  }));
  EXPECT_THAT(listed(), ElementsAre("image", "text", "gif"));
  EXPECT_THAT(titles(), ElementsAre("||3"));
  EXPECT_EQ(listing.placeOf("text"), 1U);
}

TEST_F(HistoryListingTest, IsSortedByAnyColumn) {
  using By = HistorySort::By;
  const auto from = [](const char* application, int width) {
    return [application, width](ScreenshotEntry& entry) {
      if (*application != 0) entry.sourceApp = SourceApp{.bundleID = {}, .name = application};
      entry.pixelWidth = width;
      entry.pixelHeight = 100;
    };
  };
  add("a", 1, "weir", from("Terminal", 900));
  add("b", 2, "Älter", from("", 1000));
  add("c", day, "bridge", from("mail", 10));
  add("d", 2 * day, "Weir", from("Terminal", 90));
  const auto by = [&](By column) {
    listing.setSort(sortedBy(column, listing.sort()));
    selection.refresh();
    return listed();
  };
  selection.click(0, Mode::replace);
  EXPECT_THAT(by(By::title), ElementsAre("b", "c", "a", "d"));
  EXPECT_THAT(titles(), ElementsAre("||4")) << "no days";
  EXPECT_EQ(focused(), "a") << "who has the focus keeps it";
  EXPECT_EQ(listing.placeOf("d"), 3U);
  EXPECT_EQ(listing.timeOf(0), "2026-01-02 11:59");
  EXPECT_THAT(by(By::title), ElementsAre("a", "d", "c", "b")) << "the same stay the newest first";
  EXPECT_THAT(by(By::application), ElementsAre("c", "a", "d", "b"));
  EXPECT_THAT(by(By::application), ElementsAre("a", "d", "c", "b")) << "those without one are last";
  EXPECT_THAT(by(By::size), ElementsAre("b", "a", "d", "c"));

  // It holds for what is searched, and for what comes.
  search("weir");
  EXPECT_THAT(listed(), ElementsAre("a", "d"));
  EXPECT_EQ(listing.placeOf("c"), std::nullopt);
  search("");
  add("e", 3, "mill", from("Maps", 500));
  EXPECT_THAT(listed(), ElementsAre("b", "a", "e", "d", "c"));
  ASSERT_TRUE(library.store.update("c", [](ScreenshotEntry& entry) { entry.pixelWidth = 5000; }));
  EXPECT_THAT(listed(), ElementsAre("c", "b", "a", "e", "d"));

  EXPECT_THAT(by(By::taken), ElementsAre("a", "b", "e", "c", "d"));
  EXPECT_EQ(titles().size(), 3U);
  EXPECT_THAT(by(By::taken), ElementsAre("d", "c", "e", "b", "a"));
  EXPECT_EQ(titles().size(), 3U) << "days from the first to the last";
  EXPECT_EQ(listing.placeOf("a"), 4U);
}

TEST_F(HistoryListingTest, KeysWalkThroughRowsThatEndWithTheirDays) {
  // Three columns: today a b c / d, yesterday e f, before that g h i.
  double ago = 0;
  for (const char* const id : {"a", "b", "c", "d"}) add(id, ++ago);
  ago = day;
  for (const char* const id : {"e", "f"}) add(id, ++ago);
  ago = 2 * day;
  for (const char* const id : {"g", "h", "i"}) add(id, ++ago);
  const HistorySelection::Layout layout{.columns = 3, .rowsPerPage = 2};
  const auto go = [&](Step step, Mode mode = Mode::replace) {
    selection.step(step, layout, mode);
    return focused();
  };
  EXPECT_EQ(go(Step::down), "a");  // the first key selects the first
  EXPECT_EQ(go(Step::up), "a");
  EXPECT_EQ(go(Step::right), "b");
  EXPECT_EQ(go(Step::right), "c");
  EXPECT_EQ(go(Step::down), "d");
  EXPECT_EQ(go(Step::down), "e");
  EXPECT_EQ(go(Step::right), "f");
  EXPECT_EQ(go(Step::down), "h");
  EXPECT_EQ(go(Step::down), "h");
  EXPECT_EQ(go(Step::right), "i");
  EXPECT_EQ(go(Step::up), "f");
  EXPECT_EQ(go(Step::up), "d");
  EXPECT_EQ(go(Step::left), "c");
  EXPECT_EQ(go(Step::pageDown), "e");  // "d" is as far right as its row goes
  EXPECT_EQ(go(Step::end), "i");
  EXPECT_EQ(go(Step::home), "a");
  EXPECT_THAT(selected(), ElementsAre("a"));

  go(Step::down, Mode::extend);
  EXPECT_THAT(selected(), ElementsAre("a", "b", "c", "d"));
  go(Step::left, Mode::extend);
  EXPECT_THAT(selected(), ElementsAre("a", "b", "c"));
  go(Step::end, Mode::moveOnly);
  EXPECT_THAT(selected(), ElementsAre("a", "b", "c"));
  selection.toggleFocused();
  EXPECT_THAT(selected(), ElementsAre("a", "b", "c", "i"));
}

TEST_F(HistoryListingTest, WhatIsSelectedStaysSoWhenTheListChanges) {
  double ago = 0;
  for (const char* const id : {"a", "b", "c", "d"}) add(id, ++ago);
  selection.click(1, Mode::replace);
  selection.click(3, Mode::extend);
  selection.click(2, Mode::toggle);
  EXPECT_THAT(selected(), ElementsAre("b", "d"));
  add("new", 0);
  EXPECT_THAT(selected(), ElementsAre("b", "d"));
  EXPECT_EQ(focused(), "c");
  selection.click(4, Mode::extend);  // from where the anchor went
  EXPECT_THAT(selected(), ElementsAre("c", "d"));

  // The focus goes to the next one, as after Delete.
  library.store.removeEntries({"d"});
  EXPECT_THAT(selected(), ElementsAre("c"));
  EXPECT_EQ(focused(), "c");
  selection.click(0, Mode::replace);
  library.store.removeEntries({"new"});
  EXPECT_EQ(focused(), "a");
  EXPECT_THAT(selected(), IsEmpty());
  EXPECT_THAT(idsOfSubjects(), ElementsAre("a"));

  // A rubber band adds to what was there only when it is asked to.
  selection.click(2, Mode::replace);
  selection.beginBand(true);
  selection.setBand({0, 1});
  EXPECT_THAT(selected(), ElementsAre("a", "b", "c"));
  selection.setBand({0});
  EXPECT_THAT(selected(), ElementsAre("a", "c"));
  selection.beginBand(false);
  selection.setBand({});
  EXPECT_THAT(selected(), IsEmpty());

  selection.selectAll();
  search("b");
  selection.refresh();
  EXPECT_THAT(selected(), ElementsAre("b"));
}

}  // namespace
}  // namespace vantorel
