#pragma once

#include <optional>

#include "base/json_record.hpp"

namespace vantorel {

/// What the library knows of a Studio project without opening it.
struct StudioEntryRecord {
  int version = 0;                   ///< of the project file
  std::optional<double> duration;    ///< output length in seconds
  std::optional<double> posterTime;  ///< time of the poster frame in seconds
  json::Object extra;

  bool operator==(const StudioEntryRecord&) const = default;
  template <class V, class S>
  static void describe(V& v, S& record);
};
VT_JSON_RECORD_DECLARATION(StudioEntryRecord);

}  // namespace vantorel
