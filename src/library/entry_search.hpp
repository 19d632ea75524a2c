#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "base/local_day.hpp"
#include "library/history_query.hpp"

namespace vantorel {

/// The names that are searched of an entry, folded: its title, its file's and its application's.
[[nodiscard]] std::string searchedNames(const ScreenshotEntry& entry);

/// What a day is called, folded, each word after a blank.
[[nodiscard]] std::string searchedNames(const LocalDay& day);

/// Asks a query of entries one by one, without an index of their texts.
class EntrySearch {
 public:
  /// What of an entry's text is searched: a part of the entry, or of `room`.
  using TextOf = std::function<std::string_view(const ScreenshotEntry&, std::string& room)>;

  EntrySearch(PreparedHistoryQuery query, DayOf dayOf, TextOf textOf);

  [[nodiscard]] const PreparedHistoryQuery& query() const { return query_; }

  [[nodiscard]] bool finds(const ScreenshotEntry& entry);

 private:
  [[nodiscard]] const std::string& dayNamesAt(double seconds);

  struct Day {
    double end = 0;
    std::string names;
  };
  PreparedHistoryQuery query_;
  DayOf dayOf_;
  TextOf textOf_;
  std::map<double, Day> days_;  // by their beginning
};

}  // namespace vantorel
