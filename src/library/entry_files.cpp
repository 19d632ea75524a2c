#include "library/entry_files.hpp"

#include "library/file_reach.hpp"

namespace vantorel {

OriginalFolders::OriginalFolders(const LibraryPaths& paths)
    : originals_(paths.originals().string()),
      redactedOriginals_(paths.redactedOriginals().string()) {}

bool OriginalFolders::isAmongCaptures(const ScreenshotEntry& entry) const {
  if (!entry.originalPath || *entry.originalPath == entry.path) return false;
  const std::string_view folder = folderOf(*entry.originalPath);
  return folder != originals_ && folder != redactedOriginals_;
}

bool isSameOriginal(const FileIdentity& seen, const FileIdentity& now) {
  const bool isSameNode = seen.volume == now.volume && seen.file == now.file;
  return seen.size == now.size && (isSameNode || seen.modified == now.modified);
}

OriginalPlace placeOfOriginal(const Files& files, const ScreenshotEntry& entry) {
  const auto status = files.status(*entry.originalPath);
  if (!status) return OriginalPlace::nothing;
  if (!entry.originalIdentity) return OriginalPlace::original;
  FileIdentity now = *entry.originalIdentity;
  now.file = static_cast<std::int64_t>(status->inode);
  now.size = static_cast<std::int64_t>(status->size);
  now.modified = status->modified;
  return isSameOriginal(*entry.originalIdentity, now) ? OriginalPlace::original
                                                      : OriginalPlace::anotherFile;
}

}  // namespace vantorel
