#include "library/relocation_journal.hpp"

#include <fmt/format.h>

#include <set>

#include "base/log.hpp"
#include "base/path_text.hpp"
#include "library/file_reach.hpp"
#include "library/journal_file.hpp"
#include "library/unanswered_change.hpp"

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
  v.required("old", pair.oldPath, json::asPath);
  v.required("new", pair.newPath, json::asPath);
  v.required("size", pair.size);
  v.required("modified", pair.modified);
  v.field("fileCount", pair.fileCount);
  v.field("file", pair.file);
  v.field("copy", pair.copy);
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
    VT_TRY(removeJournalFile(files, paths.relocationJournal()));
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
Path RelocationJournal::temporaryFor(const Pair& pair) const {
  return Path(pair.newPath).parent_path() /
         fmt::format(".vantorel-{}-{}.partial", id, pair.file.value_or(0));
}

void RelocationJournal::removeTemporaries(Files& files) const {
  for (const Pair& pair : pairs) {
    const Path path = temporaryFor(pair);
    if (const auto removed = removeFile(files, path); !removed) {
      logWarning("History", "{} could not be removed: {}", path.string(), removed.error().reason);
    }
  }
}

namespace {

using Pair = RelocationJournal::Pair;

enum class Fate {
  moved,
  copied,   // the original is still to go
  unmoved,  // the file is where it was
  lost,     // it is at neither place
  unknown,  // a disk is away that would tell
};

/// Whether the file at the old place is the one that was to move.
bool isOriginal(const Pair& pair, const Result<FileStatus>& old) {
  return old && (!pair.file || static_cast<std::int64_t>(old->inode) == *pair.file);
}

bool isSilent(const Files& files, const Path& path) {
  const auto status = files.status(path);
  return !status && isUnanswered(status.error());
}

bool isReachable(FileReach reach) {
  return reach == FileReach::there || reach == FileReach::fileGone;
}

/// Whether both places are one by now, by a link or a mount.
bool isOneName(const Files& files, const Pair& pair) {
  const Path old = pair.oldPath;
  const Path now = pair.newPath;
  return old.filename() == now.filename() &&
         identityOf(files, old.parent_path()) == identityOf(files, now.parent_path());
}

bool isRenamed(const Files& files, const Pair& pair) {
  const auto status = files.status(pair.newPath);
  if (!status || (pair.file && static_cast<std::int64_t>(status->inode) != *pair.file)) {
    return false;
  }
  if (isOnOtherFileSystem(files, Path(pair.oldPath).parent_path(), pair.newPath) && pair.file) {
    return false;
  }
  const auto found = measureFile(files, pair.newPath);
  return found && found->isAs(pair.measure());
}

Fate fateOfCopy(const Files& files, const Pair& pair, bool isOldThere) {
  const Path path = pair.newPath;
  const FolderView folder(files, path.parent_path());
  const auto found = folder.identify(path.filename());
  if (found && found->isSameFileAs(*pair.copy)) {
    if (holdsAllOf(files, path, pair.oldPath)) return isOldThere ? Fate::copied : Fate::moved;
    if (isSilent(files, path) || isSilent(files, pair.oldPath)) return Fate::unknown;
  }
  if (!found && !isReachable(folder.reachOf(path.filename(), &*pair.copy))) return Fate::unknown;
  return isOldThere ? Fate::unmoved : Fate::lost;
}

/// Of an entry that names the old place.
Fate fateOf(const Files& files, const Pair& pair) {
  const auto old = files.status(pair.oldPath);
  if (!old && isUnanswered(old.error())) return Fate::unknown;
  if (pair.copy) return fateOfCopy(files, pair, isOriginal(pair, old));
  // Where a rename cannot spare what it finds, a move makes the new name and removes the old one.
  if (old && pair.file && old->type == FileType::regular && isOriginal(pair, old) &&
      isRenamed(files, pair) && !isOneName(files, pair)) {
    return Fate::copied;
  }
  if (old && isSilent(files, pair.newPath)) return Fate::unknown;
  if (old) return Fate::unmoved;
  if (isRenamed(files, pair)) return Fate::moved;
  const bool isKnown = isReachable(reachOf(files, Path(pair.oldPath))) &&
                       isReachable(reachOf(files, Path(pair.newPath)));
  return isKnown ? Fate::lost : Fate::unknown;
}

/// Of an entry that names the new place by now.
Fate fateOfOriginal(const Files& files, const Pair& pair) {
  // Nothing but its number says that the file is not one that somebody put there since.
  if (!pair.file || !pair.copy) return Fate::moved;
  const auto old = files.status(pair.oldPath);
  if (!old && isUnanswered(old.error())) return Fate::unknown;
  if (!isOriginal(pair, old)) return Fate::moved;
  const FolderView folder(files, Path(pair.newPath).parent_path());
  if (!isReachable(folder.reachOf(Path(pair.newPath).filename(), &*pair.copy)))
    return Fate::unknown;
  if (holdsAllOf(files, pair.newPath, pair.oldPath)) return Fate::copied;
  const bool isKnown = !isSilent(files, pair.newPath) && !isSilent(files, pair.oldPath);
  return isKnown ? Fate::moved : Fate::unknown;
}

}  // namespace

RelocationJournal::Resolution RelocationJournal::resolve(
    const Files& files, const std::unordered_set<std::string>& named) const {
  Resolution resolution;
  for (const Pair& pair : pairs) {
    const bool hasLanded = named.contains(pair.newPath);
    const bool isAwaited = named.contains(pair.oldPath);
    if (!hasLanded && !isAwaited) continue;
    if (hasLanded && isAwaited) {
      resolution.unmoved.push_back(pair.oldPath);
      continue;
    }
    const Fate fate = isSilent(files, temporaryFor(pair)) ? Fate::unknown
                      : hasLanded                         ? fateOfOriginal(files, pair)
                                                          : fateOf(files, pair);
    switch (fate) {
      case Fate::copied: resolution.surplus.push_back(pair.oldPath); [[fallthrough]];
      case Fate::moved:
        if (isAwaited) resolution.moved.emplace(pair.oldPath, pair.newPath);
        break;
      case Fate::unmoved: resolution.unmoved.push_back(pair.oldPath); break;
      case Fate::lost: break;
      case Fate::unknown: resolution.undecided.push_back(pair); break;
    }
  }
  return resolution;
}

}  // namespace vantorel
