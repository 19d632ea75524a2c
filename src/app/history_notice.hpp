#pragma once

#include <string>

namespace vantorel {

/// What the History window says in its band.
struct HistoryNotice {
  std::string text;
  std::string detail{};
  bool isProblem = true;
  bool canRetrySaving = false;  ///< with "Try again", which saves the library

  bool operator==(const HistoryNotice&) const = default;
};

}  // namespace vantorel
