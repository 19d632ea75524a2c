#include "agent/mcp_dispatcher.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "agent/mcp_log.hpp"
#include "base/json_writer.hpp"
#include "base/log.hpp"

namespace vantorel {
namespace {

constexpr std::size_t megabyte = 1'000'000;
constexpr std::size_t capMegabytes = maximumAnswer / megabyte;

constexpr std::array<std::string_view, 3> protocolVersions{"2025-06-18", "2025-03-26",
                                                           "2024-11-05"};

constexpr const char* instructions =
    "Vantorel is the user's screenshot archive and capture tool on this Mac. When the user refers "
    "to \"the screenshot I just took\", or asks about something on their screen, reach for these "
    "tools rather than asking them to attach a file. Vantorel already holds the Screen Recording "
    "permission that a terminal usually does not, so prefer these tools over the screencapture "
    "command. When the question is about text, prefer capture_text and get_capture_text: they "
    "cost a small fraction of an image. capture_scrolling and capture_interactive need the user "
    "to act, so do not call them unattended.";

JSONValue textValue(std::string_view value) { return {std::string(value)}; }

MCPFailure tooLargeAlone(std::size_t bytes) {
  // Rounded up, so that it is never said to be no more than the most.
  const std::size_t tenths = (bytes * 10 + megabyte - 1) / megabyte;
  return {MCPErrorCode::refused,
          fmt::format("That answer came to {}.{} MB, and this server sends at most {} MB. Ask for "
                      "fewer captures, a smaller max_pixel, or get_capture_text, which reads the "
                      "whole of a long capture for a fraction of the tokens.",
                      tenths / 10, tenths % 10, capMegabytes)};
}

MCPFailure tooLargeForBatch(bool tookCapture) {
  return {MCPErrorCode::refused,
          fmt::format("This call ran, but its answer would have taken this batch past the {} MB "
                      "this server sends in one response. Its answer is not included and the "
                      "calls after it were not run.{}",
                      capMegabytes,
                      tookCapture ? " The capture it took is in the user's History: do not take "
                                    "it again."
                                  : "")};
}

MCPFailure notRun() {
  return {MCPErrorCode::refused,
          fmt::format("This call was not run: the answers before it in this batch reached the {} "
                      "MB this server sends in one response. Send it again on its own.",
                      capMegabytes)};
}

}  // namespace

/// What is answered of one request so far.
struct MCPDispatcher::Post {
  MCPReplied replied;
  std::stop_source withdrawal;
  std::shared_ptr<MCPSession> session;
  std::optional<std::string> mintedID;
  bool isBatch = false;
  std::vector<MCPBody::Item> items;
  std::size_t next = 0;
  std::string answers;
  bool isFull = false;     ///< no further call of the batch runs
  bool isRunning = false;  ///< `runNext` goes on by itself
  bool isWaiting = false;  ///< for a tool
};

MCPDispatcher::MCPDispatcher(MCPSessions& sessions, std::shared_ptr<MCPToolCatalog> catalog,
                             std::string version)
    : sessions_(&sessions), catalog_(std::move(catalog)), version_(std::move(version)) {}

void MCPDispatcher::handle(MCPExchange exchange, MCPReplied replied) {
  auto post = std::make_shared<Post>();
  if (exchange.sessionID) {
    post->session = sessions_->find(*exchange.sessionID);
    if (!post->session) return replied({MCPReply::UnknownSession{}});
  }
  auto body = decodeBody(exchange.body);
  if (!body) {
    return replied({MCPReply::Body{
        .bytes = encoded({.id = std::nullopt, .outcome = std::move(body.error())})}});
  }
  post->replied = std::move(replied);
  post->withdrawal = std::move(exchange.withdrawal);
  post->isBatch = body->isBatch;
  post->items = std::move(body->items);
  runNext(post);
}

void MCPDispatcher::runNext(const SharedPost& post) {
  if (post->isRunning) return;
  post->isRunning = true;
  while (post->next < post->items.size() && !post->isWaiting) {
    MCPBody::Item item = std::move(post->items[post->next++]);
    if (auto* request = std::get_if<MCPRequest>(&item)) {
      run(post, std::move(*request));
    } else {
      answer(post, std::get<MCPResponse>(item), false);
    }
  }
  post->isRunning = false;
  if (!post->isWaiting) finish(post);
}

void MCPDispatcher::run(const SharedPost& post, MCPRequest request) {
  if (post->isFull) {
    return answer(post, {.id = std::move(request.id), .outcome = notRun()}, false);
  }
  const std::string& method = request.method;
  if (method == "notifications/cancelled") cancel(*post, request);
  if (!request.id) return;  // a notification: nothing to answer, and nothing a tool would do
  if (method == "tools/call") return callTool(post, std::move(request));
  MCPResponse response{.id = std::move(request.id), .outcome = JSONValue{json::Object{}}};
  if (method == "initialize") {
    response.outcome = initialize(*post, request);
  } else if (method == "tools/list") {
    response.outcome = JSONValue{json::Object{{"tools", catalog_->tools()}}};
  } else if (method != "ping" && method != "notifications/initialized") {
    response.outcome = MCPFailure{MCPErrorCode::methodNotFound,
                                  "Vantorel's MCP server does not implement " + method};
  }
  answer(post, response, false);
}

void MCPDispatcher::callTool(const SharedPost& post, MCPRequest request) {
  const auto refuse = [&](MCPErrorCode code, std::string message) {
    answer(post, {.id = std::move(request.id), .outcome = MCPFailure{code, std::move(message)}},
           false);
  };
  const JSONValue* const nameValue = parameter(request, "name");
  if (nameValue == nullptr) {
    return refuse(MCPErrorCode::invalidParams, "tools/call: name is required.");
  }
  const auto* const name = std::get_if<std::string>(&nameValue->value);
  if (name == nullptr) {
    return refuse(MCPErrorCode::invalidParams, "tools/call: name must be a string.");
  }
  const auto tool = catalog_->find(*name);
  if (!tool) return refuse(MCPErrorCode::methodNotFound, "Vantorel has no tool named " + *name);

  MCPToolCall call{.arguments = {.tool = *name, .fields = {}},
                   .client = post->session ? post->session->client() : clientIdentity(nullptr),
                   .session = post->session,
                   .withdrawn = {}};
  const JSONValue* const fields = parameter(request, "arguments");
  if (fields != nullptr && !std::holds_alternative<std::nullptr_t>(fields->value)) {
    const auto* const object = std::get_if<json::Object>(&fields->value);
    if (object == nullptr) {
      return refuse(MCPErrorCode::invalidParams, "tools/call: arguments must be an object.");
    }
    call.arguments.fields = *object;
  }
  // Its own, so that a cancel of one call of a batch leaves the others; the client's going stops
  // all of them.
  std::stop_source own;
  call.withdrawn = own.get_token();
  auto linked = std::make_unique<std::stop_callback<std::function<void()>>>(
      post->withdrawal.get_token(), [own] { std::stop_source(own).request_stop(); });
  const auto registered = running_.emplace(
      CallKey{post->session ? post->session->id() : "", json::toText(*request.id)}, own);
  post->isWaiting = true;
  catalog_->call(
      std::move(call),
      lifetime_.guard([this, post, registered, linked = std::move(linked), id = request.id,
                       tookCapture = tool->takesCaptures](Outcome outcome) mutable {
        linked.reset();
        running_.erase(registered);
        MCPResponse response{.id = std::move(id), .outcome = JSONValue{}};
        if (outcome) {
          tookCapture = tookCapture && !outcome->isError;
          response.outcome = std::move(*outcome);
        } else {
          tookCapture = false;
          response.outcome = std::move(outcome.error());
        }
        post->isWaiting = false;
        answer(post, response, tookCapture);
        runNext(post);
      }));
}

void MCPDispatcher::answer(const SharedPost& post, const MCPResponse& response, bool tookCapture) {
  std::string bytes = encoded(response);
  if (!post->isBatch) {
    if (bytes.size() > maximumAnswer) {
      logWarning(mcpLog, "MCP response refused: {} bytes", bytes.size());
      bytes = encoded({.id = response.id, .outcome = tooLargeAlone(bytes.size())});
    }
    post->answers = std::move(bytes);
    return;
  }
  // What refuses the rest is small, and bounded by the size of a batch.
  if (!post->isFull && post->answers.size() + bytes.size() + 2 > maximumAnswer) {
    logWarning(mcpLog, "MCP response refused: {} bytes", bytes.size());
    post->isFull = true;
    bytes = encoded({.id = response.id, .outcome = tooLargeForBatch(tookCapture)});
  }
  post->answers += post->answers.empty() ? "[" : ",";
  post->answers += bytes;
}

void MCPDispatcher::finish(const SharedPost& post) {
  MCPReply::Body body{.bytes = std::nullopt, .sessionID = std::move(post->mintedID)};
  if (!post->answers.empty()) {
    if (post->isBatch) post->answers += ']';
    body.bytes = std::move(post->answers);
  }
  post->replied({std::move(body)});
}

JSONValue MCPDispatcher::initialize(Post& post, const MCPRequest& request) {
  post.session = sessions_->mint(clientIdentity(parameter(request, "clientInfo")));
  post.mintedID = post.session->id();
  std::string_view version = protocolVersions.front();
  if (const JSONValue* asked = parameter(request, "protocolVersion")) {
    const auto* const name = std::get_if<std::string>(&asked->value);
    const auto* const known =
        name == nullptr ? protocolVersions.end() : std::ranges::find(protocolVersions, *name);
    if (known != protocolVersions.end()) version = *known;
  }
  return {json::Object{{"protocolVersion", textValue(version)},
                       {"capabilities", {json::Object{{"tools", {json::Object{}}}}}},
                       {"serverInfo",
                        {json::Object{{"name", textValue("vantorel")},
                                      {"title", textValue("Vantorel")},
                                      {"version", textValue(version_)}}}},
                       {"instructions", textValue(instructions)}}};
}

void MCPDispatcher::cancel(const Post& post, const MCPRequest& request) {
  const JSONValue* const id = parameter(request, "requestId");
  if (id == nullptr) return;
  const CallKey key{post.session ? post.session->id() : "", json::toText(*id)};
  // Asked to stop, a tool may answer at once and take its call from the list.
  std::vector<std::stop_source> stopped;
  const auto [first, last] = running_.equal_range(key);
  for (auto call = first; call != last; ++call) stopped.push_back(call->second);
  for (std::stop_source& source : stopped) source.request_stop();
}

}  // namespace vantorel
