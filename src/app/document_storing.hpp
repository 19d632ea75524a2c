#pragma once

#include <functional>
#include <string>

#include "base/geometry.hpp"
#include "editor/records/editor_document.hpp"
#include "library/entry_failure.hpp"
#include "library/library.hpp"

namespace vantorel {

/// What becomes of a change that did not get on the disk.
enum class IfUnsaved {
  keep,      ///< it is written as soon as it can be
  takeBack,  ///< the entry is as it was before: somebody may give the document up yet
};

/// Puts `document`, made for a picture of `capture` pixels, in the place of the annotations of the
/// entry `id`, which was edited now. `done` comes when that is safe on disk. The entry is claimed
/// by whoever asks. Main runner.
void storeDocument(Library& library, const std::string& id, const EditorDocument& document,
                   PixelSize capture, IfUnsaved ifUnsaved,
                   std::move_only_function<void(Result<EntryPointer, EntryFailure>)> done);

}  // namespace vantorel
