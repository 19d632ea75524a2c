#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/result.hpp"
#include "library/library_paths.hpp"
#include "library/records/screenshot_entry.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// What a picture that somebody asked for must not be written over.
struct ProtectedFiles {
  EntryList entries;  ///< all their files: shown, original, and of layers
  LibraryPaths paths;
  Path originals;              ///< of captures changed in place
  Path settings{};             ///< the file of the settings
  std::vector<Path> inputs{};  ///< what the picture is made from
};

/// Why a picture was not written to the file that somebody named.
struct OutputFileFailure {
  enum class Case {
    notWritten,   ///< `reason` says why
    overCapture,  ///< it is a capture of the library
    overInput,    ///< the picture is made from it
  };
  Case what = Case::notWritten;
  Path output{};
  std::string reason{};
};

[[nodiscard]] std::string sentence(const OutputFileFailure& failure);

/// Refuses an `output` that nothing may be written to. Files are compared by what they are on the
/// disk, not by name: a link, or a folder reached by a link, leads to the same file. Blocks; any
/// thread.
[[nodiscard]] Result<void, OutputFileFailure> checkOutput(const Files& files, const Path& output,
                                                          const ProtectedFiles& kept);

/// Writes `bytes` to `output` where that is not refused, in one step. A link goes on being one.
/// Blocks; any thread.
[[nodiscard]] Result<void, OutputFileFailure> writeOutput(Files& files, const Path& output,
                                                          std::string_view bytes,
                                                          const ProtectedFiles& kept);

}  // namespace vantorel
