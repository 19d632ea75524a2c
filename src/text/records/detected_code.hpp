#pragma once

#include <string>

#include "text/records/ocr_block.hpp"

namespace vantorel {

/// A bar code or QR code found in a picture.
struct DetectedCode {
  std::string payload;
  std::string symbology;  ///< "qr", "ean13" and so on
  OCRBox box;
  json::Object extra;

  bool operator==(const DetectedCode&) const = default;
  template <class V, class S>
  static void describe(V& v, S& code);
};
VT_JSON_RECORD_DECLARATION(DetectedCode);

}  // namespace vantorel
