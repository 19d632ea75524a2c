// Arbitrary bytes as the body of a request: it is refused or holds calls that read back the same,
// and every answer is JSON.
#include <cstdint>
#include <string>

#include "agent/mcp_arguments.hpp"
#include "agent/mcp_message.hpp"
#include "agent/mcp_session.hpp"
#include "base/check.hpp"
#include "base/json_document.hpp"
#include "base/json_writer.hpp"

namespace {

using namespace vantorel;

void checkCall(const MCPRequest& request) {
  json::Writer writer;
  writer.beginObject();
  writer.member("jsonrpc", "2.0");
  if (request.id) writer.member("id", *request.id);
  writer.member("method", request.method);
  if (request.params) writer.member("params", *request.params);
  writer.endObject();
  const auto again = decodeBody(writer.text());
  VT_CHECK(again && again->items.size() == 1);
  VT_CHECK(std::get<MCPRequest>(again->items[0]).method == request.method);
  VT_CHECK(std::get<MCPRequest>(again->items[0]).id.has_value() == request.id.has_value());

  const std::string name = description(clientIdentity(parameter(request, "clientInfo")));
  VT_CHECK(!name.empty() && name.size() < 140 && name.find('\n') == std::string::npos);
  const JSONValue* const fields = parameter(request, "arguments");
  if (fields == nullptr || !std::holds_alternative<json::Object>(fields->value)) return;
  const MCPArguments arguments{.tool = "tool", .fields = std::get<json::Object>(fields->value)};
  const bool isText = arguments.string("a").has_value();
  const bool isNumber = arguments.number("a").has_value();
  const bool isFlag = arguments.flag("a").has_value();
  VT_CHECK(int{isText} + int{isNumber} + int{isFlag} <= 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto decoded = decodeBody(std::string_view(reinterpret_cast<const char*>(data), size));
  if (!decoded) return 0;
  VT_CHECK(!decoded->items.empty() && decoded->items.size() <= maximumBatch);
  for (const auto& item : decoded->items) {
    if (const auto* request = std::get_if<MCPRequest>(&item)) {
      checkCall(*request);
      const MCPResponse echo{.id = request->id, .outcome = request->params.value_or(JSONValue{})};
      VT_CHECK(json::parseValue(encoded(echo)).has_value());
    } else {
      VT_CHECK(json::parseValue(encoded(std::get<MCPResponse>(item))).has_value());
    }
  }
  return 0;
}
