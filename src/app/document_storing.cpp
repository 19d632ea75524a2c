#include "app/document_storing.hpp"

#include <utility>

#include "editor/entry_document.hpp"

namespace vantorel {

void storeDocument(Library& library, const std::string& id, const EditorDocument& document,
                   PixelSize capture, IfUnsaved ifUnsaved,
                   std::move_only_function<void(Result<EntryPointer, EntryFailure>)> done) {
  using Case = EntryFailure::Case;
  HistoryStore& store = library.store();
  if (auto refused = store.indexRefusal()) {
    return done(std::unexpected(EntryFailure{Case::unchangeable, *std::move(refused)}));
  }
  const EntryPointer before = store.find(id);
  const auto changed = store.update(id, [&](ScreenshotEntry& entry) {
    putDocument(document, capture, entry);
    entry.editedAt = library.clock().now();
  });
  if (!changed) return done(std::unexpected(EntryFailure{Case::left}));
  const EntryPointer after = store.find(id);
  store.flush([&store, id, before, after, ifUnsaved,
               done = std::move(done)](Result<void> saved) mutable {
    if (!saved) {
      // Nobody else changes what is edited, but its file may have got another name meanwhile.
      if (ifUnsaved == IfUnsaved::takeBack && store.find(id) == after) {
        (void)store.update(id, [&](ScreenshotEntry& entry) { entry = *before; });
      }
      return done(std::unexpected(EntryFailure{Case::notSaved, std::move(saved.error().reason)}));
    }
    EntryPointer entry = store.find(id);
    if (!entry) return done(std::unexpected(EntryFailure{Case::left}));
    done(std::move(entry));
  });
}

}  // namespace vantorel
