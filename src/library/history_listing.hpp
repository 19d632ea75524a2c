#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "base/local_day.hpp"
#include "library/history_query.hpp"
#include "library/history_sort.hpp"
#include "library/history_store.hpp"
#include "library/text_index.hpp"
#include "platform/clock.hpp"

namespace vantorel {

/// The entries that the History window lists: those that a query leaves, the newest first, in the
/// days they were made on; a collection that has an order of its own in that order, without days;
/// or by what somebody has sorted them by, which has days when that is the time.
/// Keeps what it needs to search 100,000 entries at each letter typed. Lives on the main runner.
class HistoryListing {
 public:
  struct Section {
    std::string title;   ///< "Today", "Yesterday", "Wednesday", "3 March 2026"; empty without days
    std::string detail;  ///< the date or the weekday, whichever the title is not
    std::string month;   ///< "March 2026"
    LocalDay day;
    std::size_t begin = 0;  ///< the place of its first entry
    std::size_t count = 0;

    [[nodiscard]] std::size_t end() const { return begin + count; }
  };

  /// Both must outlive this. `dayOf` knows the time zone. `texts` reads what stands on pictures.
  HistoryListing(const HistoryStore& store, const Clock& clock, DayOf dayOf,
                 TextIndex::Services texts);

  /// To be told of every change, in order. What is listed stays as it is until `refresh`: many
  /// changes may be one step of the user.
  void follow(const HistoryChange& change);

  /// Takes up what the library has by now; false when nothing has changed.
  bool refresh();

  void setSort(const HistorySort& sort);
  [[nodiscard]] const HistorySort& sort() const { return sort_; }

  void setQuery(HistoryQuery query);
  [[nodiscard]] const HistoryQuery& query() const { return query_.query(); }

  /// Reads the names that are searched of `count` more entries, so that the first letter of a
  /// search need not wait for all of them, and has what stands on pictures read. False once there
  /// are no more names.
  bool readTexts(std::size_t count);

  /// Told when more of what stands on pictures has been read while somebody searches in it:
  /// `refresh` lists what has it.
  std::function<void()> onTextsRead;

  /// Whether what stands on pictures is searched in all of them yet.
  [[nodiscard]] bool hasReadTexts() const { return texts_.isRead(); }

  /// What the search takes in memory for what stands on pictures.
  [[nodiscard]] std::size_t textBytes() const { return texts_.bytes(); }

  /// The query, ready to be asked.
  [[nodiscard]] const PreparedHistoryQuery& prepared() const { return query_; }

  /// Another day has begun, or another time zone is in use: true when titles have changed.
  bool refreshDays();

  /// When the next day begins, in seconds since 1970-01-01 UTC.
  [[nodiscard]] double nextDay() const { return today_.end; }

  [[nodiscard]] const LocalDay& today() const { return today_; }

  // A place counts from 0 through all sections.

  [[nodiscard]] std::size_t size() const { return matches_.size(); }
  [[nodiscard]] bool isEmpty() const { return matches_.empty(); }
  [[nodiscard]] const EntryPointer& at(std::size_t place) const {
    return rows_[matches_[place]].entry;
  }
  [[nodiscard]] const std::vector<Section>& sections() const { return sections_; }

  /// The section of a place; there is one.
  [[nodiscard]] const Section& sectionOf(std::size_t place) const;

  /// Nothing when the entry is not listed.
  [[nodiscard]] std::optional<std::size_t> placeOf(std::string_view id) const;

  /// Whether the sections are days.
  [[nodiscard]] bool hasDays() const;

  /// The time of day an entry was made at, "14:05"; without days with the date, "2026-03-01 14:05".
  [[nodiscard]] std::string timeOf(std::size_t place) const;

 private:
  struct Row {
    EntryPointer entry;
    std::uint32_t day = 0;  // its place in `days_`
    bool isFolded = false;
    std::string text{};  // the names that are searched, once somebody searches
    TextIndex::Slot slot = TextIndex::noSlot;
  };
  struct Day {
    LocalDay day;
    std::string words;  // folded, each after a blank: what the day is called
  };

  using Gone = std::unordered_set<const ScreenshotEntry*>;

  void takeRows();
  void splitIntoDays();
  [[nodiscard]] const LocalDay& dayAt(double seconds);
  bool replaceInPlace(const HistoryChange::Update& update);
  [[nodiscard]] std::optional<std::size_t> rowOf(const ScreenshotEntry& entry) const;
  [[nodiscard]] static const std::string& textOf(Row& row);

  [[nodiscard]] PreparedHistoryQuery prepared(HistoryQuery query) const;
  void sortRows();
  void filter();
  void filter(std::vector<std::uint32_t> candidates);
  void filterByWord(const SearchWord& word, std::vector<std::uint32_t>& candidates);
  void finishMatches();
  void makeSections();
  [[nodiscard]] const HistoryCollection* ownOrder() const;

  const HistoryStore& store_;
  const Clock& clock_;
  DayOf dayOf_;
  LocalDay today_;
  PreparedHistoryQuery query_{HistoryQuery{}};
  TextIndex texts_;
  bool isStale_ = false;
  bool mustTakeRows_ = false;
  Gone gone_;                  // of `rows_`, since they were taken
  std::vector<Row> rows_;      // of all entries, the newest first
  std::size_t textsRead_ = 0;  // rows whose texts need not be looked at again
  std::vector<Day> days_;      // of the rows, the newest first
  std::map<double, LocalDay> knownDays_;
  HistorySort sort_;
  std::vector<std::uint32_t> order_;    // of the rows; empty for the newest first
  std::vector<std::uint32_t> matches_;  // places in `rows_`
  std::vector<std::uint32_t> places_;   // of the rows in `matches_`, unless the newest are first
  std::vector<Section> sections_;
};

}  // namespace vantorel
