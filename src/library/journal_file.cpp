#include "library/journal_file.hpp"

namespace vantorel {

Result<void> removeJournalFile(Files& files, const Path& path) {
  auto removed = files.remove(path);
  if (!removed && removed.error().kind == FailureKind::notFound) return {};
  return removed;
}

}  // namespace vantorel
