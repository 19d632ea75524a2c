#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "agent/request_head.hpp"

namespace vantorel {

/// Who is let in: those who name this server, hold its token and are no browser. Looked at in this
/// order, because clients ask without a token whether there is something at other paths and want
/// to hear plainly that there is not: path, method, Origin, Host, token.
struct MCPAuth {
  struct NotFound {};
  struct MethodNotAllowed {};
  struct OriginPresent {
    std::string origin;
  };
  struct BadHost {
    std::optional<std::string> host;
  };
  struct MissingToken {};
  struct BadToken {};

  using Rejection =
      std::variant<NotFound, MethodNotAllowed, OriginPresent, BadHost, MissingToken, BadToken>;

  std::uint16_t port = 0;
  std::string token;

  [[nodiscard]] std::optional<Rejection> check(const RequestHead& head) const;
};

[[nodiscard]] int statusOf(const MCPAuth::Rejection& rejection);

/// The whole reply.
[[nodiscard]] std::string replyTo(const MCPAuth::Rejection& rejection);

/// Takes as long whatever differs between texts of the same length.
[[nodiscard]] bool equalInConstantTime(std::string_view left, std::string_view right);

}  // namespace vantorel
