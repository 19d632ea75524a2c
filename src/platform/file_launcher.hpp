#pragma once

#include <functional>
#include <vector>

#include "base/result.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Hands files to the desktop's other programs. Answers once these have been asked, on the main
/// runner, with why they could not be. Lives on the main runner.
class FileLauncher {
 public:
  using Done = std::function<void(const Result<void>&)>;

  virtual ~FileLauncher() = default;

  /// Opens the file in the program that the user has for its kind.
  virtual void open(const Path& file, Done done) = 0;

  /// Shows the files among the others of their folder, in the file manager.
  virtual void reveal(const std::vector<Path>& files, Done done) = 0;
};

}  // namespace vantorel
