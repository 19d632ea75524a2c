#include "ui/tray/status_menu_tree.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <tuple>
#include <utility>

namespace vantorel {
namespace {

auto looks(const StatusMenuTree::Node& node) {
  const StatusMenuItem& item = node.item;
  return std::tie(node.id, item.kind, item.label, item.shortcut, item.isEnabled, item.isChoice,
                  item.isChecked, node.children);
}

}  // namespace

bool StatusMenuTree::refresh() {
  std::map<int, Node> nodes;
  add(rootID, source_ ? source_() : std::vector<StatusMenuItem>(), nodes);
  const bool same = revision_ > 0 && std::equal(nodes.begin(), nodes.end(), nodes_.begin(),
                                                nodes_.end(), [](const auto& a, const auto& b) {
                                                  return looks(a.second) == looks(b.second);
                                                });
  nodes_ = std::move(nodes);
  if (!same) ++revision_;
  return !same;
}

void StatusMenuTree::add(int parent, std::vector<StatusMenuItem> items,
                         std::map<int, Node>& nodes) {
  nodes[parent].id = parent;
  std::map<std::string, int> seen;
  for (StatusMenuItem& item : items) {
    const int repetition = seen[item.label]++;
    const int id =
        numbers_
            .try_emplace(fmt::format("{}/{}/{}/{}", parent, repetition, item.shortcut, item.label),
                         static_cast<int>(numbers_.size()) + 1)
            .first->second;
    auto children = std::exchange(item.items, {});
    nodes[parent].children.push_back(id);
    nodes[id].item = std::move(item);
    add(id, std::move(children), nodes);
  }
}

const StatusMenuTree::Node* StatusMenuTree::find(int id) const {
  const auto found = nodes_.find(id);
  return found != nodes_.end() ? &found->second : nullptr;
}

}  // namespace vantorel
