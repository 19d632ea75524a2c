#include "library/relocation_leftovers.hpp"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/log.hpp"
#include "base/path_text.hpp"
#include "library/file_move.hpp"
#include "library/file_reach.hpp"
#include "library/journal_file.hpp"
#include "library/unanswered_change.hpp"

namespace vantorel {
namespace {

struct StoredLeftovers {
  std::vector<std::string> folders;
  std::vector<RelocationJournal::Pair> copied;
  std::vector<DoubtfulNames::Name> doubtful;
  json::Object extra;

  template <class V, class S>
  static void describe(V& v, S& stored) {
    v.field("folders", stored.folders, json::asPath);
    v.field("copied", stored.copied);
    v.field("doubtful", stored.doubtful);
    v.rest(stored.extra);
  }
};
VT_JSON_RECORD(StoredLeftovers)

using FileNumber = std::pair<std::uint64_t, std::int64_t>;  // of the folder's disk

Path fileIn(const LibraryPaths& paths) { return paths.data / "unmoved-folders.json"; }

}  // namespace

RelocationLeftovers RelocationLeftovers::read(const Files& files, const LibraryPaths& paths) {
  auto text = files.read(fileIn(paths));
  auto stored = text ? json::fromText<StoredLeftovers>(*std::move(text))
                     : Result<StoredLeftovers>(std::unexpected(text.error()));
  if (!stored) return {};
  return {{stored->folders.begin(), stored->folders.end()},
          std::move(stored->copied),
          {std::move(stored->doubtful)},
          std::move(stored->extra)};
}

std::vector<RelocationJournal::Pair> RelocationLeftovers::remaining(const Files& files,
                                                                    const IsNamed& isNamed) const {
  std::vector<RelocationJournal::Pair> found;
  std::vector<std::pair<RelocationJournal::Pair, FileNumber>> missing;
  std::set<std::string> searched;  // folders of these
  for (const RelocationJournal::Pair& pair : copied) {
    const auto folder = identityOf(files, folderOf(pair.oldPath));
    if (!folder || !pair.file || pair.isDiskOfOldAway(files)) continue;
    const auto status = files.status(pair.oldPath);
    const auto number = status ? static_cast<std::int64_t>(status->inode) : 0;
    if (status && number == *pair.file && !isNamed(pair.oldPath)) {
      found.push_back(pair);
      continue;
    }
    missing.emplace_back(pair, FileNumber{folder->first, *pair.file});
    searched.emplace(folderOf(pair.oldPath));
  }
  std::map<FileNumber, std::string> others;  // whatever their names are by now
  std::multimap<std::pair<std::uint64_t, double>, std::string> othersByLook;  // size and time
  std::set<std::string> taken;
  for (const RelocationJournal::Pair& pair : found) taken.insert(pair.oldPath);
  for (const std::string& folder : searched) {
    const auto items = files.list(folder);
    if (!items) continue;
    for (const FolderItem& item : *items) {
      const std::string path = folder + "/" + item.name;
      if (item.type != FileType::regular) continue;
      const auto status = files.status(path);
      if (!status) continue;
      others.emplace(FileNumber{status->device, static_cast<std::int64_t>(status->inode)}, path);
      othersByLook.emplace(std::pair(status->size, status->modified), path);
    }
  }
  const auto measured = [&](const Path& path) {
    const auto measure = measureFile(files, path);
    return measure ? std::optional(*measure) : std::nullopt;
  };
  const auto alike = [&](const RelocationJournal::Pair& pair) -> std::optional<std::string> {
    const FileMeasure measure = pair.measure();
    const auto [begin, end] = othersByLook.equal_range({measure.size, measure.modified});
    const auto one = std::find_if(begin, end, [&](const auto& other) {
      return !taken.contains(other.second) && !isNamed(other.second);
    });
    return one == end ? std::nullopt : std::optional(one->second);
  };
  for (auto& [pair, number] : missing) {
    const auto other = others.find(number);
    // Numbers are given again.
    const bool isNumbered = other != others.end() && !isNamed(other->second);
    const auto measure = isNumbered ? measured(other->second) : std::nullopt;
    if (measure && measure->isAs(pair.measure())) {
      pair.oldPath = other->second;
    } else if (const auto there = measured(pair.oldPath);
               !there || !pair.isAlike(*there) || isNamed(pair.oldPath)) {
      auto path = alike(pair);
      if (!path) continue;
      pair.oldPath = *std::move(path);
    }
    taken.insert(pair.oldPath);
    found.push_back(std::move(pair));
  }
  return found;
}

std::vector<RelocationJournal::Pair> RelocationLeftovers::notKnownGone(
    const Files& files, const IsNamed& isNamed) const {
  std::vector<RelocationJournal::Pair> kept = remaining(files, isNamed);
  std::ranges::copy_if(copied, std::back_inserter(kept), [&](const auto& pair) {
    const FileReach reach = reachOf(files, Path(pair.oldPath));
    const bool isKnown = reach == FileReach::there || reach == FileReach::fileGone;
    return !isKnown || pair.isDiskOfOldAway(files);
  });
  return kept;
}

Result<void> RelocationLeftovers::write(Files& files, const LibraryPaths& paths) const {
  if (!folders.empty() || !copied.empty() || !doubtful.isEmpty()) {
    const StoredLeftovers stored{{folders.begin(), folders.end()}, copied, doubtful.names, extra};
    return files.replace(fileIn(paths), json::toText(stored), Privacy::ownerOnly);
  }
  return removeJournalFile(files, fileIn(paths));
}

std::vector<std::string> removeCopiesLeft(Files& files, Trash& trash, const LibraryPaths& paths,
                                          const std::vector<RelocationJournal::Pair>& copies) {
  std::vector<std::string> removed;
  std::vector<std::string_view> unanswered;
  std::map<std::string_view, std::optional<std::string_view>> places;  // by where they moved to
  for (const RelocationJournal::Pair& pair : copies) {
    const auto status = files.status(pair.oldPath);
    const bool isSpare = status && static_cast<std::int64_t>(status->inode) == pair.file &&
                         holdsAllOf(files, pair.newPath, pair.oldPath);
    Result<void> gone;
    if (isSpare) {
      gone = removeNotedFile(files, pair.oldPath, pair.volume);
    } else if (const auto trashed = trash.moveToTrash(pair.oldPath); !trashed) {
      gone = std::unexpected(trashed.error());
    }
    if (gone) removed.push_back(pair.oldPath);
    if (!gone && isUnanswered(gone.error())) unanswered.push_back(pair.oldPath);
    places[pair.newPath] = gone ? std::nullopt : std::optional<std::string_view>(pair.oldPath);
  }
  RelocationLeftovers left = RelocationLeftovers::read(files, paths);
  for (const std::string_view path : unanswered) left.doubtful.add(path);
  std::erase_if(left.copied, [&](const RelocationJournal::Pair& pair) {
    const auto place = places.find(pair.newPath);
    return place != places.end() && !place->second;
  });
  for (RelocationJournal::Pair& pair : left.copied) {
    if (const auto place = places.find(pair.newPath); place != places.end()) {
      pair.oldPath = *place->second;
    }
  }
  if (const auto written = left.write(files, paths); !written) {
    logWarning("History", "what was removed was not noted: {}", written.error().reason);
  }
  return removed;
}

}  // namespace vantorel
