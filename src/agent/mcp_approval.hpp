#pragma once

#include <functional>
#include <memory>
#include <stop_token>
#include <string>

#include "agent/mcp_failure.hpp"
#include "agent/mcp_session.hpp"
#include "base/result.hpp"

namespace vantorel {

/// What a tool does with what is the user's. Each is switched by a setting of its own.
enum class MCPPermission { read, capture, exporting };

/// What the user is asked to allow.
struct MCPApprovalRequest {
  MCPClientIdentity client;
  std::shared_ptr<MCPSession> session;  ///< null for a client that began none
  MCPPermission permission = MCPPermission::read;
  std::string wish;  ///< what the client wants to do: "take a picture of the main display"
  std::stop_token withdrawn{};  ///< stopped when nobody waits for the call any more
};

/// Asks the user for leave where the settings say so. Lives on the main runner.
class MCPApproval {
 public:
  virtual ~MCPApproval() = default;

  /// Answers once, on the main runner, also from within the call: with nothing when it is allowed,
  /// or with `denied`, `timedOut`, `cancelled` or `busy`.
  using Answered = std::move_only_function<void(Result<void, MCPFailure>)>;
  virtual void ask(MCPApprovalRequest request, Answered answered) = 0;
};

}  // namespace vantorel
