#include "platform/linux/heif/derived_images.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <vector>

namespace vantorel {
namespace {

/// An overlay of turned grids has three.
constexpr int deepestNesting = 8;

/// Reads numbers, most significant byte first, as long as there are any.
class Bytes {
 public:
  explicit Bytes(std::string_view bytes) : left_(bytes) {}

  [[nodiscard]] bool isEmpty() const { return left_.empty(); }

  std::optional<std::uint64_t> number(std::size_t size) {
    if (left_.size() < size) return std::nullopt;
    std::uint64_t value = 0;
    for (const char c : left_.substr(0, size)) value = value << 8 | static_cast<std::uint8_t>(c);
    left_.remove_prefix(size);
    return value;
  }

  [[nodiscard]] std::string_view take(std::uint64_t size) {
    const std::string_view taken = left_.substr(0, size);
    left_.remove_prefix(taken.size());
    return taken;
  }

 private:
  std::string_view left_;
};

/// Calls `with` with the type and the content of each box (ISO/IEC 14496-12, 4.2).
void forEachBox(std::string_view bytes,
                const std::function<void(std::string_view type, std::string_view content)>& with) {
  Bytes left(bytes);
  while (!left.isEmpty()) {
    const auto size = left.number(4);
    if (!size) return;
    const std::string_view type = left.take(4);
    std::uint64_t content = *size - 8;
    if (*size == 0) {
      content = UINT64_MAX;  // to the end
    } else if (*size == 1) {
      const auto large = left.number(8);
      if (!large || *large < 16) return;
      content = *large - 16;
    } else if (*size < 8) {
      return;
    }
    with(type, left.take(content));
  }
}

using Sources = std::map<std::uint64_t, std::vector<std::uint64_t>>;

/// What each derived image is made of (ISO/IEC 14496-12, 8.11.12; ISO/IEC 23008-12, 6.6).
Sources sourcesIn(std::string_view file) {
  Sources sources;
  const auto addReferences = [&](std::string_view references) {
    Bytes header(references);
    const auto version = header.number(1);
    const std::size_t idSize = version.value_or(0) == 0 ? 2 : 4;
    if (references.size() < 4) return;
    forEachBox(references.substr(4), [&](std::string_view type, std::string_view content) {
      Bytes left(content);
      const auto from = left.number(idSize);
      const auto count = left.number(2);
      if (type != "dimg" || !from || !count) return;
      for (std::uint64_t i = 0; i < *count; ++i) {
        const auto to = left.number(idSize);
        if (!to) return;
        sources[*from].push_back(*to);
      }
    });
  };
  forEachBox(file, [&](std::string_view type, std::string_view meta) {
    if (type != "meta" || meta.size() < 4) return;
    forEachBox(meta.substr(4), [&](std::string_view inner, std::string_view content) {
      if (inner == "iref") addReferences(content);
    });
  });
  return sources;
}

/// How deep each derived image is nested, as far as that is known to be finite.
class Nesting {
 public:
  explicit Nesting(const Sources& sources) : sources_(sources) {}

  /// Nothing when it is more than `deepest`, or has no end.
  std::optional<int> of(std::uint64_t image, int deepest) {
    const auto made = sources_.find(image);
    if (made == sources_.end()) return 0;
    if (const auto known = depths_.find(image); known != depths_.end()) {
      return known->second <= deepest ? std::optional(known->second) : std::nullopt;
    }
    if (deepest == 0) return std::nullopt;
    int depth = 1;
    for (const std::uint64_t source : made->second) {
      const auto below = of(source, deepest - 1);
      if (!below) return std::nullopt;
      depth = std::max(depth, *below + 1);
    }
    depths_.emplace(image, depth);
    return depth;
  }

 private:
  const Sources& sources_;
  std::map<std::uint64_t, int> depths_;
};

}  // namespace

bool areDerivedImagesFinite(std::string_view file) {
  const Sources sources = sourcesIn(file);
  Nesting nesting(sources);
  for (const auto& [image, made] : sources) {
    if (!nesting.of(image, deepestNesting)) return false;
  }
  return true;
}

}  // namespace vantorel
