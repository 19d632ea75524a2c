#pragma once

#include "cli/command_reply.hpp"
#include "library/verify_report.hpp"

namespace vantorel {

/// A line for each finding, then how large the library is. It fails when something stays that does
/// not fit together. Any thread.
[[nodiscard]] CommandReply replyTo(const VerifyReport& report, bool json);

}  // namespace vantorel
