#pragma once

#include <string>
#include <vector>

#include "base/json_record.hpp"

namespace vantorel {

/// How several pictures are laid beside each other.
enum class CombineLayout { grid, stacked, sideBySide };

template <>
inline constexpr auto enumNames<CombineLayout> = std::to_array<EnumName<CombineLayout>>({
    {CombineLayout::grid, "grid"},
    {CombineLayout::stacked, "stacked"},
    {CombineLayout::sideBySide, "sideBySide"},
});

/// One of the pictures joined to the capture.
struct CombineAttachment {
  std::string id;
  std::string path;
  int pixelWidth = 0;
  int pixelHeight = 0;
  int frameIndex = 0;

  json::Extra extra;

  bool operator==(const CombineAttachment&) const = default;
  template <class V, class S>
  static void describe(V& v, S& attachment);
};
VT_JSON_RECORD_DECLARATION(CombineAttachment);

/// How captures were joined before there were layers; opened as layers, never made any more.
struct CombineSpec {
  std::vector<CombineAttachment> attachments;
  CombineLayout layout = CombineLayout::sideBySide;
  double gutter = 0;  ///< pixels between the pieces
  std::string gutterHex = "#ffffff";

  json::Extra extra;

  bool operator==(const CombineSpec&) const = default;
  template <class V, class S>
  static void describe(V& v, S& combine);
};
VT_JSON_RECORD_DECLARATION(CombineSpec);

}  // namespace vantorel
