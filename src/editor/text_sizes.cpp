#include "editor/text_sizes.hpp"

#include <bit>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>

namespace vantorel {
namespace {

constexpr std::size_t mostSizes = 20'000;

void append(std::string& key, double number) {
  const auto bits = std::bit_cast<std::uint64_t>(number);
  key.append(reinterpret_cast<const char*>(&bits), sizeof bits);
}

/// All that the size of a text follows from.
std::string keyOf(const Shape& text) {
  std::string key;
  append(key, text.fontSize);
  append(key, text.boxWidth.value_or(-1));
  key += static_cast<char>('0' + static_cast<int>(text.textAlign.value_or(TextAlign::leading)));
  return key + text.text;
}

}  // namespace

MeasureText remembering(MeasureText measure) {
  using Sizes = std::unordered_map<std::string, Box>;
  return [measure = std::move(measure), sizes = std::make_shared<Sizes>()](const Shape& text) {
    std::string key = keyOf(text);
    auto found = sizes->find(key);
    if (found == sizes->end()) {
      if (sizes->size() >= mostSizes) sizes->clear();
      Shape atOrigin = text;
      atOrigin.x = atOrigin.y = 0;
      found = sizes->emplace(std::move(key), measure(atOrigin)).first;
    }
    Box box = found->second;
    box.x += text.x;
    box.y += text.y;
    return box;
  };
}

}  // namespace vantorel
