#pragma once

#include <string>
#include <string_view>
#include <variant>

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
  std::variant<ScanText> what;
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
  std::string text_;
};

/// What is sensitive in `text`, a line each: kind, the bytes from and up to which it goes, and the
/// text itself; or as JSON.
[[nodiscard]] CommandReply textScanReply(std::string_view text,
                                         const SensitiveTextDetector& detector, bool json);

}  // namespace vantorel
