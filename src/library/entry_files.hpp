#pragma once

#include <string>
#include <string_view>

#include "library/library_paths.hpp"
#include "library/records/screenshot_entry.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// What a file is to its entry.
enum class FileRole { shown, original };

/// A file of an entry: of the original only when there is one.
struct EntryFile {
  EntryPointer entry;
  FileRole role = FileRole::shown;

  [[nodiscard]] const std::string& path() const {
    return role == FileRole::shown ? entry->path : *entry->originalPath;
  }
  /// What the entry remembers of it.
  [[nodiscard]] const BoxedOptional<FileIdentity>& seen() const {
    return role == FileRole::shown ? entry->fileIdentity : entry->originalIdentity;
  }
  bool operator==(const EntryFile&) const = default;
};

/// Tells originals that lie among captures, where people rename and swap them, from those in the
/// folders that only the library uses, which need no looking after.
class OriginalFolders {
 public:
  explicit OriginalFolders(const LibraryPaths& paths);

  [[nodiscard]] bool isAmongCaptures(const ScreenshotEntry& entry) const;

 private:
  std::string originals_;
  std::string redactedOriginals_;
};

/// Whether what has the original's name, `now`, is the original that was `seen`. An original is
/// never written to, so that another size is another file; a copy put back has another number, and
/// one that was touched another time.
[[nodiscard]] bool isSameOriginal(const FileIdentity& seen, const FileIdentity& now);

/// What an original's name leads to.
enum class OriginalPlace { original, anotherFile, nothing };

/// Of an entry that has an original and was looked for; one that was never seen is known by its
/// name alone. Blocks; any thread.
[[nodiscard]] OriginalPlace placeOfOriginal(const Files& files, const ScreenshotEntry& entry);

}  // namespace vantorel
