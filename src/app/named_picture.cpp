#include "app/named_picture.hpp"

#include <fmt/format.h>

namespace vantorel {

std::string sentence(const UnopenedPicture& unopened) {
  const NamedPicture& picture = unopened.picture;
  const std::string name = picture.file.empty() ? picture.capture : picture.file.string();
  if (unopened.why.find(name) != std::string::npos) return unopened.why;
  return fmt::format("{}: {}", name, unopened.why);
}

}  // namespace vantorel
