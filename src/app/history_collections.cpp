#include "app/history_collections.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <utility>

#include "base/plain_name.hpp"
#include "base/random_id.hpp"
#include "library/entry_filter.hpp"

namespace vantorel {
namespace {

/// In turn, so that neighbours differ.
constexpr std::array colors{CollectionColor::red,    CollectionColor::blue,
                            CollectionColor::green,  CollectionColor::orange,
                            CollectionColor::purple, CollectionColor::yellow};

/// `wanted`, or the first number of it that no collection but that of `id` has.
std::string freeName(const HistoryStore& store, const std::string& wanted, std::string_view id) {
  const auto isTaken = [&](const std::string& name) {
    return std::ranges::any_of(store.collections(), [&](const HistoryCollection& other) {
      return other.id != id && other.name == name;
    });
  };
  std::string name = wanted;
  for (int number = 2; isTaken(name); ++number) name = fmt::format("{} {}", wanted, number);
  return name;
}

}  // namespace

HistoryCollections::HistoryCollections(Library& library, SettingsStore& settings,
                                       std::shared_ptr<TaskRunner> main,
                                       std::function<void()> onUndoChange)
    : library_(library),
      settings_(settings),
      main_(std::move(main)),
      onUndoChange_(std::move(onUndoChange)) {}

Result<std::string> HistoryCollections::create(const std::string& name) {
  HistoryStore& store = library_.store();
  HistoryCollection collection;
  collection.id = randomID();
  collection.name = freeName(store, plainName(name), {});
  collection.color = colors.at(store.collections().size() % colors.size());
  collection.createdAt = library_.clock().now();
  std::string id = collection.id;
  VT_TRY(store.addCollection(std::move(collection)));
  return id;
}

Result<void> HistoryCollections::rename(const std::string& id, const std::string& name) {
  const std::string plain = plainName(name);
  if (plain.empty()) return {};
  const std::string free = freeName(library_.store(), plain, id);
  return library_.store().updateCollection(
      id, [&](HistoryCollection& collection) { collection.name = free; });
}

Result<void> HistoryCollections::move(const std::string& id, std::size_t place) {
  return library_.store().moveCollection(id, place);
}

void HistoryCollections::fileInto(const std::optional<std::string>& id) {
  settings_.set(&SettingsValues::activeCollectionID, id);
}

Result<void> HistoryCollections::remove(const std::string& id) {
  HistoryStore& store = library_.store();
  const auto& all = store.collections();
  const auto found = std::ranges::find(all, id, &HistoryCollection::id);
  if (found == all.end()) return {};
  Removed removed{.collection = *found,
                  .place = static_cast<std::size_t>(found - all.begin()),
                  .members = idsOf(store.membersOf(id).entries),
                  .wasFiledInto = settings_.values().activeCollectionID == id,
                  .undoEnds = library_.clock().monotonic() + undoWindow};
  VT_TRY(store.removeCollection(id));
  if (removed.wasFiledInto) fileInto(std::nullopt);
  removed_ = std::move(removed);
  timer_.renew();
  main_->postAfter(undoWindow, timer_.guard([this] {
    removed_.reset();
    onUndoChange_();
  }));
  onUndoChange_();
  return {};
}

Result<void> HistoryCollections::undo() {
  if (!removed_) return {};
  HistoryStore& store = library_.store();
  VT_TRY(store.addCollection(removed_->collection));
  const Removed removed = *std::exchange(removed_, std::nullopt);
  timer_.renew();
  VT_TRY(store.moveCollection(removed.collection.id, removed.place));
  for (const EntryPointer& entry : findEntries(store, removed.members)) {
    VT_TRY(store.setMembership(entry->id, removed.collection.id, true));
  }
  if (removed.wasFiledInto) fileInto(removed.collection.id);
  onUndoChange_();
  return {};
}

}  // namespace vantorel
