#include "agent/mcp_tool_result.hpp"

namespace vantorel {
namespace {

struct ContentWriter {
  json::Writer* writer;

  void operator()(const MCPContent::Text& text) const {
    writer->member("type", "text");
    writer->member("text", text.text);
  }
  void operator()(const MCPContent::Image& image) const {
    writer->member("type", "image");
    writer->member("data", image.base64);
    writer->member("mimeType", image.mimeType);
  }
};

}  // namespace

MCPToolResult dataResult(JSONValue data) {
  MCPToolResult result;
  result.content.push_back(MCPContent::text(json::toText(data)));
  result.structured = std::move(data);
  return result;
}

MCPToolResult pictureResult(std::string base64, std::string mimeType, const JSONValue& keys) {
  MCPToolResult result;
  result.content.push_back(MCPContent::image(std::move(base64), std::move(mimeType)));
  result.content.push_back(MCPContent::text(json::toText(keys)));
  return result;
}

MCPToolResult errorResult(std::string message) {
  MCPToolResult result;
  result.content.push_back(MCPContent::text(std::move(message)));
  result.isError = true;
  return result;
}

void write(json::Writer& writer, const MCPToolResult& result) {
  writer.beginObject();
  writer.key("content");
  writer.beginArray();
  for (const MCPContent& content : result.content) {
    writer.beginObject();
    std::visit(ContentWriter{&writer}, content.item);
    writer.endObject();
  }
  writer.endArray();
  if (result.structured) writer.member("structuredContent", *result.structured);
  writer.member("isError", result.isError);
  writer.endObject();
}

}  // namespace vantorel
