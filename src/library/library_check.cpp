#include "library/library_check.hpp"

#include "library/file_reach.hpp"

namespace vantorel {

MissingFiles findMissingFiles(const Files& files, const EntryList& entries,
                              const CheckProgress& progress) {
  MissingFiles missing;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (!progress(i, entries.size())) break;
    switch (reachOf(files, entries[i]->path)) {
      case FileReach::there: break;
      case FileReach::fileGone: missing.gone.push_back(entries[i]); break;
      case FileReach::folderGone:
      case FileReach::folderUnreachable:
      case FileReach::folderDenied:
      case FileReach::unknown: missing.outOfReach.push_back(entries[i]); break;
    }
  }
  return missing;
}

}  // namespace vantorel
