#include "app/dragged_files.hpp"

#include "base/log.hpp"
#include "base/random_id.hpp"

namespace vantorel {

Result<Path> writeDraggedFile(Files& files, const Path& folder, const std::string& name,
                              std::string_view bytes) {
  const Path own = folder / randomID();
  VT_TRY(files.makeFolder(own, Privacy::ownerOnly));
  const Path file = own / name;
  VT_TRY(files.create(file, bytes, Privacy::byUmask, Durability::visible));
  return file;
}

void removeDraggedFiles(Files& files, const Path& folder) {
  const auto found = files.list(folder);
  if (!found) return;
  for (const FolderItem& own : *found) {
    if (own.type != FileType::folder) continue;
    const auto inside = files.list(folder / own.name);
    if (!inside || inside->size() > 1) continue;
    bool isEmpty = true;
    for (const FolderItem& file : *inside) {
      isEmpty = file.type == FileType::regular && files.remove(folder / own.name / file.name);
    }
    if (!isEmpty || !files.remove(folder / own.name)) {
      logWarning("Annotate", "a picture that was dragged out stays in {}",
                 (folder / own.name).string());
    }
  }
}

}  // namespace vantorel
