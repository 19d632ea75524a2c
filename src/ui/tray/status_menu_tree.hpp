#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "app/status_menu.hpp"

namespace vantorel {

/// The tray's menu as numbered lines, as a panel of another process asks for it. A line keeps its
/// number while its place in the menu's hierarchy, its label and its key stay, so that a click on a
/// menu that was read before a change still meets what the user saw, or nothing; and panels that
/// keep a line's first key for ever show the new one. Lives on the main thread.
class StatusMenuTree {
 public:
  struct Node {
    int id = 0;
    StatusMenuItem item;  ///< its `items` are empty: they are `children`
    std::vector<int> children;
  };

  static constexpr int rootID = 0;

  void setSource(std::function<std::vector<StatusMenuItem>()> source) {
    source_ = std::move(source);
  }

  /// Asks the source again. True when a reader of the last revision must read again.
  bool refresh();

  /// 0 until the first `refresh`.
  [[nodiscard]] std::uint32_t revision() const { return revision_; }

  /// Null when there is no such line any more.
  [[nodiscard]] const Node* find(int id) const;

 private:
  void add(int parent, std::vector<StatusMenuItem> items, std::map<int, Node>& nodes);

  std::function<std::vector<StatusMenuItem>()> source_;
  std::map<int, Node> nodes_;
  std::map<std::string, int> numbers_;  ///< of every line that ever was
  std::uint32_t revision_ = 0;
};

}  // namespace vantorel
