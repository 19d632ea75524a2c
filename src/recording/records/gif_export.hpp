#pragma once

#include <optional>
#include <variant>

#include "base/json_record.hpp"
#include "editor/records/box.hpp"

namespace vantorel {

/// How a recording is turned into a GIF.
struct GifExportOptions {
  struct Width {
    int pixels = 0;
    bool operator==(const Width&) const = default;
  };
  struct Full {
    bool operator==(const Full&) const = default;
  };
  struct Half {
    bool operator==(const Half&) const = default;
  };
  /// Stored as an object with one key naming the case: {"width":{"_0":640}}, {"full":{}}.
  using Size = std::variant<Width, Full, Half>;

  Size size = Full{};
  int framesPerSecond = 15;
  double speed = 1;
  bool dithering = true;
  bool loopsForever = true;
  json::Object extra;

  bool operator==(const GifExportOptions&) const = default;
  template <class V, class S>
  static void describe(V& v, S& options);
};
VT_JSON_RECORD_DECLARATION(GifExportOptions);
VT_JSON_RECORD_DECLARATION(GifExportOptions::Size);

/// What a GIF was made with.
struct GifExportRecord {
  GifExportOptions options;
  std::optional<StoredBox> crop;
  std::optional<double> rangeStart;  ///< seconds into the recording
  std::optional<double> rangeEnd;
  json::Object extra;

  bool operator==(const GifExportRecord&) const = default;
  template <class V, class S>
  static void describe(V& v, S& record);
};
VT_JSON_RECORD_DECLARATION(GifExportRecord);

}  // namespace vantorel
