#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "base/task_runner.hpp"
#include "library/file_look.hpp"
#include "library/history_store.hpp"

namespace vantorel {

/// What came of putting a look into the library.
struct AdoptedLook {
  std::size_t renamed = 0;  ///< entries that have new paths of their files

  /// Those without a file, as the library has them now.
  EntryList gone;

  /// Ids of entries whose files have other names by now, or whose names other files have, and that
  /// could not be given them: somebody is changing one of them. Their paths are not to be trusted.
  std::set<std::string> unsettled;
};

/// Gives the entries the paths that their files have by now. An entry whose path another one's file
/// has keeps what it remembers, under a name of its own, for when its file comes back. Entries that
/// changed since, or whose files the program itself is changing, are left alone, and so are those
/// that would get their paths. `claimed` are the ids whose files nobody but the caller may change
/// now. Of an entry's own files both get their new paths or none does. Main runner.
[[nodiscard]] AdoptedLook adoptNames(HistoryStore& store, const FileLook& look,
                                     const std::set<std::string>& claimed = {});

/// Has the entries remember what their files are. Entries that changed since are left alone. Main
/// runner.
void remember(HistoryStore& store, const std::vector<SeenFile>& files);

/// Calls `learn` with a slice of `files` at a time, so that a large library does not hold the
/// runner, and then `then`. Main runner.
void learnInSlices(const std::shared_ptr<TaskRunner>& main, std::vector<SeenFile> files,
                   std::function<void(const std::vector<SeenFile>&)> learn,
                   std::move_only_function<void()> then);

/// A look for the files of these entries, to be had before anything is done with the files: names
/// may have been swapped while nobody watched. Call `look` where it may block.
class LookBeforeUse {
 public:
  LookBeforeUse(const HistoryStore& store, std::vector<std::string> ids);

  [[nodiscard]] FileLook look(const Files& files) const;

 private:
  std::vector<std::string> ids_;
  FileLookScope scope_;
};

/// Puts such a look into the library. Main runner.
AdoptedLook adoptLook(HistoryStore& store, const FileLook& look,
                      const std::set<std::string>& claimed = {});

}  // namespace vantorel
