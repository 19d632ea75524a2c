#include "library/doubtful_names.hpp"

#include <algorithm>

#include "base/path_text.hpp"
#include "library/entry_paths.hpp"
#include "library/pending_undo.hpp"
#include "library/relocation_leftovers.hpp"
#include "library/rewrite_journal.hpp"
#include "library/unanswered_change.hpp"

namespace vantorel {

template <class V, class S>
void DoubtfulNames::Name::describe(V& v, S& name) {
  v.required("path", name.path, json::asPath);
  v.field("until", name.until);
  v.rest(name.extra);
}
VT_JSON_RECORD(DoubtfulNames::Name)

void DoubtfulNames::add(const Path& path) {
  std::erase_if(names, [&](const Name& name) { return name.path == path; });
  names.push_back({path.string(), 0, {}});
}

void DoubtfulNames::settle(const Files& files, double now) {
  std::erase_if(names, [&](Name& name) {
    const auto status = files.status(name.path);
    const bool isSilent = !status && isUnanswered(status.error());
    if (isSilent) name.until = 0;
    return !isSilent && !mayStillLand(name.until, now);
  });
}

bool DoubtfulNames::contains(const Path& path, double now) const {
  return std::ranges::any_of(
      names, [&](Name name) { return name.path == path && mayStillLand(name.until, now); });
}

void addDoubtfulNames(const Files& files, const LibraryPaths& paths, double now,
                      KnownFiles& names) {
  for (const DoubtfulNames& doubtful :
       {doubtfulNamesOfRewrites(files, paths), RelocationLeftovers::read(files, paths).doubtful}) {
    for (DoubtfulNames::Name name : doubtful.names) {
      if (mayStillLand(name.until, now)) names.add(name.path);
    }
  }
  const auto undo = readPendingUndo(files, paths);
  if (!undo) return;
  for (const RemovedEntry& removed : undo->batch.items) {
    auto until = removed.mayLandUntil;
    if (!until || !mayStillLand(*until, now)) continue;
    forEachPath(*removed.entry, [&](const std::string& path) { names.add(path); });
  }
}

}  // namespace vantorel
