#include "library/relocation_leftovers.hpp"

#include <utility>
#include <vector>

#include "library/journal_file.hpp"

namespace vantorel {
namespace {

struct StoredLeftovers {
  std::vector<std::string> folders;
  json::Object extra;

  template <class V, class S>
  static void describe(V& v, S& stored) {
    v.field("folders", stored.folders);
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
  return {{stored->folders.begin(), stored->folders.end()}, std::move(stored->extra)};
}

Result<void> RelocationLeftovers::write(Files& files, const LibraryPaths& paths) const {
  if (!folders.empty()) {
    const StoredLeftovers stored{{folders.begin(), folders.end()}, extra};
    return files.replace(fileIn(paths), json::toText(stored), Privacy::ownerOnly);
  }
  return removeJournalFile(files, fileIn(paths));
}

}  // namespace vantorel
