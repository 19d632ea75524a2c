#include "agent/mcp_failure.hpp"

namespace vantorel {

std::optional<MCPErrorCode> mcpErrorCode(int number) {
  const auto code = static_cast<MCPErrorCode>(number);
  switch (code) {
    case MCPErrorCode::parseError:
    case MCPErrorCode::invalidRequest:
    case MCPErrorCode::methodNotFound:
    case MCPErrorCode::invalidParams:
    case MCPErrorCode::internalError:
    case MCPErrorCode::consentDisabled:
    case MCPErrorCode::denied:
    case MCPErrorCode::timedOut:
    case MCPErrorCode::cancelled:
    case MCPErrorCode::busy:
    case MCPErrorCode::ambiguousTarget:
    case MCPErrorCode::notFound:
    case MCPErrorCode::refused: return code;
  }
  return std::nullopt;
}

void write(json::Writer& writer, const MCPFailure& failure) {
  writer.beginObject();
  writer.member("code", static_cast<int>(failure.code));
  writer.member("message", failure.message);
  if (failure.data) writer.member("data", *failure.data);
  writer.endObject();
}

}  // namespace vantorel
