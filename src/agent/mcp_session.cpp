#include "agent/mcp_session.hpp"

#include <algorithm>

#include "base/check.hpp"
#include "base/plain_name.hpp"
#include "base/random_id.hpp"
#include "base/utf8.hpp"

namespace vantorel {
namespace {

constexpr std::size_t maximumName = 64;  // bytes

std::string shownName(const JSONValue* value) {
  const auto* const text = value == nullptr ? nullptr : std::get_if<std::string>(&value->value);
  return text == nullptr ? std::string{} : std::string(beginningOf(plainName(*text), maximumName));
}

}  // namespace

MCPClientIdentity clientIdentity(const JSONValue* clientInfo) {
  MCPClientIdentity client;
  const auto* const object =
      clientInfo == nullptr ? nullptr : std::get_if<json::Object>(&clientInfo->value);
  if (object != nullptr) {
    client.name = shownName(json::find(*object, "name"));
    std::string version = shownName(json::find(*object, "version"));
    if (!version.empty()) client.version = std::move(version);
  }
  if (client.name.empty()) client.name = "An MCP client";
  return client;
}

std::string description(const MCPClientIdentity& client) {
  return client.version ? client.name + " " + *client.version : client.name;
}

std::shared_ptr<MCPSession> MCPSessions::mint(MCPClientIdentity client) {
  VT_CHECK(sequence_.isCurrent());
  if (kept_.size() >= maximum) forgetOldest();
  const auto session = std::make_shared<MCPSession>(randomID(), std::move(client));
  kept_.insert_or_assign(session->id(), Kept{.session = session, .lastUse = ++uses_});
  return session;
}

std::shared_ptr<MCPSession> MCPSessions::find(std::string_view id) {
  VT_CHECK(sequence_.isCurrent());
  const auto found = kept_.find(id);
  if (found == kept_.end()) return nullptr;
  found->second.lastUse = ++uses_;
  return found->second.session;
}

void MCPSessions::endAll() {
  VT_CHECK(sequence_.isCurrent());
  for (const auto& [id, kept] : kept_) kept.session->end();
  kept_.clear();
}

void MCPSessions::forgetOldest() {
  const auto oldest =
      std::ranges::min_element(kept_, {}, [](const auto& entry) { return entry.second.lastUse; });
  oldest->second.session->end();
  kept_.erase(oldest);
}

}  // namespace vantorel
