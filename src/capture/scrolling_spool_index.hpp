#pragma once

#include <string>
#include <vector>

#include "base/json_record.hpp"
#include "capture/staged_capture_record.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// The file "session.json" of a scrolling session's folder: what its strips are together.
struct ScrollingSpoolIndex {
  static constexpr const char* fileName = "session.json";
  static constexpr const char* lockName = "session.lock";

  /// Behind the name of a folder that is not needed any more and is being removed.
  static constexpr std::string_view overSuffix = ".over";

  /// Behind the name of one of which nothing could be read. It is not looked at again.
  static constexpr std::string_view unreadableSuffix = ".unreadable";

  static constexpr int currentVersion = 1;
  int version = currentVersion;
  double capturedAt = 0;  ///< seconds since 1970-01-01 UTC
  StagedCaptureRecord record;
  int width = 0;
  int top = 0;     ///< row of the picture's top
  int bottom = 0;  ///< behind its last row
  bool hasAlpha = false;
  std::vector<std::string>
      strips;  ///< names of their files; where two overlap the later one counts

  json::Object extra;

  template <class V, class S>
  static void describe(V& v, S& index);
};
VT_JSON_RECORD_DECLARATION(ScrollingSpoolIndex);

/// "rows_<first>_<serial>.png": a strip's row and place in the order of writing, so that strips
/// make a picture without the index as well.
struct SpoolStripName {
  int first = 0;
  int serial = 0;

  [[nodiscard]] std::string text() const;
  [[nodiscard]] static std::optional<SpoolStripName> from(std::string_view name);
};

/// Removes a session's folder with all that is in it. A crash in between leaves either the whole
/// session or one that says it is over.
void removeScrollingSpool(Files& files, const Path& folder);

}  // namespace vantorel
