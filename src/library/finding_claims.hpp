#pragma once

#include <map>
#include <set>
#include <string>

#include "library/library.hpp"
#include "library/library_check.hpp"

namespace vantorel {

/// Tells which findings the library has settled by now, and holds the entries that a repair is
/// about to change, so that nobody else does meanwhile. Lives on the main runner.
class FindingClaims {
 public:
  explicit FindingClaims(Library& library) : library_(library) {}

  /// Drops entries that changed or that somebody else is changing, and files that an entry or an
  /// undo names by now.
  void dropSettled(LibraryFindings& findings) const;

  /// Holds the entries whose ids the originals without an entry have; drops those that somebody
  /// else has.
  void claimOriginals(LibraryFindings& findings);

  /// Holds what is to be forgotten, or is to forget its original; what somebody else has is not
  /// judged.
  void claimFaulty(LibraryFindings& findings);

  [[nodiscard]] std::set<std::string> ids() const;
  void release() { claims_.clear(); }

 private:
  [[nodiscard]] bool claim(const std::string& id);

  Library& library_;
  std::map<std::string, EntryClaim> claims_;  // by the entries' ids
};

}  // namespace vantorel
