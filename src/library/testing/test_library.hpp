#pragma once

#include <memory>
#include <utility>

#include "library/library.hpp"
#include "platform/testing/fake_files.hpp"
#include "platform/testing/fake_runners.hpp"
#include "platform/testing/fake_trash.hpp"

namespace vantorel {

/// A library that is not opened yet, below "/data" and "/caches", with a fake for everything around
/// it: one run of the program on a disk that may outlive it.
struct TestLibrary {
  explicit TestLibrary(std::shared_ptr<FakeFiles> disk = std::make_shared<FakeFiles>())
      : files(std::move(disk)) {}

  [[nodiscard]] std::shared_ptr<const Clock> clock() const {
    return {std::shared_ptr<const Clock>(), &runners};
  }

  std::shared_ptr<FakeFiles> files;
  FakeRunners runners;
  FakeTrash trash{*files};
  Library library{{.files = *files,
                   .trash = trash,
                   .clock = runners,
                   .main = runners.main(),
                   .persist = runners.runner("persist"),
                   .deletions = runners.runner("trash"),
                   .moves = runners.runner("moves")},
                  LibraryPaths{"/data", "/caches"}};
  HistoryStore& store = library.store();
};

}  // namespace vantorel
