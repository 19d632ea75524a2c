#pragma once

#include <string>
#include <vector>

#include "base/json_record.hpp"

namespace vantorel {

/// One recognised block in another language.
struct BlockTranslation {
  int block = 0;  ///< index of the recognised block
  std::string text;
  json::Object extra;

  bool operator==(const BlockTranslation&) const = default;
  template <class V, class S>
  static void describe(V& v, S& translation);
};
VT_JSON_RECORD_DECLARATION(BlockTranslation);

/// A capture's text in another language.
struct CaptureTranslation {
  std::string source;  ///< the language translated from
  std::vector<BlockTranslation> blocks;
  std::string fingerprint;  ///< of the recognised text it was made from
  json::Object extra;

  bool operator==(const CaptureTranslation&) const = default;
  template <class V, class S>
  static void describe(V& v, S& translation);
};
VT_JSON_RECORD_DECLARATION(CaptureTranslation);

}  // namespace vantorel
