#pragma once

#include <optional>
#include <string>

#include "library/file_reach.hpp"

namespace vantorel {

/// Why a capture of the library could not be used or changed.
struct EntryFailure {
  enum class Case {
    unnamed,        ///< no capture, or more than one, has that name; `reason` says why
    libraryClosed,  ///< the library cannot be used now; `reason` says why
    unchangeable,   ///< `reason` says why
    left,           ///< it was taken out of the library meanwhile
    unsettled,      ///< its file's name is another capture's, whose file is being changed
    notSaved,       ///< the change is made, but not on the disk; `reason` says why
  };
  Case what = Case::left;
  std::string reason{};
};

[[nodiscard]] std::string sentence(const EntryFailure& failure);

/// What keeps an entry's file from being used.
struct FileAbsence {
  FileReach reach = FileReach::fileGone;
  std::string path;
};

[[nodiscard]] std::string sentence(const FileAbsence& absence);

/// Nothing when the file is there. Blocks; any thread.
[[nodiscard]] std::optional<FileAbsence> absenceOf(const Files& files,
                                                   const ScreenshotEntry& entry);

}  // namespace vantorel
