#pragma once

#include <string>

#include "platform/files.hpp"

namespace vantorel {

/// A picture as a person names it: one of the two.
struct NamedPicture {
  std::string capture{};  ///< the id, the unique beginning of one, or "latest"
  Path file{};            ///< absolute
};

/// One that could not be opened.
struct UnopenedPicture {
  NamedPicture picture;
  std::string why;  ///< a sentence
};

/// A sentence in which it is named as it was asked for.
[[nodiscard]] std::string sentence(const UnopenedPicture& unopened);

}  // namespace vantorel
