#pragma once

#include "platform/files.hpp"

namespace vantorel {

/// Removes the file of a journal, or of another record, that has nothing more to say; fine when
/// there is none. Blocks; any thread.
[[nodiscard]] Result<void> removeJournalFile(Files& files, const Path& path);

}  // namespace vantorel
