#include "library/entry_of_file.hpp"

#include <optional>

namespace vantorel {

std::string entryOfFile(const Files& files, const Path& file, const EntryList& entries) {
  const auto resolved = files.resolved(file);
  const Path target = resolved ? *resolved : file;
  const auto status = files.status(target);
  const std::string name = target.filename().string();
  for (const EntryPointer& entry : entries) {
    if (entry->path == file.string() || entry->path == target.string()) return entry->id;
    if (!status) continue;
    // Few are asked about: those of its name, and those of its number.
    const auto& known = entry->fileIdentity;
    const bool hasNumber = known && static_cast<std::uint64_t>(known->file) == status->inode;
    if (!hasNumber && Path(entry->path).filename().string() != name) continue;
    const auto own = files.status(entry->path);
    if (own && own->device == status->device && own->inode == status->inode) return entry->id;
  }
  return {};
}

}  // namespace vantorel
