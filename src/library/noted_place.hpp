#pragma once

#include <optional>

#include "base/result.hpp"
#include "platform/file_mark.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// What the name of a noted file leads to.
enum class NotedPlace {
  nothing,
  another,  ///< another file, or it was written to since
  alike,    ///< as large and as old, and of another number: a disk that numbers its files anew with
            ///< each mount has given it one, or it is a copy that somebody put there
  same,
};

/// For the journal, with its disk; nothing when it is not there. Blocks; any thread.
[[nodiscard]] std::optional<FileMark> markOf(const Files& files, const Path& path);

/// What is at `path`, where a file with this mark was noted, if it could be. Fails with
/// `unreachable` when its disk does not answer, or is not there while nothing has the name. Blocks;
/// any thread.
[[nodiscard]] Result<NotedPlace> placeOf(const Files& files, const Path& path,
                                         const std::optional<FileMark>& mark);

/// Whether the file in this place is certainly the noted one. `other` is the place of another file
/// that was noted at the same time on the same disk: when that has a new number, so have all.
[[nodiscard]] constexpr bool isCertain(NotedPlace place, NotedPlace other) {
  return place == NotedPlace::same || (place == NotedPlace::alike && other == NotedPlace::alike);
}

}  // namespace vantorel
