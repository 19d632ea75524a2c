#pragma once

#include <set>
#include <string>

#include "base/json_record.hpp"
#include "library/library_paths.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Folders whose captures a move was to take along and did not, kept beside the index: the next
/// move takes them, wherever captures are filed by then.
struct RelocationLeftovers {
  std::set<std::string> folders;
  json::Object extra;

  /// Empty when there is no such file, or none that can be read.
  [[nodiscard]] static RelocationLeftovers read(const Files& files, const LibraryPaths& paths);

  /// Replaces the file, or removes it when no folder is left.
  [[nodiscard]] Result<void> write(Files& files, const LibraryPaths& paths) const;

  void addFolderOf(const Path& file) { folders.insert(file.parent_path().string()); }

  bool operator==(const RelocationLeftovers&) const = default;
};

}  // namespace vantorel
