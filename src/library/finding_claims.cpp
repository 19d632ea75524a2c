#include "library/finding_claims.hpp"

#include <algorithm>
#include <array>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "library/entry_paths.hpp"
#include "library/gone_entries.hpp"

namespace vantorel {

void FindingClaims::dropSettled(LibraryFindings& findings) const {
  const HistoryStore& store = library_.store();
  const auto isOther = [&](const EntryPointer& entry) {
    return claims_.contains(entry->id) ? store.find(entry->id) != entry
                                       : settledEntries(store, {entry}).empty();
  };
  std::erase_if(findings.look.gone, isOther);
  std::erase_if(findings.look.outOfReach, isOther);
  std::erase_if(findings.look.renamed, [&](const SeenFile& file) { return isOther(file.entry); });
  std::erase_if(findings.damaged, isOther);
  std::erase_if(findings.withoutOriginal,
                [&](const LostOriginal& lost) { return isOther(lost.entry); });
  std::unordered_map<std::string_view, bool> isNamed;
  const std::array lists{&findings.filesWithoutEntry, &findings.originalsWithoutEntry,
                         &findings.originalsInDoubt, &findings.stagedCaptures};
  for (const auto* const list : lists) {
    for (const Path& path : *list) isNamed.emplace(path.native(), false);
  }
  if (isNamed.empty()) return;
  const auto note = [&](const ScreenshotEntry& entry) {
    forEachPath(entry, [&](const std::string& path) {
      if (const auto found = isNamed.find(path); found != isNamed.end()) found->second = true;
    });
  };
  for (const EntryPointer& entry : store.entries()) note(*entry);
  if (const auto& pending = library_.deletion().pendingUndo()) {
    for (const RemovedEntry& removed : pending->items) note(*removed.entry);
  }
  // The keys lie in the lists.
  std::unordered_set<std::string> named;
  for (const auto& [path, isOne] : isNamed) {
    if (isOne) named.emplace(path);
  }
  if (named.empty()) return;
  for (auto* const list : lists) {
    std::erase_if(*list, [&](const Path& path) { return named.contains(path.native()); });
  }
}

// An original that is linked keeps its age, so that it looks like a leftover until the rewrite is
// done and its entry names it.
void FindingClaims::claimOriginals(LibraryFindings& findings) {
  std::erase_if(findings.originalsWithoutEntry, [&](const Path& path) {
    const std::string id = path.stem().string();
    return library_.store().find(id) && !claim(id);
  });
}

void FindingClaims::claimFaulty(LibraryFindings& findings) {
  std::erase_if(findings.look.gone, [&](const EntryPointer& entry) {
    if (claim(entry->id)) return false;
    findings.notJudged.emplace_back(entry->path);
    return true;
  });
  std::erase_if(findings.withoutOriginal, [&](const LostOriginal& lost) {
    if (claim(lost.entry->id)) return false;
    findings.notJudged.emplace_back(*lost.entry->originalPath);
    return true;
  });
}

std::set<std::string> FindingClaims::ids() const {
  std::set<std::string> ids;
  for (const auto& [id, claim] : claims_) ids.insert(id);
  return ids;
}

bool FindingClaims::claim(const std::string& id) {
  if (claims_.contains(id)) return true;
  auto claim = library_.claim(id, EntryWork::rewriting);
  if (!claim) return false;
  claims_.emplace(id, *std::move(claim));
  return true;
}

}  // namespace vantorel
