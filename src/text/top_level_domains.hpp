#pragma once

#include <string_view>

namespace vantorel {

enum class DomainEnding {
  unknown,    ///< of no host that is linked to
  ambiguous,  ///< of hosts, and of files or of words in programs: "main.rs", "app.py"
  host,
};

/// What the last label of a name tells, in small letters.
[[nodiscard]] DomainEnding domainEnding(std::string_view label);

}  // namespace vantorel
