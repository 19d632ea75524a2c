#pragma once

#include <string>

#include "platform/files.hpp"

namespace vantorel {

/// A picture as a person names it: one of the two.
struct NamedPicture {
  std::string capture{};  ///< the id, the unique beginning of one, or "latest"
  Path file{};            ///< absolute
};

}  // namespace vantorel
