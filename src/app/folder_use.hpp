#pragma once

#include <memory>
#include <string>
#include <utility>

#include "platform/files.hpp"

namespace vantorel {

/// Tells other programs that this one works in a folder, and whether they do: each holds a lock of
/// its own there for as long as it lives, however it ends. Any one thread at a time; blocks.
class FolderUse {
 public:
  FolderUse(std::shared_ptr<Files> files, Path folder)
      : files_(std::move(files)), folder_(std::move(folder)) {}

  /// Makes the folder, and holds a lock in it from now on.
  [[nodiscard]] Result<void> begin();

  /// Whether another program works there, as far as it can be found out: false says that none does.
  [[nodiscard]] bool mayHaveOthers() const;

  /// Whether a file of that name in the folder is one of the locks.
  [[nodiscard]] static bool isLock(const std::string& name);

 private:
  std::shared_ptr<Files> files_;
  Path folder_;
  std::string name_;
  std::unique_ptr<FileLock> lock_;
};

}  // namespace vantorel
