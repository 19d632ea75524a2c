#include "library/relocation_mover.hpp"

#include <algorithm>
#include <set>
#include <unordered_map>
#include <utility>

#include "base/log.hpp"
#include "base/random_id.hpp"
#include "library/capture_file_name.hpp"
#include "library/entry_files.hpp"
#include "library/file_move.hpp"
#include "library/file_reach.hpp"
#include "library/history_log.hpp"
#include "library/unanswered_change.hpp"

namespace vantorel {
namespace {

constexpr int maximumNames = 10'000;
constexpr int maximumAttempts = 3;

bool isInside(const Path& path, const Path& folder) {
  return std::ranges::mismatch(folder, path).in1 == folder.end();
}

Path normal(const Path& folder) {
  const Path path = folder.lexically_normal();
  return path.has_filename() || !path.has_relative_path() ? path : path.parent_path();
}

std::optional<std::int64_t> numberOf(const Files& files, const Path& path) {
  const auto status = files.status(path);
  return status ? std::optional(static_cast<std::int64_t>(status->inode)) : std::nullopt;
}

/// The disk a file is on; nothing when that does not say what it is.
Result<std::optional<std::string>> volumeOf(const Files& files, const Path& path) {
  auto location = files.location(path.parent_path());
  if (location) return std::move(location->volume);
  if (location.error().kind == FailureKind::unsupported) return std::nullopt;
  return std::unexpected(location.error());
}

/// Why no folder can be made there, nor anything in it.
std::string whatIsInTheWay(const Files& files, const Path& folder) {
  const Path wanted = normal(folder);
  for (Path at = wanted; at.has_relative_path(); at = at.parent_path()) {
    const auto found = files.status(at);
    if (!found) continue;
    const std::string name = at == wanted ? "it" : at.string();
    if (found->type == FileType::link && !files.resolved(at)) {
      return name + " is a link that leads nowhere";
    }
    const auto status = statusOfFolder(files, at);
    if (!status || status->type != FileType::folder) return name + " is a file, not a folder";
    break;
  }
  return "the folder above it is missing";
}

}  // namespace

Result<void> prepareCaptureFolder(Files& files, const Path& folder) {
  const Path inside = folder / ".vantorel";  // any name: what counts is what is in its way
  switch (reachOf(files, inside)) {
    case FileReach::there:
    case FileReach::linkBroken:
    case FileReach::fileGone:
    case FileReach::folderReplaced: return files.checkWritable(folder);
    case FileReach::folderGone: {
      if (reachOf(files, folder) != FileReach::fileGone) {
        return failed(FailureKind::notFound, whatIsInTheWay(files, folder));
      }
      VT_TRY(files.makeFolder(folder, Privacy::byUmask));
      auto writable = files.checkWritable(folder);
      if (!writable) (void)files.remove(folder);
      return writable;
    }
    case FileReach::folderUnreachable: return failed(FailureKind::unreachable, notConnectedReason);
    case FileReach::folderDenied: return failed(FailureKind::denied, "it may not be opened");
    case FileReach::unknown: return failed(FailureKind::other, "it is no folder that can be used");
  }
  std::unreachable();
}

RelocationMover::RelocationMover(Files& files, LibraryPaths paths, const Clock& clock)
    : files_(files), paths_(std::move(paths)), clock_(clock), notFree_(files) {}

void RelocationMover::findLeftovers() {
  leftovers_ = RelocationLeftovers::read(files_, paths_);
  for (const RelocationJournal::Pair& pair : journal_.pairs) leftovers_.addFolderOf(pair.oldPath);
}

const std::optional<FolderIdentity>& RelocationMover::identity(const Path& folder) {
  const auto found = identities_.find(folder.native());
  if (found != identities_.end()) return found->second;
  return identities_.emplace(folder.native(), identityOf(files_, folder)).first->second;
}

/// The path below `folder`, which may have another name in the path, by links and mounts; nothing
/// when it lies elsewhere.
std::optional<Path> RelocationMover::below(const Path& folder, const Path& path) {
  if (isInside(path, folder)) return path.lexically_relative(folder);
  const auto wanted = identity(folder);
  if (!wanted) return std::nullopt;
  for (Path above = path.parent_path(); above.has_relative_path(); above = above.parent_path()) {
    if (identity(above) == wanted) return path.lexically_relative(above);
  }
  return std::nullopt;
}

bool RelocationMover::isSamePlace(const Path& one, const Path& other) {
  return one.filename() == other.filename() && identity(one.parent_path()) &&
         identity(one.parent_path()) == identity(other.parent_path());
}

/// Where in the new folder a file belongs; nothing when it stays where it is.
std::optional<Path> RelocationMover::relativePlace(const Path& path,
                                                   const RelocationTarget& target) {
  if (isInside(path, paths_.redactedOriginals()) || isInside(path, paths_.stagedCaptures())) {
    return std::nullopt;
  }
  const auto isDeeper = [](const Path& one, const std::optional<Path>& other) {
    return !other || one.native().size() < other->native().size();
  };
  const Path* best = nullptr;
  std::optional<Path> belowBest;
  for (const Path& source : target.sources) {
    auto found = below(source, path);
    if (!found || !isDeeper(*found, belowBest)) continue;
    best = &source;
    belowBest = std::move(found);
  }
  auto belowTarget = below(target.folder, path);
  if (best == nullptr) {
    const bool isLeft = leftovers_.folders.contains(path.parent_path().string());
    if (!isLeft || belowTarget) return std::nullopt;
    return path.filename();
  }
  // It is there already, though it may be called by another name of the folder.
  if (belowTarget && !isDeeper(*belowBest, belowTarget)) {
    return path == target.folder / *belowTarget ? std::nullopt : std::move(belowTarget);
  }
  // A folder of captures may lie in the library's own folder or around it; what else is in there is
  // the library's.
  const bool isOwn = isInside(path, paths_.data) && belowBest->has_parent_path() &&
                     (*best == paths_.data || !isInside(*best, paths_.data));
  return isOwn ? std::nullopt : std::move(belowBest);
}

Result<Path> RelocationMover::freePlace(const Path& wanted) {
  for (int number = 1; number <= maximumNames; ++number) {
    Path place = wanted;
    if (number > 1) place.replace_filename(numberedName(wanted, number));
    if (taken_.contains(place.string()) || notFree_.hasName(place)) continue;
    const auto status = files_.status(at(place));
    if (status) continue;
    if (status.error().kind != FailureKind::notFound) return std::unexpected(status.error());
    taken_.insert(place.string());
    return place;
  }
  return std::unexpected(noFreeName());
}

Result<void> RelocationMover::add(const std::string& path, const Path& wanted) {
  if (isSamePlace(path, wanted)) {
    planned_.push_back({.pair = {.oldPath = path,
                                 .newPath = wanted.string(),
                                 .fileCount = {},
                                 .file = {},
                                 .copy = {},
                                 .volume = {},
                                 .extra = {}},
                        .isInPlace = true});
    return {};
  }
  // Before the file itself: when the disk goes in between, that is missing.
  auto volume = VT_TRY(volumeOf(files_, path));
  const FileMeasure measure = VT_TRY(measureFile(files_, path));
  const FileStatus status = VT_TRY(files_.status(path));
  const Path place = VT_TRY(freePlace(wanted));
  planned_.push_back({.pair = {.oldPath = path,
                               .newPath = place.string(),
                               .size = static_cast<std::int64_t>(measure.size),
                               .modified = measure.modified,
                               .fileCount = measure.fileCount,
                               .file = static_cast<std::int64_t>(status.inode),
                               .copy = {},
                               .volume = std::move(volume),
                               .extra = {}}});
  return {};
}

Result<void> RelocationMover::writeJournal() {
  RelocationJournal whole = journal_;
  for (const Planned& planned : planned_) {
    if (!planned.isDone && !planned.isInPlace) whole.pairs.push_back(planned.pair);
  }
  auto written = whole.write(files_, paths_);
  if (!written) {
    logError(historyLog, "the relocation journal could not be written: {}", written.error().reason);
  }
  return written;
}

RelocationMover::Plan RelocationMover::plan(const EntryList& entries,
                                            const RelocationTarget& target) {
  Plan plan;
  auto found = RelocationJournal::read(files_, paths_);
  if (const auto* const unreadable = std::get_if<RelocationJournal::Unreadable>(&found)) {
    logError(historyLog, "the relocation journal could not be read: {}", unreadable->reason);
    plan.refusal = RelocationRefusal::journalUnreadable;
    return plan;
  }
  auto* const leftover = std::get_if<RelocationJournal>(&found);
  if (leftover != nullptr) journal_ = std::move(*leftover);
  findLeftovers();
  journal_.version = RelocationJournal::currentVersion;
  journal_.id = randomID();

  RelocationTarget scope{normal(target.folder), {}};
  target_ = scope.folder;
  for (const Path& source : target.sources) scope.sources.push_back(normal(source));
  addDoubtfulNames(files_, paths_, clock_.now(), notFree_);
  // Also names whose files are away for the moment, in the Trash or on another disk.
  for (const EntryPointer& entry : entries) {
    forEachPath(*entry, [&](const std::string& path) { taken_.insert(path); });
  }
  std::unordered_map<std::string, std::size_t> places;
  const OriginalFolders originals(paths_);
  for (const EntryPointer& entry : entries) {
    Capture capture;
    const bool keepsOriginal = originals.isAmongCaptures(*entry) &&
                               placeOfOriginal(files_, *entry) == OriginalPlace::anotherFile;
    forEachPath(*entry, [&](const std::string& path) {
      // What only has the original's name is nobody's.
      if (keepsOriginal && path == entry->originalPath) return;
      if (const auto known = places.find(path); known != places.end()) {
        capture.pairs.push_back(known->second);
        return;
      }
      const auto relative = relativePlace(path, scope);
      if (!relative) return;
      if (const auto added = add(path, scope.folder / *relative); added) {
        capture.pairs.push_back(planned_.size() - 1);
        places.emplace(path, planned_.size() - 1);
      } else if (added.error().kind != FailureKind::notFound) {
        capture.problem = added.error().reason;
      } else if (path == entry->path && reachOf(files_, *entry) == FileReach::folderUnreachable) {
        capture.problem = "its folder can't be reached";
        if (leftovers_.folders.contains(Path(path).parent_path().string())) {
          staying_.addFolderOf(path);
        }
      }
    });
    if (capture.pairs.empty() && capture.problem.empty()) continue;
    plan.captures.push_back(std::move(capture));
  }
  for (const Planned& planned : planned_) plan.oldPaths.push_back(planned.pair.oldPath);
  std::erase_if(journal_.pairs, [&](const auto& pair) { return places.contains(pair.oldPath); });

  if (!planned_.empty()) {
    auto prepared = prepareCaptureFolder(files_, scope.folder);
    const FileIdentity* const seen = lastSeenIn(scope.folder.string(), entries);
    if (prepared && seen != nullptr && isUnmounted(files_, scope.folder, *seen)) {
      prepared = failed(FailureKind::unreachable, notConnectedReason);
    }
    if (!prepared) {
      plan.problem = "the new folder can't be used: " + prepared.error().reason;
      return plan;
    }
    if (auto location = files_.location(scope.folder)) targetLocation_ = *std::move(location);
  }
  if (planned_.empty() && leftover == nullptr) return plan;
  if (const auto written = writeJournal(); !written) {
    plan.problem = "the relocation journal could not be written: " + written.error().reason;
  }
  return plan;
}

/// `unsupported` when it has to be copied.
Result<void> RelocationMover::moveOne(Planned& planned) {
  VT_TRY(files_.makeFolder(at(planned.pair.newPath).parent_path(), Privacy::byUmask));
  return giveName(planned.pair.oldPath, planned.pair);
}

void RelocationMover::fail(std::size_t place, const Failure& failure, Batch& batch) {
  Planned& planned = planned_[place];
  logWarning(historyLog, "{} could not be moved: {}", planned.pair.oldPath, failure.reason);
  const bool isSilent = vantorel::isUnanswered(failure);
  planned.isUnanswered = isSilent || planned.pair.isDiskOfOldAway(files_);
  if (isSilent) doubtful_.add(planned.pair.oldPath);
  batch.failures.emplace_back(place, isSilent ? unansweredReason(failure) : failure.reason);
}

/// Gives the file its new name, or the next one that is free.
Result<void> RelocationMover::giveName(const Path& file, RelocationJournal::Pair& pair) {
  for (int attempt = 1;; ++attempt) {
    auto moved = files_.moveNew(file, at(pair.newPath));
    if (moved || moved.error().kind != FailureKind::exists || attempt == maximumAttempts)
      return moved;
    pair.newPath = VT_TRY(freePlace(pair.newPath)).string();
    VT_TRY(writeJournal());
  }
}

/// Copies get their names once the journal knows them: only then can they be told from what
/// somebody else puts there.
void RelocationMover::nameCopies(std::span<const std::size_t> copied, Batch& batch) {
  if (copied.empty()) return;
  for (const std::size_t place : copied) {
    RelocationJournal::Pair& pair = planned_[place].pair;
    pair.copy = identifyFile(files_, at(journal_.temporaryFor(pair)));
  }
  const auto written = writeJournal();
  for (const std::size_t place : copied) {
    RelocationJournal::Pair& pair = planned_[place].pair;
    const Path temporary = at(journal_.temporaryFor(pair));
    auto named = written ? giveName(temporary, pair) : written;
    if (named) {
      planned_[place].isMoved = true;
      batch.moved.push_back(
          {.pair = place, .oldPath = pair.oldPath, .newPath = pair.newPath, .isCopied = true});
      continue;
    }
    fail(place, named.error(), batch);
    if (planned_[place].isUnanswered) continue;
    pair.copy.reset();
    removeFileOrWarn(files_, temporary);
  }
}

RelocationMover::Batch RelocationMover::move(std::span<const std::size_t> pairs,
                                             RelocationStopFlag& flag,
                                             const std::function<void()>& moving) {
  Batch batch;
  if (flag.stopped) {
    flag.turnedAway = true;
    return batch;
  }
  if (const auto held = holdTarget(); !held) {
    for (const std::size_t place : pairs) {
      batch.failures.emplace_back(place, held.error().reason);
    }
    return batch;
  }
  // Files may have changed, and names may have been taken, since the journal was written. It must
  // be right before anything moves.
  std::vector<std::size_t> ready;
  bool isJournalStale = false;
  for (const std::size_t place : pairs) {
    RelocationJournal::Pair& pair = planned_[place].pair;
    if (planned_[place].isInPlace) {
      ready.push_back(place);
      continue;
    }
    auto volume = volumeOf(files_, pair.oldPath);
    const auto measure = volume ? measureFile(files_, pair.oldPath)
                                : Result<FileMeasure>(std::unexpected(volume.error()));
    if (!measure) {
      batch.failures.emplace_back(place, measure.error().reason);
      continue;
    }
    const bool isTaken = files_.status(at(pair.newPath)).has_value();
    if (isTaken || pair.volume != *volume || !measure->isAs(pair.measure()) ||
        pair.file != numberOf(files_, pair.oldPath)) {
      if (isTaken) {
        const auto free = freePlace(pair.newPath);
        if (!free) {
          batch.failures.emplace_back(place, free.error().reason);
          continue;
        }
        pair.newPath = free->string();
      }
      pair.size = static_cast<std::int64_t>(measure->size);
      pair.modified = measure->modified;
      pair.fileCount = measure->fileCount;
      pair.file = numberOf(files_, pair.oldPath);
      pair.volume = *std::move(volume);
      isJournalStale = true;
    }
    ready.push_back(place);
  }
  if (isJournalStale) {
    if (const auto written = writeJournal(); !written) {
      for (const std::size_t place : ready) {
        batch.failures.emplace_back(place, "the relocation journal could not be written");
      }
      return batch;
    }
  }
  std::vector<std::size_t> copied;
  for (const std::size_t place : ready) {
    Planned& planned = planned_[place];
    const RelocationJournal::Pair& pair = planned.pair;
    auto moved = planned.isInPlace ? Result<void>() : moveOne(planned);
    const bool isCopied = !moved && moved.error().kind == FailureKind::unsupported;
    if (isCopied) moved = copyFile(files_, pair.oldPath, at(journal_.temporaryFor(pair)));
    if (moving) moving();
    if (!moved) {
      fail(place, moved.error(), batch);
    } else if (isCopied) {
      copied.push_back(place);
    } else {
      planned.isMoved = true;
      batch.moved.push_back({.pair = place,
                             .oldPath = pair.oldPath,
                             .newPath = pair.newPath,
                             .isInPlace = planned.isInPlace});
    }
  }
  nameCopies(copied, batch);
  std::set<Path> folders;
  for (Moved& moved : batch.moved) {
    moved.identity = identifyFile(files_, at(moved.newPath));
    folders.insert(at(moved.newPath).parent_path());
    folders.insert(Path(moved.oldPath).parent_path());
  }
  for (const Path& folder : folders) settleFolder(files_, folder);
  if (!isTargetThere()) takeBack(batch);
  heldTarget_.reset();
  return batch;
}

/// Fails when the new folder is not the one that the move began on.
Result<void> RelocationMover::holdTarget() {
  auto handle = files_.hold(target_);
  if (!handle) return failed(handle.error().kind, targetGoneReason);
  heldTarget_ = *std::move(handle);
  const auto location = files_.location(heldTarget_->path());
  if ((location ? std::optional(*location) : std::nullopt) == targetLocation_) return {};
  heldTarget_.reset();
  return failed(FailureKind::unreachable, targetGoneReason);
}

bool RelocationMover::isTargetThere() const {
  const auto location = files_.location(target_);
  return (location ? std::optional(*location) : std::nullopt) == targetLocation_;
}

/// Where something in the new folder is to be made: in the folder that is held, while one is.
Path RelocationMover::at(const Path& newPath) const {
  if (!heldTarget_) return newPath;
  return heldTarget_->path() / newPath.lexically_relative(target_);
}

void RelocationMover::takeBack(Batch& batch) {
  logWarning(historyLog, "{} went away during the move", target_.string());
  for (const Moved& moved : std::exchange(batch.moved, {})) {
    const auto undone = moved.isInPlace  ? Result<void>()
                        : moved.isCopied ? removeFile(files_, at(moved.newPath))
                                         : files_.moveNew(at(moved.newPath), moved.oldPath);
    planned_[moved.pair].isMoved = !undone;
    if (!undone && vantorel::isUnanswered(undone.error())) doubtful_.add(moved.newPath);
    // The journal still names it: whichever place it is at, the next launch sees.
    if (!undone) {
      logWarning(historyLog, "{} could not be taken back: {}", moved.newPath,
                 undone.error().reason);
    }
    batch.failures.emplace_back(moved.pair, targetGoneReason);
  }
}

std::vector<RelocationMover::Moved> RelocationMover::retire(const std::vector<Moved>& moved,
                                                            std::span<const std::size_t> dropped) {
  const bool hasCopies = std::ranges::any_of(moved, &Moved::isCopied);
  const bool mayRemove = !hasCopies || isTargetThere();
  std::vector<Moved> stayed;
  for (const Moved& one : moved) {
    if (one.isCopied && !mayRemove) {
      stayed.push_back(one);
      stayed.back().identity = identifyFile(files_, one.oldPath);
      continue;
    }
    Planned& planned = planned_[one.pair];
    const auto removed =
        one.isCopied ? removeNotedFile(files_, one.oldPath, planned.pair.volume) : Result<void>();
    planned.isDone = removed.has_value();
    if (!removed) {
      // In the journal until it is noted as left.
      planned.staysBehind = true;
      copied_.push_back(planned.pair);
      if (vantorel::isUnanswered(removed.error())) doubtful_.add(one.oldPath);
      if (reasonOfStaying_.empty()) reasonOfStaying_ = removed.error().reason;
    }
  }
  for (const std::size_t place : dropped) planned_[place].isDone = true;
  // A journal that names too much is put right at the next launch.
  (void)writeJournal();
  return stayed;
}

RelocationMover::Remains RelocationMover::end() {
  const auto isNamed = [this](const std::string& path) { return taken_.contains(path); };
  RelocationLeftovers left{staying_.folders, leftovers_.notKnownGone(files_, isNamed),
                           leftovers_.doubtful, leftovers_.extra};
  left.copied.insert(left.copied.end(), copied_.begin(), copied_.end());
  for (const DoubtfulNames::Name& name : doubtful_.names) left.doubtful.add(name.path);
  Remains remains{static_cast<int>(copied_.size()), reasonOfStaying_, !left.doubtful.isEmpty()};
  for (Planned& planned : planned_) {
    if (planned.isDone || planned.staysBehind) continue;
    left.addFolderOf(planned.pair.oldPath);
    planned.isDone = !planned.isMoved && !planned.isUnanswered;
  }
  if (left != leftovers_) {
    // The journal goes on naming what is nowhere else.
    if (const auto written = left.write(files_, paths_); !written) {
      logWarning(historyLog, "what did not move was not noted: {}", written.error().reason);
      return remains;
    }
  }
  for (Planned& planned : planned_) planned.isDone |= planned.staysBehind;
  (void)writeJournal();
  return remains;
}

}  // namespace vantorel
