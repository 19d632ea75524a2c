#pragma once

#include <string_view>

#include "platform/files.hpp"

namespace vantorel {

/// Removes the file of a journal, or of another record, that has nothing more to say; fine when
/// there is none. Blocks; any thread.
[[nodiscard]] Result<void> removeJournalFile(Files& files, const Path& path);

/// Comes before a journal is written or removed: a file under its name that this build cannot read,
/// for it is damaged or a newer build's, gets the name "<stem>-<random>.unreadable.json" beside it,
/// for its owner only. Fails when it cannot; then the journal must stay as it is. Blocks; any
/// thread.
[[nodiscard]] Result<void> setAsideUnreadableJournal(Files& files, const Path& path,
                                                     bool (*isReadable)(std::string_view text));

/// What this build writes; 1 had other keys for what is known of a file.
inline constexpr int journalVersion = 2;

/// Part of a journal's description: fails to read what a newer build wrote. The first builds wrote
/// no version.
template <class V, class Version>
void describeJournalVersion(V& v, Version& version) {
  v.requiredIfPresent("version", version);
  if constexpr (V::reading) {
    if (version > journalVersion) v.fail("version", "was written by a newer build");
  }
}

}  // namespace vantorel
