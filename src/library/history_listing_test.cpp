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
  HistoryListing listing{library.store, library.runners,
                         [this](double seconds) { return shiftedDays(shift)(seconds); }};
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
  EXPECT_THAT(with({.since = noon - 1}), ElementsAre("image", "movie"));

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
