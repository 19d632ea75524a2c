#include "library/history_listing.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>
#include <unordered_map>
#include <utility>

#include "library/entry_search.hpp"

namespace vantorel {
namespace {

/// In place of the place of a row that does not match.
constexpr std::uint32_t notListed = ~0U;

std::string titleOf(const LocalDay& day, const LocalDay& today) {
  const int days = daysBefore(day, today);
  if (days == 0) return "Today";
  if (days == 1) return "Yesterday";
  if (days > 1 && days < 7) return weekdayName(day);
  return day.year == today.year ? dayAndMonth(day) : fullDate(day);
}

std::string detailOf(const LocalDay& day, const LocalDay& today) {
  const int days = daysBefore(day, today);
  return days >= 0 && days < 7 ? dayAndMonth(day) : weekdayName(day);
}

}  // namespace

HistoryListing::HistoryListing(const HistoryStore& store, const Clock& clock, DayOf dayOf,
                               TextIndex::Services texts)
    : store_(store),
      clock_(clock),
      dayOf_(std::move(dayOf)),
      today_(dayOf_(clock.now())),
      texts_(std::move(texts)) {
  texts_.onRead = [this] {
    if (query_.words().empty()) return;
    isStale_ = true;
    if (onTextsRead) onTextsRead();
  };
  takeRows();
  filter();
}

void HistoryListing::follow(const HistoryChange& change) {
  isStale_ = true;
  mustTakeRows_ |= change.loaded || !change.added.empty() || !change.removed.empty();
  for (const EntryPointer& entry : change.removed) gone_.insert(entry.get());
  for (const HistoryChange::Update& update : change.updated) {
    if (replaceInPlace(update)) continue;
    gone_.insert(update.before.get());
    mustTakeRows_ = true;
  }
}

bool HistoryListing::refresh() {
  if (!std::exchange(isStale_, false)) return false;
  if (std::exchange(mustTakeRows_, false)) takeRows();
  sortRows();
  filter();
  return true;
}

bool HistoryListing::replaceInPlace(const HistoryChange::Update& update) {
  if (update.before->capturedAt != update.after->capturedAt) return false;
  const auto place = rowOf(*update.before);
  if (!place) return false;
  Row& row = rows_[*place];
  row.slot = texts_.replaced(row.slot, update.after);
  row.entry = update.after;
  row.isFolded = false;
  return true;
}

/// Brings the rows in line with the store. What was read of entries that stay is kept.
void HistoryListing::takeRows() {
  const EntryList& entries = store_.newestFirst();
  std::vector<Row> rows;
  rows.reserve(entries.size());
  std::size_t old = 0;
  for (const EntryPointer& entry : entries) {
    while (old < rows_.size() && gone_.contains(rows_[old].entry.get())) {
      texts_.remove(rows_[old++].slot);
    }
    if (old < rows_.size() && rows_[old].entry == entry) {
      rows.push_back(std::move(rows_[old++]));
    } else {
      rows.push_back({.entry = entry, .slot = texts_.add(entry)});
    }
  }
  for (; old < rows_.size(); ++old) texts_.remove(rows_[old].slot);
  rows_ = std::move(rows);
  textsRead_ = 0;
  gone_.clear();
  splitIntoDays();
}

void HistoryListing::splitIntoDays() {
  std::vector<Day> before = std::exchange(days_, {});
  std::size_t old = 0;
  for (Row& row : rows_) {
    const double time = row.entry->capturedAt;
    if (days_.empty() || time < days_.back().day.begin) {
      const LocalDay& day = dayAt(time);
      while (old < before.size() && before[old].day.begin > day.begin) ++old;
      const bool isKnown = old < before.size() && before[old].day == day;
      days_.push_back({day, isKnown ? std::move(before[old++].words) : searchedNames(day)});
    }
    row.day = static_cast<std::uint32_t>(days_.size() - 1);
  }
}

const LocalDay& HistoryListing::dayAt(double seconds) {
  const auto after = knownDays_.upper_bound(seconds);
  if (after != knownDays_.begin()) {
    const LocalDay& day = std::prev(after)->second;
    if (seconds < day.end) return day;
  }
  const LocalDay day = dayOf_(seconds);
  return knownDays_.insert_or_assign(day.begin, day).first->second;
}

bool HistoryListing::refreshDays() {
  const LocalDay today = dayOf_(clock_.now());
  if (today == today_) return false;
  today_ = today;
  knownDays_.clear();
  splitIntoDays();
  if (query().days) {
    query_ = prepared(query());
    filter();
  } else {
    makeSections();
  }
  return true;
}

void HistoryListing::setSort(const HistorySort& sort) {
  if (sort == sort_) return;
  sort_ = sort;
  sortRows();
  filter();
}

void HistoryListing::sortRows() {
  order_.clear();
  if (sort_.isNewestFirst()) return;
  order_ = sortedOrder(sort_, rows_.size(), [this](std::size_t row) -> const ScreenshotEntry& {
    return *rows_[row].entry;
  });
}

PreparedHistoryQuery HistoryListing::prepared(HistoryQuery query) const {
  std::optional<double> since;
  // Days are of 23 to 25 hours.
  constexpr double day = 86400;
  if (query.days) since = dayOf_(today_.begin + day / 2 - (*query.days - 1) * day).begin;
  return PreparedHistoryQuery(std::move(query), since);
}

void HistoryListing::setQuery(HistoryQuery query) {
  if (query == query_.query()) return;
  PreparedHistoryQuery next = prepared(std::move(query));
  const bool isNarrower = next.isNarrowerThan(query_);
  query_ = std::move(next);
  // A collection's own order is not that of the rows, which those that are left are put back into.
  if (isNarrower && ownOrder() == nullptr) {
    filter(std::exchange(matches_, {}));
  } else {
    filter();
  }
}

const std::string& HistoryListing::textOf(Row& row) {
  if (!row.isFolded) {
    row.text = searchedNames(*row.entry);
    row.isFolded = true;
  }
  return row.text;
}

bool HistoryListing::readTexts(std::size_t count) {
  texts_.read();
  for (; textsRead_ < rows_.size() && count > 0; ++textsRead_) {
    Row& row = rows_[textsRead_];
    if (row.isFolded) continue;
    (void)textOf(row);
    --count;
  }
  return textsRead_ < rows_.size();
}

void HistoryListing::filter() {
  if (!order_.empty()) return filter(order_);
  std::vector<std::uint32_t> all(rows_.size());
  std::iota(all.begin(), all.end(), 0U);
  filter(std::move(all));
}

void HistoryListing::filter(std::vector<std::uint32_t> candidates) {
  const HistoryQuery& query = query_.query();
  const bool admitsAll =
      query.scope == HistoryScope::all && !query.hasFilters() && !query.text.contains('@');
  if (!admitsAll) {
    std::erase_if(candidates,
                  [&](std::uint32_t place) { return !query_.admits(*rows_[place].entry); });
  }
  for (const SearchWord& word : query_.words()) filterByWord(word, candidates);
  matches_ = std::move(candidates);
  finishMatches();
}

void HistoryListing::filterByWord(const SearchWord& word, std::vector<std::uint32_t>& candidates) {
  // A word that a day has needs not be looked for in its entries. It has to begin one of the day's:
  // "ri" is no Friday.
  std::vector<bool> isOfDay(days_.size());
  for (std::size_t day = 0; day < days_.size(); ++day) {
    isOfDay[day] = days_[day].words.contains(" " + word.text);
  }
  TextIndex::Slots asked;
  for (const std::uint32_t place : candidates) {
    if (!isOfDay[rows_[place].day]) asked.insert(rows_[place].slot);
  }
  const TextIndex::Slots having = texts_.having(word, asked);
  std::erase_if(candidates, [&](std::uint32_t place) {
    Row& row = rows_[place];
    return !isOfDay[row.day] && !having.contains(row.slot) && !textOf(row).contains(word.text);
  });
}

const HistoryCollection* HistoryListing::ownOrder() const {
  if (query().scope != HistoryScope::collection || !sort_.isNewestFirst()) return nullptr;
  const HistoryCollection* const collection = store_.findCollection(query().collectionID);
  return collection != nullptr && collection->sort == CollectionSort::custom ? collection : nullptr;
}

void HistoryListing::finishMatches() {
  if (const HistoryCollection* const collection = ownOrder()) {
    std::unordered_map<std::string_view, std::size_t> places;
    for (const std::string& id : collection->order) places.emplace(id, places.size());
    // Those without a place come first, as new ones do elsewhere.
    const auto placeOf = [&](std::uint32_t row) {
      const auto found = places.find(rows_[row].entry->id);
      return found == places.end() ? 0 : found->second + 1;
    };
    std::ranges::stable_sort(matches_, {}, placeOf);
  }
  places_.clear();
  if (ownOrder() != nullptr || !sort_.isNewestFirst()) {
    places_.assign(rows_.size(), notListed);
    for (std::size_t i = 0; i < matches_.size(); ++i) {
      places_[matches_[i]] = static_cast<std::uint32_t>(i);
    }
  }
  makeSections();
}

bool HistoryListing::hasDays() const {
  return ownOrder() == nullptr && sort_.by == HistorySort::By::taken;
}

void HistoryListing::makeSections() {
  sections_.clear();
  if (!hasDays()) {
    if (!matches_.empty()) sections_.push_back({.day = today_, .count = matches_.size()});
    return;
  }
  for (std::size_t place = 0; place < matches_.size(); ++place) {
    const LocalDay& day = days_[rows_[matches_[place]].day].day;
    if (sections_.empty() || sections_.back().day.begin != day.begin) {
      sections_.push_back({.title = titleOf(day, today_),
                           .detail = detailOf(day, today_),
                           .month = fmt::format("{} {}", monthName(day), day.year),
                           .day = day,
                           .begin = place});
    }
    ++sections_.back().count;
  }
}

const HistoryListing::Section& HistoryListing::sectionOf(std::size_t place) const {
  return *std::prev(std::ranges::upper_bound(sections_, place, {}, &Section::begin));
}

std::optional<std::size_t> HistoryListing::rowOf(const ScreenshotEntry& entry) const {
  const auto isLater = [](double time, const Row& row) { return time > row.entry->capturedAt; };
  const auto timeOf = [](const Row& row) { return -row.entry->capturedAt; };
  auto row = std::ranges::lower_bound(rows_, -entry.capturedAt, {}, timeOf);
  for (; row != rows_.end() && !isLater(entry.capturedAt, *row); ++row) {
    if (row->entry->id == entry.id) return static_cast<std::size_t>(row - rows_.begin());
  }
  return std::nullopt;
}

std::optional<std::size_t> HistoryListing::placeOf(std::string_view id) const {
  const EntryPointer entry = store_.find(id);
  if (!entry) return std::nullopt;
  const auto row = rowOf(*entry);
  if (!row) return std::nullopt;
  if (!places_.empty()) {
    if (places_[*row] == notListed) return std::nullopt;
    return places_[*row];
  }
  const auto found = std::ranges::lower_bound(matches_, *row);
  if (found == matches_.end() || *found != *row) return std::nullopt;
  return static_cast<std::size_t>(found - matches_.begin());
}

std::string HistoryListing::timeOf(std::size_t place) const {
  const Row& row = rows_[matches_[place]];
  const LocalDay& day = days_[row.day].day;
  std::string time = clockTime(row.entry->capturedAt, day);
  if (hasDays()) return time;
  return fmt::format("{}-{:02}-{:02} {}", day.year, day.month, day.day, time);
}

}  // namespace vantorel
