#pragma once

#include <cstdint>
#include <optional>

#include "platform/files.hpp"

namespace vantorel {

/// What a file is known by wherever it moves on its disk: its number and, since some disks (FUSE,
/// FAT, shares) number their files anew with each mount and give the numbers to others, its size
/// and time.
struct FileMark {
  std::uint64_t inode = 0;
  std::optional<std::uint64_t> size{};  ///< bytes; this and the time are not in earlier journals
  std::optional<double> modified{};     ///< seconds since 1970-01-01 UTC

  [[nodiscard]] static FileMark of(const FileStatus& status) {
    return {status.inode, status.size, status.modified};
  }

  /// Whether a file has this number, and is no other one that got it.
  [[nodiscard]] bool isOf(const FileStatus& status) const {
    return status.inode == inode && (!size || *size == status.size) &&
           (!modified || *modified == status.modified);
  }

  /// Whether it has that size and time, under whatever number.
  [[nodiscard]] bool isLike(const FileStatus& status) const {
    return size == status.size && modified == status.modified;
  }
};

}  // namespace vantorel
