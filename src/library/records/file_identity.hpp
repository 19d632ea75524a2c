#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/json_record.hpp"

namespace vantorel {

/// Which file an entry had when it was last seen. A file that is missing from this folder of this
/// volume was deleted; missing from another one that has the same name now, it is out of reach.
/// What has the same file number, size and time on the volume is the same file under another name.
struct FileIdentity {
  std::string volume;     ///< of the folder, as `FolderLocation`
  std::string folder;     ///< its path on the volume
  std::int64_t file = 0;  ///< the file's number (inode) there
  std::int64_t size = 0;  ///< bytes
  double modified = 0;    ///< seconds since 1970-01-01 UTC

  /// The folder's own number, which another one of the same name has not; not in earlier indexes.
  std::optional<std::int64_t> folderFile{};
  json::Extra extra;

  /// Whatever name and folder it has on its volume.
  [[nodiscard]] bool isSameFileAs(const FileIdentity& other) const {
    return volume == other.volume && file == other.file && size == other.size &&
           modified == other.modified;
  }

  bool operator==(const FileIdentity&) const = default;
  template <class V, class S>
  static void describe(V& v, S& identity);
};
VT_JSON_RECORD_DECLARATION(FileIdentity);

}  // namespace vantorel
