#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "base/json_value.hpp"
#include "base/json_writer.hpp"

namespace vantorel {

/// One item of what a tool answers.
struct MCPContent {
  struct Text {
    std::string text;
    bool operator==(const Text&) const = default;
  };
  struct Image {
    std::string base64;
    std::string mimeType;
    bool operator==(const Image&) const = default;
  };

  std::variant<Text, Image> item;

  [[nodiscard]] static MCPContent text(std::string text) {
    return {.item = Text{.text = std::move(text)}};
  }
  [[nodiscard]] static MCPContent image(std::string base64, std::string mimeType) {
    return {.item = Image{.base64 = std::move(base64), .mimeType = std::move(mimeType)}};
  }

  bool operator==(const MCPContent&) const = default;
};

/// What a tool answers, also where it failed in a way that the assistant should read (`isError`).
struct MCPToolResult {
  std::vector<MCPContent> content;
  std::optional<JSONValue> structured = std::nullopt;  ///< sent as "structuredContent"
  bool isError = false;

  bool operator==(const MCPToolResult&) const = default;
};

/// `data` as clients expect data: structured, and the same JSON as text.
[[nodiscard]] MCPToolResult dataResult(JSONValue data);

/// A picture and what is to be said of it, as JSON in a text. Without "structuredContent": several
/// clients drop the picture when it is there.
[[nodiscard]] MCPToolResult pictureResult(std::string base64, std::string mimeType,
                                          const JSONValue& keys);

/// A failure that the assistant should read.
[[nodiscard]] MCPToolResult errorResult(std::string message);

void write(json::Writer& writer, const MCPToolResult& result);

}  // namespace vantorel
