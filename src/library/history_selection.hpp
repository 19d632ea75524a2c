#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "library/history_listing.hpp"

namespace vantorel {

/// Which of the listed entries are selected, which one has the focus, and from where a range is
/// drawn. Places are those of the listing; what is selected stays so by its id when the listing
/// changes. Lives on the main runner.
class HistorySelection {
 public:
  /// What a click or a key does to what was selected.
  enum class Mode {
    replace,   ///< plain
    toggle,    ///< Ctrl with a click: adds or takes away
    moveOnly,  ///< Ctrl with a key: the focus alone
    extend,    ///< Shift: from the anchor to here
  };

  enum class Step { left, right, up, down, pageUp, pageDown, home, end };

  /// How the entries are laid out: each section begins a row of its own.
  struct Layout {
    std::size_t columns = 1;
    std::size_t rowsPerPage = 1;
  };

  explicit HistorySelection(const HistoryListing& listing) : listing_(listing) {}

  void click(std::size_t place, Mode mode);

  /// A right click: what is not selected is selected alone.
  void take(std::size_t place);

  /// From the focus; the first entry when there is none.
  void step(Step step, const Layout& layout, Mode mode);

  void toggleFocused();
  void selectAll();

  /// Nothing is selected; the focus stays.
  void clear();

  /// A rubber band is drawn: with `adds`, what was selected before stays.
  void beginBand(bool adds);

  /// What it touches now, in ascending order.
  void setBand(const std::vector<std::size_t>& places);

  /// Follows the listing. The focus of an entry that is listed no more goes to the one that has its
  /// place now.
  void refresh();

  [[nodiscard]] bool contains(const std::string& id) const { return ids_.contains(id); }
  [[nodiscard]] std::size_t size() const { return ids_.size(); }
  [[nodiscard]] bool isEmpty() const { return ids_.empty(); }
  [[nodiscard]] std::optional<std::size_t> focus() const { return focus_; }

  /// In the order of the listing.
  [[nodiscard]] const EntryList& entries() const;

  /// What an action is for: what is selected, or else the entry with the focus.
  [[nodiscard]] EntryList subjects() const;

 private:
  [[nodiscard]] std::size_t target(Step step, const Layout& layout) const;
  [[nodiscard]] std::size_t rowAbove(std::size_t place, const Layout& layout) const;
  [[nodiscard]] std::size_t rowBelow(std::size_t place, const Layout& layout) const;
  void setFocus(std::size_t place);
  void setAnchor(std::size_t place);
  void selectRange(std::size_t from, std::size_t to);

  using IDs = std::unordered_set<std::string>;

  const HistoryListing& listing_;
  IDs ids_;
  IDs beforeBand_;
  std::optional<std::size_t> focus_;
  std::string focusID_;
  mutable std::optional<EntryList> entries_;  // until something changes: it takes a while
  std::optional<std::size_t> anchor_;
  std::string anchorID_;
};

}  // namespace vantorel
