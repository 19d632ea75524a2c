#include "library/noted_file.hpp"

#include "library/file_move.hpp"
#include "library/file_reach.hpp"
#include "library/unanswered_change.hpp"

namespace vantorel {

namespace {

/// Nothing when it is not there; fails when its disk does not answer.
Result<std::optional<FileStatus>> find(const Files& files, const Path& path) {
  const auto status = files.status(path);
  if (status) return *status;
  if (isUnanswered(status.error())) return std::unexpected(status.error());
  return std::nullopt;
}

}  // namespace

Result<NotedPlace> placeOf(const Files& files, const NotedFile& noted) {
  const auto status = VT_TRY(find(files, noted.path));
  if (!status) return NotedPlace::nothing;
  if (!noted.identity) {
    const bool isSame = noted.inode && std::to_string(status->inode) == *noted.inode;
    return isSame ? NotedPlace::same : NotedPlace::another;
  }
  const FileIdentity& was = *noted.identity;
  const auto now = identifyFile(files, noted.path);
  // It may have fallen silent meanwhile.
  if (!now && !VT_TRY(find(files, noted.path))) return NotedPlace::nothing;
  if (!now || now->volume != was.volume || now->size != was.size) return NotedPlace::another;
  if (now->file != was.file) {
    return now->modified == was.modified ? NotedPlace::alike : NotedPlace::another;
  }
  const auto measureOf = [](const FileIdentity& file) {
    return FileMeasure{static_cast<std::uint64_t>(file.size), file.modified, std::nullopt};
  };
  return measureOf(*now).isAs(measureOf(was)) ? NotedPlace::same : NotedPlace::another;
}

}  // namespace vantorel
