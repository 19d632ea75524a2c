#pragma once

#include <memory>

#include "base/task_runner.hpp"
#include "library/library.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// What those need that look for captures' files when somebody asks for them.
struct FileLookServices {
  std::shared_ptr<TaskRunner> main;
  std::shared_ptr<TaskRunner> work;  ///< may block
  std::shared_ptr<Files> files;
  Library* library = nullptr;
};

}  // namespace vantorel
