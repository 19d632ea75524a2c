#pragma once

#include <string>
#include <vector>

#include "base/json_record.hpp"

namespace vantorel {

/// Where recognised text or a code lies: fractions of the picture's width and height, origin at
/// the top left.
struct OCRBox {
  float x = 0;
  float y = 0;
  float w = 0;
  float h = 0;
  json::Extra extra;

  bool operator==(const OCRBox&) const = default;
  template <class V, class S>
  static void describe(V& v, S& box);
};
VT_JSON_RECORD_DECLARATION(OCRBox);

struct OCRLine {
  std::string text;
  OCRBox box;
  float confidence = 0;  ///< 0 to 1
  json::Extra extra;
  std::string letters{};  ///< where the letters lie, see `letterEdges`; empty when that is unknown

  bool operator==(const OCRLine&) const = default;
  template <class V, class S>
  static void describe(V& v, S& line);
};
VT_JSON_RECORD_DECLARATION(OCRLine);

/// Lines that belong together, such as a paragraph.
struct OCRBlock {
  std::vector<OCRLine> lines;
  json::Extra extra;

  bool operator==(const OCRBlock&) const = default;
  template <class V, class S>
  static void describe(V& v, S& block);
};
VT_JSON_RECORD_DECLARATION(OCRBlock);

// Edits and translations name blocks by their position, so a list of recognised text loads whole
// or not at all: one bad line fails the list.
VT_JSON_RECORD_DECLARATION(std::vector<OCRLine>);
VT_JSON_RECORD_DECLARATION(std::vector<OCRBlock>);

}  // namespace vantorel
