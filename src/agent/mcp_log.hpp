#pragma once

namespace vantorel {

/// What the agent server's log lines stand under.
inline constexpr const char* mcpLog = "mcp";

}  // namespace vantorel
