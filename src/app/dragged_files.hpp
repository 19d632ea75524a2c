#pragma once

#include <string>
#include <string_view>

#include "base/result.hpp"
#include "platform/files.hpp"

// The files that pictures are dragged out of a window as. Whoever takes one may read it long after
// the drag has ended, and a drag that was not taken cannot be told from one that was: they stay as
// long as the program runs, and the next start in the tray removes them. Each has a folder of its
// own, so that it has the name it is meant to have. Any thread; blocks.

namespace vantorel {

/// Of the folder they lie below, in the folder of caches.
inline constexpr const char* draggedFilesName = "Drags";

/// A file called `name` with this content, below `folder`.
[[nodiscard]] Result<Path> writeDraggedFile(Files& files, const Path& folder,
                                            const std::string& name, std::string_view bytes);

/// Removes what earlier runs have left in `folder`. What has another shape is somebody else's.
void removeDraggedFiles(Files& files, const Path& folder);

}  // namespace vantorel
