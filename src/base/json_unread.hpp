#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "base/json_record.hpp"

namespace vantorel::json {

/// What this build cannot read of a list, kept for the build that can: items, or the unknown
/// members of items. One pointer while there is nothing.
class Unread {
 public:
  struct Part {
    std::size_t index = 0;  ///< among the items that were read: it stands before that one
    JSONValue value;
    bool operator==(const Part&) const = default;
  };

  Unread() = default;
  Unread(const Unread& other) : parts_(copy(other)) {}
  Unread(Unread&&) noexcept = default;
  Unread& operator=(const Unread& other) {
    parts_ = copy(other);
    return *this;
  }
  Unread& operator=(Unread&&) noexcept = default;
  ~Unread() = default;

  /// In the order of the list.
  [[nodiscard]] const std::vector<Part>& parts() const;
  [[nodiscard]] bool isEmpty() const { return parts_ == nullptr; }
  void add(std::size_t index, JSONValue value);

  bool operator==(const Unread& other) const { return parts() == other.parts(); }

 private:
  static std::unique_ptr<std::vector<Part>> copy(const Unread& other) {
    return other.parts_ ? std::make_unique<std::vector<Part>>(*other.parts_) : nullptr;
  }

  std::unique_ptr<std::vector<Part>> parts_;
};

/// A list whose unreadable items are kept.
template <class Item>
struct WholeList {
  std::vector<Item> items;
  Unread unread;
};

template <class Item>
bool read(Cursor cursor, WholeList<Item>& list, Problem& problem) {
  if (problem.isStrict) return read(cursor, list.items, problem);
  if (cursor.kind() != Kind::array) return detail::wrongKind(problem, "a list");
  auto items = cursor.items();
  list.items.reserve(std::min(items.count(), 4 * items.weight() / sizeof(Item) + 1));
  for (Cursor item; items.next(item);) {
    if (read(item, list.items.emplace_back(), problem)) continue;
    list.items.pop_back();
    list.unread.add(list.items.size(), item.toValue());
    problem.clear();
  }
  return true;
}

/// The same to be written, without a copy.
template <class Item>
struct WholeListView {
  const std::vector<Item>& items;
  const Unread& unread;
};

template <class Item>
void write(Writer& writer, const WholeListView<Item>& list) {
  if (list.unread.isEmpty()) {
    write(writer, list.items);
    return;
  }
  writer.beginArray();
  auto part = list.unread.parts().begin();
  const auto end = list.unread.parts().end();
  for (std::size_t i = 0; i < list.items.size(); ++i) {
    for (; part != end && part->index <= i; ++part) writer.value(part->value);
    write(writer, list.items[i]);
  }
  for (; part != end; ++part) writer.value(part->value);
  writer.endArray();
}

/// Describes a list whose unreadable items stay in the file.
template <class V, class Items, class Kept>
void fieldWithUnread(V& v, std::string_view key, Items& items, Kept& unread) {
  using Item = typename std::remove_cvref_t<Items>::value_type;
  if constexpr (V::reading) {
    WholeList<Item> list;
    v.field(key, list);
    items = std::move(list.items);
    unread = std::move(list.unread);
  } else {
    v.field(key, WholeListView<Item>{items, unread});
  }
}

}  // namespace vantorel::json
