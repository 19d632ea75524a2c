#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "agent/mcp_failure.hpp"
#include "agent/mcp_tool_result.hpp"
#include "base/json_value.hpp"
#include "base/result.hpp"

namespace vantorel {

/// A JSON-RPC 2.0 call, or a notification when it has no `id`. `id` is a string, a number or null;
/// `params` an object or an array. `JSONValue` keeps integers and other numbers apart, so an id
/// comes back as it was sent.
struct MCPRequest {
  std::optional<JSONValue> id;
  std::string method;
  std::optional<JSONValue> params;

  bool operator==(const MCPRequest&) const = default;
};

/// The member of the call's `params` called `name`; null when there is none.
[[nodiscard]] const JSONValue* parameter(const MCPRequest& request, std::string_view name);

/// The answer to a call: its id, and a result or a failure. An absent id is written as null.
struct MCPResponse {
  std::optional<JSONValue> id;
  std::variant<JSONValue, MCPToolResult, MCPFailure> outcome;

  [[nodiscard]] bool isFailure() const { return std::holds_alternative<MCPFailure>(outcome); }
};

/// The JSON text of a response.
[[nodiscard]] std::string encoded(const MCPResponse& response);

/// What a body holds: calls in their order, or, in place of what is no call, its refusal.
struct MCPBody {
  using Item = std::variant<MCPRequest, MCPResponse>;

  bool isBatch = false;
  std::vector<Item> items;
};

/// Calls beyond this many in one batch are refused with the batch.
inline constexpr std::size_t maximumBatch = 32;

/// Reads a body. Fails with `parseError` when it is not JSON or nested deeper than
/// `json::Document::maximumDepth`, with `invalidRequest` when it is an empty or too large batch.
[[nodiscard]] Result<MCPBody, MCPFailure> decodeBody(std::string_view body);

}  // namespace vantorel
