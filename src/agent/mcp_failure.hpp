#pragma once

#include <optional>
#include <string>

#include "base/json_value.hpp"
#include "base/json_writer.hpp"

namespace vantorel {

/// Why a call was not answered, as JSON-RPC and this server number it.
enum class MCPErrorCode {
  parseError = -32700,       ///< the body is not JSON
  invalidRequest = -32600,   ///< not a JSON-RPC 2.0 call, or a bad batch
  methodNotFound = -32601,   ///< method not implemented, unknown tool
  invalidParams = -32602,    ///< missing or mistyped arguments of a tool
  internalError = -32603,    ///< unexpected failure while running a call
  consentDisabled = -32001,  ///< the permission that the tool needs is off
  denied = -32002,           ///< the user declined the call
  timedOut = -32003,         ///< nobody answered the permission prompt
  cancelled = -32004,        ///< the prompt was withdrawn
  busy = -32005,             ///< another prompt was on screen, or the program was busy
  ambiguousTarget = -32007,  ///< a window name matched more than one window
  notFound = -32008,         ///< no capture, collection or window with that id or name
  refused = -32009,          ///< refused for another reason, which is stated
};

/// Nothing for a number that stands for no case.
[[nodiscard]] std::optional<MCPErrorCode> mcpErrorCode(int number);

/// The error object of a JSON-RPC response. `message` is a sentence for the calling assistant.
struct MCPFailure {
  MCPErrorCode code = MCPErrorCode::internalError;
  std::string message;
  std::optional<JSONValue> data = std::nullopt;

  bool operator==(const MCPFailure&) const = default;
};

void write(json::Writer& writer, const MCPFailure& failure);

}  // namespace vantorel
