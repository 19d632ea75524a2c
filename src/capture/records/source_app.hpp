#pragma once

#include <optional>
#include <string>

#include "base/json_record.hpp"

namespace vantorel {

/// The application a capture was taken from.
struct SourceApp {
  std::optional<std::string> bundleID;  ///< the desktop file's id, such as "org.gnome.Nautilus"
  std::string name;                     ///< for people
  json::Object extra;

  bool operator==(const SourceApp&) const = default;
  template <class V, class S>
  static void describe(V& v, S& app);
};
VT_JSON_RECORD_DECLARATION(SourceApp);

}  // namespace vantorel
