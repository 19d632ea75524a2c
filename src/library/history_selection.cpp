#include "library/history_selection.hpp"

#include <algorithm>
#include <utility>

namespace vantorel {

void HistorySelection::setFocus(std::size_t place) {
  focus_ = place;
  focusID_ = listing_.at(place)->id;
}

void HistorySelection::setAnchor(std::size_t place) {
  anchor_ = place;
  anchorID_ = listing_.at(place)->id;
}

void HistorySelection::selectRange(std::size_t from, std::size_t to) {
  ids_.clear();
  for (std::size_t place = std::min(from, to); place <= std::max(from, to); ++place) {
    ids_.insert(listing_.at(place)->id);
  }
}

void HistorySelection::click(std::size_t place, Mode mode) {
  entries_.reset();
  if (place >= listing_.size()) return;
  const std::string& id = listing_.at(place)->id;
  switch (mode) {
    case Mode::replace:
      ids_ = {id};
      setAnchor(place);
      break;
    case Mode::toggle:
      if (ids_.erase(id) == 0) ids_.insert(id);
      setAnchor(place);
      break;
    case Mode::moveOnly: break;
    case Mode::extend:
      if (!anchor_) setAnchor(focus_.value_or(place));
      selectRange(*anchor_, place);
      break;
  }
  setFocus(place);
}

void HistorySelection::take(std::size_t place) {
  if (place >= listing_.size()) return;
  if (!contains(listing_.at(place)->id)) return click(place, Mode::replace);
  setFocus(place);
}

void HistorySelection::step(Step step, const Layout& layout, Mode mode) {
  if (listing_.isEmpty()) return;
  click(focus_ ? target(step, layout) : 0, mode);
}

void HistorySelection::toggleFocused() {
  if (focus_) click(*focus_, Mode::toggle);
}

void HistorySelection::selectAll() {
  entries_.reset();
  ids_.clear();
  ids_.reserve(listing_.size());
  for (std::size_t place = 0; place < listing_.size(); ++place) {
    ids_.insert(listing_.at(place)->id);
  }
}

void HistorySelection::clear() {
  entries_.reset();
  ids_.clear();
}

void HistorySelection::beginBand(bool adds) {
  entries_.reset();
  if (!adds) ids_.clear();
  beforeBand_ = ids_;
}

void HistorySelection::setBand(const std::vector<std::size_t>& places) {
  entries_.reset();
  ids_ = beforeBand_;
  for (const std::size_t place : places) ids_.insert(listing_.at(place)->id);
  if (!places.empty()) {
    setAnchor(places.front());
    setFocus(places.back());
  }
}

void HistorySelection::refresh() {
  entries_.reset();
  std::erase_if(ids_, [this](const std::string& id) { return !listing_.placeOf(id); });
  std::erase_if(beforeBand_, [this](const std::string& id) { return !listing_.placeOf(id); });
  if (anchor_) anchor_ = listing_.placeOf(anchorID_);
  if (!focus_) return;
  const auto place = listing_.placeOf(focusID_);
  if (!place && listing_.isEmpty()) {
    focus_.reset();
  } else {
    setFocus(place.value_or(std::min(*focus_, listing_.size() - 1)));
  }
}

const EntryList& HistorySelection::entries() const {
  if (entries_) return *entries_;
  std::vector<std::size_t> places;
  places.reserve(ids_.size());
  for (const std::string& id : ids_) {
    if (const auto place = listing_.placeOf(id)) places.push_back(*place);
  }
  std::ranges::sort(places);
  EntryList& entries = entries_.emplace();
  entries.reserve(places.size());
  for (const std::size_t place : places) entries.push_back(listing_.at(place));
  return entries;
}

EntryList HistorySelection::subjects() const {
  if (!isEmpty()) return entries();
  return focus_ ? EntryList{listing_.at(*focus_)} : EntryList{};
}

/// The place above, in the row before: that may be the last one of another section, and shorter.
std::size_t HistorySelection::rowAbove(std::size_t place, const Layout& layout) const {
  const HistoryListing::Section& section = listing_.sectionOf(place);
  if (place - section.begin >= layout.columns) return place - layout.columns;
  if (section.begin == 0) return place;
  const HistoryListing::Section& above = listing_.sectionOf(section.begin - 1);
  const std::size_t lastRow = (above.count - 1) / layout.columns * layout.columns;
  return std::min(above.begin + lastRow + (place - section.begin), above.end() - 1);
}

std::size_t HistorySelection::rowBelow(std::size_t place, const Layout& layout) const {
  const HistoryListing::Section& section = listing_.sectionOf(place);
  const std::size_t column = (place - section.begin) % layout.columns;
  const std::size_t lastRow = (section.count - 1) / layout.columns * layout.columns;
  if (place - section.begin < lastRow) {
    return std::min(place + layout.columns, section.end() - 1);
  }
  if (section.end() >= listing_.size()) return place;
  const HistoryListing::Section& below = listing_.sectionOf(section.end());
  return std::min(below.begin + column, below.end() - 1);
}

std::size_t HistorySelection::target(Step step, const Layout& layout) const {
  const std::size_t last = listing_.size() - 1;
  std::size_t place = std::min(*focus_, last);
  switch (step) {
    case Step::left: return place == 0 ? 0 : place - 1;
    case Step::right: return std::min(place + 1, last);
    case Step::up: return rowAbove(place, layout);
    case Step::down: return rowBelow(place, layout);
    case Step::pageUp:
      for (std::size_t i = 0; i < layout.rowsPerPage; ++i) place = rowAbove(place, layout);
      return place;
    case Step::pageDown:
      for (std::size_t i = 0; i < layout.rowsPerPage; ++i) place = rowBelow(place, layout);
      return place;
    case Step::home: return 0;
    case Step::end: return last;
  }
  std::unreachable();
}

}  // namespace vantorel
