#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/json_record.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// What a journal notes of a file, so that it is known wherever it moves on its disk: its number
/// and, since some disks (FUSE, FAT, shares) number their files anew with each mount and give the
/// numbers to others, its size and time.
struct FileMark {
  std::int64_t file = 0;  ///< the file's number (inode)
  std::int64_t size = 0;  ///< bytes
  double modified = 0;    ///< seconds since 1970-01-01 UTC

  /// As `FolderLocation`; nothing where it does not matter on which disk the file is.
  std::optional<std::string> volume{};
  json::Extra extra{};

  [[nodiscard]] static FileMark of(const FileStatus& status) {
    return {static_cast<std::int64_t>(status.inode), static_cast<std::int64_t>(status.size),
            status.modified};
  }

  /// Whether a file of its disk has that size and time, under whatever number.
  [[nodiscard]] bool isLike(const FileStatus& status) const {
    return size == static_cast<std::int64_t>(status.size) && modified == status.modified;
  }

  /// Whether a file of its disk has this number, and is no other one that got it.
  [[nodiscard]] bool isOf(const FileStatus& status) const {
    return file == static_cast<std::int64_t>(status.inode) && isLike(status);
  }

  template <class V, class S>
  static void describe(V& v, S& mark);
};
VT_JSON_RECORD_DECLARATION(FileMark);

}  // namespace vantorel
