#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace vantorel {

/// The head of an answer that carries JSON, and a session's id when there is one to tell.
[[nodiscard]] std::string jsonReplyHead(std::size_t bodySize, bool keepAlive,
                                        const std::optional<std::string>& sessionID);

/// 202 for what gets no answer. Says that its body is empty: some clients wait for one otherwise.
[[nodiscard]] std::string acceptedReply(bool keepAlive,
                                        const std::optional<std::string>& sessionID);

/// A whole refusal: a sentence as plain text, after which the connection is closed. `headers` are
/// whole lines.
[[nodiscard]] std::string refusalReply(int status, std::string_view reason,
                                       std::string_view message, std::string_view headers = {});

}  // namespace vantorel
