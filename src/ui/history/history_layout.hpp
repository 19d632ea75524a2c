#pragma once

#include <QPoint>
#include <QRect>
#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "library/history_listing.hpp"

namespace vantorel {

/// Where the captures of a listing lie in the window's content: rows of tiles, or of a list, below
/// the header of their day. What lies where is found by searching sums of heights. Content begins
/// at 0, 0; all in px.
class HistoryLayout {
 public:
  struct Measures {
    int width = 0;            ///< of the window's content
    int margin = 0;           ///< at the left and right
    bool isMirrored = false;  ///< the first tile is at the right
    int gap = 0;              ///< between tiles
    int leastTile = 0;
    int captionHeight = 0;  ///< below a picture
    int headerHeight = 0;   ///< of a day
    int listRow = 0;        ///< height of a row of the list; 0 is the grid

    bool operator==(const Measures&) const = default;
  };

  void arrange(const HistoryListing& listing, const Measures& measures);

  [[nodiscard]] int height() const { return height_; }
  [[nodiscard]] int columns() const { return columns_; }
  [[nodiscard]] int rowHeight() const { return rowHeight_; }  ///< with the gap below
  [[nodiscard]] bool isList() const { return measures_.listRow > 0; }

  /// The picture of a tile; of a list row nothing is cut off.
  [[nodiscard]] QSize pictureSize() const;

  [[nodiscard]] QRect tile(std::size_t place) const;
  [[nodiscard]] QRect header(std::size_t section) const;

  /// The section at that height: the last one that begins there or above.
  [[nodiscard]] std::size_t sectionAt(int y) const;
  [[nodiscard]] std::size_t sectionCount() const { return sections_.size(); }

  /// Those between two heights, from and up to.
  [[nodiscard]] std::pair<std::size_t, std::size_t> placesBetween(int top, int bottom) const;

  [[nodiscard]] std::optional<std::size_t> placeAt(const QPoint& at) const;

  /// Those that an area touches.
  [[nodiscard]] std::vector<std::size_t> placesIn(const QRect& area) const;

 private:
  struct Section {
    int top = 0;
    int header = 0;  // height
    std::size_t begin = 0;
    std::size_t count = 0;
  };
  [[nodiscard]] int rowsOf(const Section& section) const;

  Measures measures_;
  std::vector<Section> sections_;
  std::size_t count_ = 0;
  int columns_ = 1;
  double step_ = 0;  // from one tile to the next
  int tileWidth_ = 0;
  int rowHeight_ = 1;
  int height_ = 0;
};

}  // namespace vantorel
