#include "library/noted_place.hpp"

#include "library/file_reach.hpp"
#include "library/unanswered_change.hpp"

namespace vantorel {

std::optional<FileMark> markOf(const Files& files, const Path& path) {
  const FolderView folder(files, path.parent_path());
  const auto status = folder.status(path.filename());
  if (!status || !folder.location()) return std::nullopt;
  FileMark mark = FileMark::of(*status);
  mark.volume = folder.location()->volume;
  return mark;
}

Result<NotedPlace> placeOf(const Files& files, const Path& path,
                           const std::optional<FileMark>& mark) {
  const FolderView folder(files, path.parent_path());
  const auto status = folder.status(path.filename());
  if (!status && isUnanswered(status.error())) return std::unexpected(status.error());
  if (!status && mark && isDiskAway(files, path.parent_path(), mark->volume)) {
    return failed(FailureKind::unreachable, notConnectedReason);
  }
  if (!status) return NotedPlace::nothing;
  if (!mark || !folder.location() || folder.location()->volume != mark->volume) {
    return NotedPlace::another;
  }
  if (mark->isOf(*status)) return NotedPlace::same;
  return mark->isLike(*status) ? NotedPlace::alike : NotedPlace::another;
}

}  // namespace vantorel
