#pragma once

#include "cli/command_reply.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Looks through a text for what should not be shared, in this process and for as long as it takes.
/// `file` is absolute, and may be a pipe; empty: standard input.
[[nodiscard]] CommandReply scanText(const Path& file, bool json);

}  // namespace vantorel
