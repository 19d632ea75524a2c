#include "library/relocation_leftovers.hpp"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

#include "base/path_text.hpp"
#include "library/journal_file.hpp"

namespace vantorel {
namespace {

struct StoredLeftovers {
  std::vector<std::string> folders;
  std::vector<RelocationJournal::Pair> copied;
  json::Object extra;

  template <class V, class S>
  static void describe(V& v, S& stored) {
    v.field("folders", stored.folders, json::asPath);
    v.field("copied", stored.copied);
    v.rest(stored.extra);
  }
};
VT_JSON_RECORD(StoredLeftovers)

Path fileIn(const LibraryPaths& paths) { return paths.data / "unmoved-folders.json"; }

}  // namespace

RelocationLeftovers RelocationLeftovers::read(const Files& files, const LibraryPaths& paths) {
  auto text = files.read(fileIn(paths));
  auto stored = text ? json::fromText<StoredLeftovers>(*std::move(text))
                     : Result<StoredLeftovers>(std::unexpected(text.error()));
  if (!stored) return {};
  return {{stored->folders.begin(), stored->folders.end()},
          std::move(stored->copied),
          std::move(stored->extra)};
}

std::vector<RelocationJournal::Pair> RelocationLeftovers::remaining(const Files& files) const {
  std::vector<RelocationJournal::Pair> found;
  std::ranges::copy_if(copied, std::back_inserter(found), [&](const auto& pair) {
    const auto status = files.status(pair.oldPath);
    return status && pair.file == static_cast<std::int64_t>(status->inode);
  });
  return found;
}

Result<void> RelocationLeftovers::write(Files& files, const LibraryPaths& paths) const {
  if (!folders.empty() || !copied.empty()) {
    const StoredLeftovers stored{{folders.begin(), folders.end()}, copied, extra};
    return files.replace(fileIn(paths), json::toText(stored), Privacy::ownerOnly);
  }
  return removeJournalFile(files, fileIn(paths));
}

}  // namespace vantorel
