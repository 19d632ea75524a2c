#include "library/relocation_journal.hpp"

#include <fmt/format.h>

#include <set>

#include "base/path_text.hpp"
#include "library/file_move.hpp"
#include "library/file_reach.hpp"
#include "library/journal_file.hpp"
#include "library/noted_place.hpp"
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
  v.field("volume", pair.volume);
  v.rest(pair.extra);
}
VT_JSON_RECORD(RelocationJournal::Pair)

FileMeasure RelocationJournal::Pair::measure() const {
  return {static_cast<std::uint64_t>(size), modified, fileCount};
}

bool RelocationJournal::Pair::isAlike(const FileMeasure& found) const {
  return static_cast<std::int64_t>(found.size) == size && found.modified == modified &&
         found.fileCount == fileCount;
}

bool RelocationJournal::Pair::isDiskOfOldAway(const Files& files) const {
  return isDiskAway(files, Path(oldPath).parent_path(), volume);
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

namespace {

/// Whatever its number is.
bool looksLike(const FileIdentity& found, const FileIdentity& noted) {
  return found.volume == noted.volume && found.size == noted.size &&
         found.modified == noted.modified;
}

/// Whether the half copy may be what has the new name, too, though that has another number: on some
/// disks (FUSE) each name has one of its own.
bool mayHaveBothNames(Files& files, const RelocationJournal::Pair& pair, const Path& half) {
  const auto named = identifyFile(files, pair.newPath);
  if (!named || !looksLike(*named, *pair.copy)) return false;
  const Path second = half.parent_path() / (half.stem().string() + "-2.partial");
  const auto linked = files.linkNew(half, second);
  // Gone by now, though the mount still shows it: its name went when it had got the new one.
  if (!linked) return linked.error().kind == FailureKind::notFound || isUnanswered(linked.error());
  const auto status = files.status(second);
  removeFileOrWarn(files, second);
  return status && static_cast<std::int64_t>(status->inode) != pair.copy->file;
}

}  // namespace

// Recognised as a temporary by whoever looks for such in capture folders.
Path RelocationJournal::temporaryFor(const Pair& pair) const {
  return Path(pair.newPath).parent_path() /
         fmt::format(".vantorel-{}-{}.partial", id, pair.file.value_or(0));
}

void RelocationJournal::removeTemporaries(Files& files) {
  for (Pair& pair : pairs) {
    const Path path = temporaryFor(pair);
    const auto half = pair.copy ? identifyFile(files, path) : std::nullopt;
    if (half && looksLike(*half, *pair.copy)) {
      // Where the disk has numbered its files anew, both may be names of the copy.
      const auto named = files.status(pair.newPath);
      const bool isNumberedAnew = half->file != pair.copy->file;
      const bool isFree = !named && named.error().kind == FailureKind::notFound;
      const bool isAnothers = named && !isNumberedAnew &&
                              static_cast<std::int64_t>(named->inode) != half->file &&
                              !mayHaveBothNames(files, pair, path);
      if (isFree || isAnothers) pair.copy.reset();
    }
    removeFileOrWarn(files, path);
  }
}

namespace {

using Pair = RelocationJournal::Pair;

enum class Fate {
  moved,
  copied,         // the original is still to go
  copiedInDoubt,  // what has the original's name is probably the original
  copiedAway,     // the disk that has the original is not there
  unmoved,        // the file is where it was
  lost,           // it is at neither place
  unknown,        // a disk is away that would tell
};

/// What has the old place of the file that was to move.
NotedPlace oldPlace(const Files& files, const Pair& pair, const Result<FileStatus>& old) {
  if (!old) return NotedPlace::nothing;
  if (!pair.file || static_cast<std::int64_t>(old->inode) == *pair.file) return NotedPlace::same;
  const auto found = measureFile(files, pair.oldPath);
  return found && pair.isAlike(*found) ? NotedPlace::alike : NotedPlace::another;
}

/// What has the new place of a file that was to be renamed.
NotedPlace renamedPlace(const Files& files, const Pair& pair) {
  const auto status = files.status(pair.newPath);
  if (!status) return NotedPlace::nothing;
  if (isOnOtherFileSystem(files, Path(pair.oldPath).parent_path(), pair.newPath) && pair.file) {
    return NotedPlace::another;
  }
  const auto found = measureFile(files, pair.newPath);
  if (!found) return NotedPlace::another;
  if (!pair.file || static_cast<std::int64_t>(status->inode) == *pair.file) {
    return found->isAs(pair.measure()) ? NotedPlace::same : NotedPlace::another;
  }
  return pair.isAlike(*found) ? NotedPlace::alike : NotedPlace::another;
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

/// Where a rename cannot spare what it finds, a move makes the new name and removes the old one.
/// Nothing when it was not cut short between the two.
std::optional<Fate> fateOfHalfMoved(const Files& files, const Pair& pair,
                                    const Result<FileStatus>& old) {
  if (!old || !pair.file || old->type != FileType::regular) return std::nullopt;
  const NotedPlace before = oldPlace(files, pair, old);
  const NotedPlace after = renamedPlace(files, pair);
  const bool isAfter =
      after == NotedPlace::same || (after == NotedPlace::alike && before == NotedPlace::alike);
  if (before == NotedPlace::another || !isAfter || isOneName(files, pair)) return std::nullopt;
  if (before == NotedPlace::same) return Fate::copied;
  if (!holdsAllOf(files, pair.newPath, pair.oldPath)) return std::nullopt;
  return Fate::copiedInDoubt;
}

Fate fateOfCopy(const Files& files, const Pair& pair, NotedPlace old) {
  const bool isOldThere = old == NotedPlace::same || old == NotedPlace::alike;
  const Path path = pair.newPath;
  const FolderView folder(files, path.parent_path());
  const auto found = folder.identify(path.filename());
  // Its content tells the rest.
  if (found && looksLike(*found, *pair.copy)) {
    if (holdsAllOf(files, path, pair.oldPath)) {
      return old == NotedPlace::same    ? Fate::copied
             : old == NotedPlace::alike ? Fate::copiedInDoubt
                                        : Fate::moved;
    }
    if (isSilent(files, path) || isSilent(files, pair.oldPath)) return Fate::unknown;
  }
  const FileReach reach = found ? FileReach::there : folder.reachOf(path.filename(), &*pair.copy);
  // A disk that numbers its files anew does so with its folders.
  const bool isKnown = isReachable(reach) || (isOldThere && reach == FileReach::folderReplaced);
  if (!isKnown) return Fate::unknown;
  return isOldThere ? Fate::unmoved : Fate::lost;
}

/// Of an entry that names the old place.
Fate fateOf(const Files& files, const Pair& pair) {
  const auto old = files.status(pair.oldPath);
  if (!old && isUnanswered(old.error())) return Fate::unknown;
  const bool isOldAway = !old && pair.isDiskOfOldAway(files);
  if (pair.copy) {
    const Fate fate = fateOfCopy(files, pair, oldPlace(files, pair, old));
    if (!isOldAway) return fate;
    return fate == Fate::moved ? Fate::copiedAway : Fate::unknown;
  }
  if (isOldAway) return Fate::unknown;
  if (const auto half = fateOfHalfMoved(files, pair, old)) return *half;
  if (old && isSilent(files, pair.newPath)) return Fate::unknown;
  if (old) return Fate::unmoved;
  const NotedPlace now = renamedPlace(files, pair);
  if (now == NotedPlace::same) return Fate::moved;
  const bool isKnown = isReachable(reachOf(files, Path(pair.oldPath))) &&
                       isReachable(reachOf(files, Path(pair.newPath)));
  if (!isKnown) return Fate::unknown;
  return now == NotedPlace::alike ? Fate::moved : Fate::lost;
}

/// Of an entry that names the new place by now.
Fate fateOfOriginal(const Files& files, const Pair& pair) {
  // Nothing but its number, or its age, says that the file is not one that somebody put there
  // since.
  if (!pair.file) return Fate::moved;
  const auto old = files.status(pair.oldPath);
  if (!old && isUnanswered(old.error())) return Fate::unknown;
  if (!old && pair.isDiskOfOldAway(files)) return Fate::copiedAway;
  if (!pair.copy) return fateOfHalfMoved(files, pair, old).value_or(Fate::moved);
  const NotedPlace place = oldPlace(files, pair, old);
  if (place == NotedPlace::nothing || place == NotedPlace::another) return Fate::moved;
  const FolderView folder(files, Path(pair.newPath).parent_path());
  if (!isReachable(folder.reachOf(Path(pair.newPath).filename(), &*pair.copy)))
    return Fate::unknown;
  if (holdsAllOf(files, pair.newPath, pair.oldPath)) {
    return place == NotedPlace::same ? Fate::copied : Fate::copiedInDoubt;
  }
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
    if (!hasLanded && !isAwaited) {
      resolution.unnamed.push_back(pair);
      continue;
    }
    if (hasLanded && isAwaited) {
      resolution.unmoved.push_back(pair.oldPath);
      continue;
    }
    const Fate fate = isSilent(files, temporaryFor(pair)) ? Fate::unknown
                      : hasLanded                         ? fateOfOriginal(files, pair)
                                                          : fateOf(files, pair);
    if (fate == Fate::copied) resolution.surplus.push_back(pair.oldPath);
    if (fate == Fate::copiedInDoubt) resolution.inDoubt.push_back(pair);
    if (fate == Fate::copiedAway) resolution.undecided.push_back(pair);
    switch (fate) {
      case Fate::copied:
      case Fate::copiedAway:
      case Fate::copiedInDoubt:
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
