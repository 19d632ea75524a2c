#include "base/count_text.hpp"

namespace vantorel {

std::string countText(std::uint64_t count) {
  std::string text = std::to_string(count);
  for (std::size_t end = text.size(); end > 3; end -= 3) text.insert(end - 3, ",");
  return text;
}

}  // namespace vantorel
