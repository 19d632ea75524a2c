#include "library/journal_file.hpp"

#include <fmt/format.h>

#include "base/log.hpp"
#include "base/random_id.hpp"

namespace vantorel {

Result<void> removeJournalFile(Files& files, const Path& path) {
  auto removed = files.remove(path);
  if (!removed && removed.error().kind == FailureKind::notFound) return {};
  return removed;
}

Result<void> setAsideUnreadableJournal(Files& files, const Path& path,
                                       bool (*isReadable)(std::string_view text)) {
  const auto text = files.read(path);
  if (text ? isReadable(*text) : text.error().kind == FailureKind::notFound) return {};
  const Path aside = path.parent_path() / fmt::format("{}-{}.unreadable.json", path.stem().string(),
                                                      randomID().substr(0, 8));
  VT_TRY(files.makeOwnerOnly(path));
  VT_TRY(files.moveNew(path, aside));
  logWarning("History", "{} could not be read and is kept as {}", path.string(), aside.string());
  settleFolder(files, path.parent_path());
  return {};
}

}  // namespace vantorel
