#include "library/library.hpp"

#include <utility>

namespace vantorel {

Library::Library(Services services, LibraryPaths paths)
    : store_({.files = services.files,
              .clock = services.clock,
              .main = services.main,
              .persist = services.persist,
              .userID = services.userID},
             std::move(paths)),
      deletion_({.store = store_,
                 .files = services.files,
                 .trash = services.trash,
                 .clock = services.clock,
                 .main = services.main,
                 .work = services.deletions}),
      relocation_({.store = store_,
                   .files = services.files,
                   .main = services.main,
                   .work = services.moves}),
      retention_({.store = store_,
                  .deletion = deletion_,
                  .files = services.files,
                  .clock = services.clock,
                  .main = services.main,
                  .work = services.moves}),
      disk_(store_, services.files, services.main, services.moves) {}

void Library::open() {
  store_.load(alive_.guard([this] {
    // Files that an earlier run moved are not gone: that must be known first.
    relocation_.recover(alive_.guard([this] {
      deletion_.recover(alive_.guard([this] {
        isReady_ = true;
        for (auto& go : std::exchange(waiting_, {})) go();
      }));
    }));
  }));
}

void Library::whenReady(std::move_only_function<void()> go) {
  if (isReady_) return go();
  waiting_.push_back(std::move(go));
}

}  // namespace vantorel
