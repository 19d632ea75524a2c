#include "agent/mcp_message.hpp"

#include <fmt/format.h>

#include "base/json_document.hpp"
#include "base/json_writer.hpp"

namespace vantorel {
namespace {

constexpr const char* notACall = "The request is not a JSON-RPC 2.0 call.";

bool canBeID(const JSONValue& value) {
  return !std::holds_alternative<bool>(value.value) &&
         !std::holds_alternative<JSONValue::Array>(value.value) &&
         !std::holds_alternative<json::Object>(value.value);
}

bool canBeParams(const JSONValue& value) {
  return std::holds_alternative<JSONValue::Array>(value.value) ||
         std::holds_alternative<json::Object>(value.value);
}

MCPBody::Item decodeCall(json::Cursor cursor) {
  std::optional<JSONValue> id;
  const auto refused = [&id]() -> MCPBody::Item {
    return MCPResponse{.id = std::move(id),
                       .outcome = MCPFailure{MCPErrorCode::invalidRequest, notACall}};
  };
  MCPRequest request;
  bool isVersion2 = false;
  bool isWhole = cursor.kind() == json::Kind::object;
  auto members = cursor.members();
  std::string_view key;
  json::Cursor value;
  while (members.next(key, value)) {
    if (key == "jsonrpc") {
      isVersion2 = value.asString() == "2.0";
    } else if (key == "id") {
      JSONValue found = value.toValue();
      isWhole = isWhole && canBeID(found);
      if (canBeID(found)) id = std::move(found);
    } else if (key == "method") {
      const auto method = value.asString();
      isWhole = isWhole && method.has_value();
      request.method = method.value_or("");
    } else if (key == "params") {
      request.params = value.toValue();
      isWhole = isWhole && canBeParams(*request.params);
    }
  }
  if (!isWhole || !isVersion2 || request.method.empty()) return refused();
  request.id = std::move(id);
  return request;
}

struct OutcomeWriter {
  json::Writer* writer;

  void operator()(const JSONValue& result) const { writer->member("result", result); }
  void operator()(const MCPToolResult& result) const {
    writer->key("result");
    write(*writer, result);
  }
  void operator()(const MCPFailure& failure) const {
    writer->key("error");
    write(*writer, failure);
  }
};

}  // namespace

const JSONValue* parameter(const MCPRequest& request, std::string_view name) {
  if (!request.params) return nullptr;
  const auto* const object = std::get_if<json::Object>(&request.params->value);
  return object == nullptr ? nullptr : json::find(*object, name);
}

std::string encoded(const MCPResponse& response) {
  json::Writer writer;
  writer.beginObject();
  writer.member("jsonrpc", "2.0");
  writer.member("id", response.id.value_or(JSONValue{}));
  std::visit(OutcomeWriter{&writer}, response.outcome);
  writer.endObject();
  return writer.take();
}

Result<MCPBody, MCPFailure> decodeBody(std::string_view body) {
  const auto document = json::Document::parse(body);
  if (!document) {
    return std::unexpected(MCPFailure{MCPErrorCode::parseError, "The request body is not JSON."});
  }
  const json::Cursor root = document->root();
  MCPBody decoded{.isBatch = root.kind() == json::Kind::array, .items = {}};
  if (!decoded.isBatch) {
    decoded.items.push_back(decodeCall(root));
    return decoded;
  }
  auto items = root.items();
  if (items.count() == 0) {
    return std::unexpected(MCPFailure{MCPErrorCode::invalidRequest, notACall});
  }
  if (items.count() > maximumBatch) {
    return std::unexpected(
        MCPFailure{MCPErrorCode::invalidRequest,
                   fmt::format("This server answers at most {} calls in one batch. Split it and "
                               "send the parts.",
                               maximumBatch)});
  }
  json::Cursor item;
  while (items.next(item)) decoded.items.push_back(decodeCall(item));
  return decoded;
}

}  // namespace vantorel
