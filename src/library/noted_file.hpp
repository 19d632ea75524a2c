#pragma once

#include <optional>
#include <string>

#include "base/result.hpp"
#include "library/records/file_identity.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// A file that a journal names, with what it was when it was noted.
struct NotedFile {
  std::string path;
  std::optional<std::string> inode{};  ///< all that earlier builds noted
  std::optional<FileIdentity> identity{};
};

/// What the name of a noted file leads to.
enum class NotedPlace {
  nothing,
  another,  ///< another file, or it was written to since
  alike,    ///< as large and as old, and of another number: a disk that numbers its files anew with
            ///< each mount has given it one, or it is a copy that somebody put there
  same,
};

/// Fails when its disk does not answer. Blocks; any thread.
[[nodiscard]] Result<NotedPlace> placeOf(const Files& files, const NotedFile& noted);

/// Whether the file in this place is certainly the noted one. `other` is the place of another file
/// that was noted at the same time on the same disk: when that has a new number, so have all.
[[nodiscard]] constexpr bool isCertain(NotedPlace place, NotedPlace other) {
  return place == NotedPlace::same || (place == NotedPlace::alike && other == NotedPlace::alike);
}

}  // namespace vantorel
