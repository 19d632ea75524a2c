#pragma once

#include <optional>
#include <string>

#include "base/json_record.hpp"

namespace vantorel {

/// That what Smart Redact covered in a capture's file is being uncovered or covered again. The
/// entry says so before any file changes and until all of them have, so that what was cut short is
/// known and done to its end.
struct RedactionChange {
  bool covers = false;

  /// An original that the entry had before it was covered again, which shows what is covered and so
  /// goes.
  std::optional<std::string> earlierOriginal;
  json::Extra extra;

  bool operator==(const RedactionChange&) const = default;
  template <class V, class S>
  static void describe(V& v, S& change);
};
VT_JSON_RECORD_DECLARATION(RedactionChange);

}  // namespace vantorel
