#pragma once

#include <set>
#include <string>

namespace vantorel {

/// The library entries whose files are being rewritten (convert, compress, redact). Lives on the
/// main runner.
class CaptureRewriteActivity {
 public:
  /// False when a rewrite of that entry is in flight already.
  [[nodiscard]] bool begin(const std::string& entryID) { return inFlight_.insert(entryID).second; }
  void end(const std::string& entryID) { inFlight_.erase(entryID); }
  [[nodiscard]] bool isInFlight(const std::string& entryID) const {
    return inFlight_.contains(entryID);
  }
  [[nodiscard]] bool isEmpty() const { return inFlight_.empty(); }

 private:
  std::set<std::string> inFlight_;
};

}  // namespace vantorel
