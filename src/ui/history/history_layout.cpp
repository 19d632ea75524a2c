#include "ui/history/history_layout.hpp"

#include <algorithm>
#include <cmath>

namespace vantorel {
namespace {

/// Above the first header and below the last row.
constexpr int edge = 8;

}  // namespace

void HistoryLayout::arrange(const HistoryListing& listing, const Measures& measures) {
  measures_ = measures;
  const int room = std::max(1, measures.width - 2 * measures.margin);
  if (isList()) {
    columns_ = 1;
    tileWidth_ = measures.width;
    step_ = tileWidth_;
    rowHeight_ = measures.listRow;
  } else {
    columns_ = std::max(1, (room + measures.gap) / (measures.leastTile + measures.gap));
    step_ = static_cast<double>(room + measures.gap) / columns_;
    tileWidth_ = std::max(1, static_cast<int>(step_) - measures.gap);
    rowHeight_ = pictureSize().height() + measures.captionHeight + measures.gap;
  }
  sections_.clear();
  int top = edge;
  for (const HistoryListing::Section& one : listing.sections()) {
    Section section{.top = top,
                    .header = one.title.empty() ? 0 : measures.headerHeight,
                    .begin = one.begin,
                    .count = one.count};
    top += section.header + rowsOf(section) * rowHeight_;
    if (isList()) top += edge;
    sections_.push_back(section);
  }
  count_ = listing.size();
  height_ = top + edge;
}

QSize HistoryLayout::pictureSize() const {
  if (isList()) return {52, 32};
  return {tileWidth_, qRound(tileWidth_ / 1.6)};
}

int HistoryLayout::rowsOf(const Section& section) const {
  const auto columns = static_cast<std::size_t>(columns_);
  return static_cast<int>((section.count + columns - 1) / columns);
}

QRect HistoryLayout::tile(std::size_t place) const {
  const auto after =
      std::ranges::upper_bound(sections_, place, {}, [](const Section& one) { return one.begin; });
  const Section& section = *std::prev(after);
  const int within = static_cast<int>(place - section.begin);
  const int y = section.top + section.header + within / columns_ * rowHeight_;
  if (isList()) return {0, y, tileWidth_, rowHeight_};
  int x = measures_.margin + static_cast<int>(within % columns_ * step_);
  if (measures_.isMirrored) x = measures_.width - x - tileWidth_;
  return {x, y, tileWidth_, rowHeight_ - measures_.gap};
}

QRect HistoryLayout::header(std::size_t section) const {
  return {0, sections_[section].top, measures_.width, sections_[section].header};
}

std::size_t HistoryLayout::sectionAt(int y) const {
  const auto after =
      std::ranges::upper_bound(sections_, y, {}, [](const Section& one) { return one.top; });
  return after == sections_.begin() ? 0 : static_cast<std::size_t>(after - sections_.begin()) - 1;
}

std::pair<std::size_t, std::size_t> HistoryLayout::placesBetween(int top, int bottom) const {
  if (sections_.empty()) return {0, 0};
  const auto rowAt = [this](int y) -> std::size_t {
    const Section& section = sections_[sectionAt(y)];
    const int row = std::max(0, y - section.top - section.header) / rowHeight_;
    return std::min(section.begin + static_cast<std::size_t>(row * columns_),
                    section.begin + section.count);
  };
  const std::size_t last = rowAt(bottom) + static_cast<std::size_t>(columns_);
  const Section& section = sections_[sectionAt(bottom)];
  return {rowAt(top), std::min(last, section.begin + section.count)};
}

std::optional<std::size_t> HistoryLayout::placeAt(const QPoint& at) const {
  const auto [begin, end] = placesBetween(at.y(), at.y());
  for (std::size_t place = begin; place < end; ++place) {
    if (tile(place).contains(at)) return place;
  }
  return std::nullopt;
}

std::vector<std::size_t> HistoryLayout::placesIn(const QRect& area) const {
  std::vector<std::size_t> places;
  const auto [begin, end] = placesBetween(area.top(), area.bottom());
  for (std::size_t place = begin; place < end; ++place) {
    if (tile(place).intersects(area)) places.push_back(place);
  }
  return places;
}

}  // namespace vantorel
