#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace vantorel {

/// The request line and headers of one HTTP request.
struct RequestHead {
  static constexpr std::size_t maximumBytes = 8192;      ///< of request line and headers
  static constexpr std::size_t maximumBody = 1'048'576;  ///< bytes

  std::string method;
  std::string target;  ///< as it was sent
  std::string path;    ///< the target without its query

  /// Names in lower case. Of those that are repeated the values are joined by commas.
  std::map<std::string, std::string, std::less<>> headers;
  std::optional<std::size_t> contentLength;
  bool keepAlive = false;
  bool expectsContinue = false;

  /// Null when there is none of that name, which is in lower case.
  [[nodiscard]] const std::string* header(std::string_view name) const {
    const auto found = headers.find(name);
    return found == headers.end() ? nullptr : &found->second;
  }

  bool operator==(const RequestHead&) const = default;
};

/// What the first bytes of a request come to.
struct ParseOutcome {
  struct Head {
    RequestHead head;
    std::size_t bodyStart = 0;  ///< index of the first byte behind the blank line
  };
  struct Malformed {
    int status = 400;
    std::string reason;   ///< of the status, as "Bad Request"
    std::string message;  ///< a sentence for whoever wrote the client
  };
  struct NeedMoreData {};

  std::variant<NeedMoreData, Head, Malformed> outcome;
};

/// Reads the head of a request that begins with the first of `bytes`. Strict wherever two readers
/// of the same bytes could see different requests: lines end with CR LF, nothing is folded, no
/// name is followed by blanks, lengths are plain digits and there is one.
[[nodiscard]] ParseOutcome parseRequestHead(std::string_view bytes);

}  // namespace vantorel
