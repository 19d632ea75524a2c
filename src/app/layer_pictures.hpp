#pragma once

#include <functional>
#include <memory>
#include <set>
#include <string>

#include "app/annotation_drafts.hpp"
#include "app/folder_use.hpp"
#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "library/library.hpp"
#include "platform/clock.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// The pictures that were pasted as layers, which lie in a folder of the program's own, and nowhere
/// else: removes those that nothing names any more, for they may show what the user took out. While
/// another program works with the same folder, which may bring back any of them by undo and redo,
/// all stay. Lives on the main runner.
class LayerPictures {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> disk;  ///< on which they are written too
    std::shared_ptr<const Clock> clock;
    std::shared_ptr<Files> files;
    Library& library;
    AnnotationDrafts& drafts;
    Path folder;
  };

  /// Names of files in the folder.
  using Names = std::set<std::string>;

  /// `inUse` gives those that an open editor may still show or bring back.
  LayerPictures(Services services, std::function<Names()> inUse);

  /// Those that earlier runs left, which are there before anything is pasted now. Not the young
  /// ones, which may belong to a program that could not say that it lives, and none while the
  /// library is empty: its index may have been lost.
  void removeLeftOver();

  /// Those of `candidates` that no entry, draft or journal of the library names. None while it is
  /// another process's, or one cannot be read, or a damaged index lies beside the one in use.
  void removeUnnamed(Names candidates);

 private:
  [[nodiscard]] Names unnamed(Names candidates) const;

  Services services_;
  std::function<Names()> inUse_;
  std::shared_ptr<FolderUse> use_;  ///< on `disk`
  Lifetime lifetime_;
};

}  // namespace vantorel
