#pragma once

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

#include "platform/file_mark.hpp"

namespace vantorel {

/// Part of a journal's description: reads a mark as earlier builds wrote it, in three members of
/// which the first, the number, is text. It is written by another line.
template <class V, class Mark>
void readEarlierMark(V& v, const std::string& key, Mark& mark) {
  if constexpr (V::reading) {
    std::optional<std::string> number;
    FileMark earlier;
    v.field(key, number);
    v.field(key + "Size", earlier.size);
    v.field(key + "Modified", earlier.modified);
    if (!number) return;
    earlier.file = static_cast<std::int64_t>(std::strtoull(number->c_str(), nullptr, 10));
    mark = std::move(earlier);
  }
}

}  // namespace vantorel
