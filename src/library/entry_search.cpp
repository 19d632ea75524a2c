#include "library/entry_search.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "base/folded_text.hpp"
#include "library/entry_title.hpp"

namespace vantorel {

std::string searchedNames(const ScreenshotEntry& entry) {
  std::string names = entry.title.value_or("");
  names += '\n';
  names += fileNameOf(entry);
  if (entry.sourceApp) {
    names += '\n';
    names += entry.sourceApp->name;
  }
  return foldedText(names);
}

std::string searchedNames(const LocalDay& day) {
  return foldedText(fmt::format(" {} {} {}-{:02}-{:02}", weekdayName(day), fullDate(day), day.year,
                                day.month, day.day));
}

EntrySearch::EntrySearch(PreparedHistoryQuery query, DayOf dayOf, TextOf textOf)
    : query_(std::move(query)), dayOf_(std::move(dayOf)), textOf_(std::move(textOf)) {}

const std::string& EntrySearch::dayNamesAt(double seconds) {
  const auto after = days_.upper_bound(seconds);
  if (after != days_.begin()) {
    const Day& day = std::prev(after)->second;
    if (seconds < day.end) return day.names;
  }
  const LocalDay day = dayOf_(seconds);
  return days_.insert_or_assign(day.begin, Day{day.end, searchedNames(day)}).first->second.names;
}

bool EntrySearch::finds(const ScreenshotEntry& entry) {
  if (!query_.admits(entry)) return false;
  const std::vector<SearchWord>& words = query_.words();
  if (words.empty()) return true;
  const std::string names = searchedNames(entry);
  std::string room;
  const std::string_view text = textOf_(entry, room);
  return std::ranges::all_of(words, [&](const SearchWord& word) {
    return names.contains(word.text) || hasSearchable(text, word.text) ||
           dayNamesAt(entry.capturedAt).contains(" " + word.text);
  });
}

}  // namespace vantorel
