#include "library/relocation_journal.hpp"

#include <fmt/format.h>

#include <set>

#include "base/log.hpp"

namespace vantorel {
namespace {

/// An item of the list: what this build can read, or the value as it stands.
struct StoredPair {
  std::variant<JSONValue, RelocationJournal::Pair> value;
};

bool read(json::Cursor cursor, StoredPair& stored, json::Problem&) {
  RelocationJournal::Pair pair;
  json::Problem kept;
  if (read(cursor, pair, kept)) {
    stored.value = std::move(pair);
  } else {
    stored.value = cursor.toValue();
  }
  return true;
}

void write(json::Writer& writer, const StoredPair& stored) {
  using json::write;
  std::visit([&](const auto& value) { write(writer, value); }, stored.value);
}

struct StoredJournal {
  int version = RelocationJournal::currentVersion;
  std::string id;
  std::vector<StoredPair> pairs;
  json::Object extra;

  template <class V, class S>
  static void describe(V& v, S& journal) {
    v.required("version", journal.version);
    if constexpr (V::reading) {
      // What a newer build wrote may look like anything.
      if (journal.version > RelocationJournal::currentVersion) {
        return v.fail("version", "was written by a newer build");
      }
    }
    v.field("id", journal.id);
    v.required("pairs", journal.pairs);
    v.rest(journal.extra);
  }
};
VT_JSON_RECORD(StoredJournal)

}  // namespace

template <class V, class S>
void RelocationJournal::Pair::describe(V& v, S& pair) {
  v.required("old", pair.oldPath);
  v.required("new", pair.newPath);
  v.required("size", pair.size);
  v.required("modified", pair.modified);
  v.field("fileCount", pair.fileCount);
  v.rest(pair.extra);
}
VT_JSON_RECORD(RelocationJournal::Pair)

FileMeasure RelocationJournal::Pair::measure() const {
  return {static_cast<std::uint64_t>(size), modified, fileCount};
}

RelocationJournal::Read RelocationJournal::read(const Files& files, const LibraryPaths& paths) {
  auto text = files.read(paths.relocationJournal());
  if (!text && text.error().kind == FailureKind::notFound) return None{};
  if (!text) return Unreadable{text.error().reason};
  auto stored = json::fromText<StoredJournal>(*std::move(text));
  if (!stored) return Unreadable{stored.error().reason};
  RelocationJournal journal;
  journal.id = std::move(stored->id);
  journal.extra = std::move(stored->extra);
  for (StoredPair& item : stored->pairs) {
    if (auto* const pair = std::get_if<Pair>(&item.value)) {
      journal.pairs.push_back(std::move(*pair));
    } else {
      journal.unreadPairs.push_back(std::get<JSONValue>(std::move(item.value)));
    }
  }
  return journal;
}

Result<void> RelocationJournal::write(Files& files, const LibraryPaths& paths) const {
  if (isEmpty()) {
    const auto removed = files.remove(paths.relocationJournal());
    if (!removed && removed.error().kind != FailureKind::notFound) return removed;
  } else {
    StoredJournal stored{version, id, {}, extra};
    stored.pairs.reserve(pairs.size() + unreadPairs.size());
    for (const Pair& pair : pairs) stored.pairs.push_back({pair});
    for (const JSONValue& unread : unreadPairs) stored.pairs.push_back({unread});
    VT_TRY(files.replace(paths.relocationJournal(), json::toText(stored), Privacy::ownerOnly));
  }
  return files.flushFolder(paths.data);
}

// Recognised as a temporary by whoever looks for such in capture folders.
Path RelocationJournal::temporaryIn(const Path& folder) const {
  return folder / fmt::format(".vantorel-{}.partial", id);
}

void RelocationJournal::clearUp(Files& files, const std::unordered_set<std::string>& named) const {
  std::set<Path> folders;
  for (const Pair& pair : pairs) folders.insert(Path(pair.newPath).parent_path());
  std::vector<Path> surplus;
  for (const Path& folder : folders) surplus.push_back(temporaryIn(folder));
  for (const Pair& pair : pairs) {
    // A copy was made, and the original was still to go.
    if (!named.contains(pair.oldPath) && named.contains(pair.newPath) &&
        isOnOtherFileSystem(files, pair.oldPath, pair.newPath) &&
        holdsAllOf(files, pair.newPath, pair.oldPath)) {
      surplus.emplace_back(pair.oldPath);
    }
  }
  for (const Path& path : surplus) {
    if (const auto removed = removeFile(files, path); !removed) {
      logWarning("History", "{} could not be removed: {}", path.string(), removed.error().reason);
    }
  }
}

RelocationJournal::Resolution RelocationJournal::resolve(
    const Files& files, const std::unordered_set<std::string>& named) const {
  const auto isMoved = [&](const Pair& pair) {
    if (named.contains(pair.newPath)) return false;
    const auto found = measureFile(files, pair.newPath);
    return found && found->isAs(pair.measure()) &&
           (!files.status(pair.oldPath) ||
            (isOnOtherFileSystem(files, pair.oldPath, pair.newPath) &&
             holdsAllOf(files, pair.newPath, pair.oldPath)));
  };
  Resolution resolution;
  for (const Pair& pair : pairs) {
    if (isMoved(pair)) {
      resolution.moved.emplace(pair.oldPath, pair.newPath);
    } else {
      resolution.undecided.push_back(pair);
    }
  }
  return resolution;
}

}  // namespace vantorel
