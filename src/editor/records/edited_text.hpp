#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/json_record.hpp"

namespace vantorel {

/// The user's wording of one recognised block.
struct BlockEdit {
  int block = 0;         ///< index of the recognised block
  std::string original;  ///< what was recognised
  std::string text;      ///< what it should say

  json::Extra extra;

  bool operator==(const BlockEdit&) const = default;
  template <class V, class S>
  static void describe(V& v, S& edit);
};
VT_JSON_RECORD_DECLARATION(BlockEdit);

/// The user's corrections of a capture's recognised text.
struct EditedText {
  std::string basis;  ///< the recognised text the edits were made against
  std::vector<BlockEdit> blocks;
  std::optional<std::string> document;    ///< the whole corrected text
  std::optional<std::string> fileDigest;  ///< of the image file the edits belong to
  bool parked = false;

  json::Extra extra;

  bool operator==(const EditedText&) const = default;
  template <class V, class S>
  static void describe(V& v, S& edited);
};
VT_JSON_RECORD_DECLARATION(EditedText);

}  // namespace vantorel
