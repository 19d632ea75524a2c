#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "app/capture_redactor.hpp"
#include "app/named_picture.hpp"
#include "base/result.hpp"
#include "cli/command_reply.hpp"
#include "platform/files.hpp"

namespace CLI {
class App;
}

namespace vantorel {

class SensitiveTextDetector;

namespace command {

/// Finds what should not be shared.
struct Redact {
  /// Looks through a plain text.
  struct ScanText {
    Path file;  ///< absolute; empty: standard input
  };
  /// Looks through a picture.
  struct Scan {
    NamedPicture picture;
  };
  /// Covers what is found in a capture.
  struct Apply {
    std::string capture;
    CaptureRedactor::Wanted wanted;
  };
  /// Uncovers what was covered before the capture was filed.
  struct Remove {
    std::string capture;
  };
  /// Covers it again.
  struct Reapply {
    std::string capture;
  };
  std::variant<ScanText, Scan, Apply, Remove, Reapply> what;
};

}  // namespace command

/// The options of "redact".
class RedactOptions {
 public:
  explicit RedactOptions(CLI::App& app);

  [[nodiscard]] bool isChosen() const;

  /// What they ask for, typed in `folder`, or what is wrong with them. When it is chosen.
  [[nodiscard]] Result<command::Redact> command(const Path& folder) const;

 private:
  CLI::App* redact_;
  CLI::App* scan_;
  CLI::App* apply_;
  CLI::App* remove_;
  CLI::App* reapply_;
  std::string picture_;
  std::string text_;
  std::string capture_;
  std::vector<std::string> kinds_;
  std::string style_;
};

/// What was found in a picture, a line each: kind, the rectangle "x,y,w,h" in pixels, and what was
/// read there; or as JSON.
[[nodiscard]] CommandReply scanReply(const CaptureRedactor::Answer<CaptureRedactor::Scan>& scan,
                                     bool json);
[[nodiscard]] CommandReply appliedReply(
    const CaptureRedactor::Answer<CaptureRedactor::Applied>& applied, bool json);

/// What is sensitive in `text`, a line each: kind, the bytes from and up to which it goes, and the
/// text itself; or as JSON.
[[nodiscard]] CommandReply textScanReply(std::string_view text,
                                         const SensitiveTextDetector& detector, bool json);

}  // namespace vantorel
