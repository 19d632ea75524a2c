#pragma once

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

#include "platform/file_mark.hpp"

namespace vantorel {

/// The three members of a journal's record that hold a `FileMark`, or none.
struct StoredFileMark {
  std::optional<std::string> number{};  ///< as text: not every inode fits into the numbers of JSON
  std::optional<std::int64_t> size{};
  std::optional<double> modified{};

  StoredFileMark() = default;
  explicit StoredFileMark(const std::optional<FileMark>& mark) {
    if (!mark) return;
    number = std::to_string(mark->inode);
    if (mark->size) size = static_cast<std::int64_t>(*mark->size);
    modified = mark->modified;
  }

  [[nodiscard]] std::optional<FileMark> mark() const {
    if (!number) return std::nullopt;
    FileMark mark{std::strtoull(number->c_str(), nullptr, 10), std::nullopt, modified};
    if (size) mark.size = static_cast<std::uint64_t>(*size);
    return mark;
  }
};

}  // namespace vantorel
