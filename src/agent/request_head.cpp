#include "agent/request_head.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>

namespace vantorel {
namespace {

using Malformed = ParseOutcome::Malformed;

constexpr std::string_view endOfLine = "\r\n";
constexpr std::string_view blankLine = "\r\n\r\n";

bool isHeaderName(std::string_view text) {
  const std::string_view marks = "!#$%&'*+-.^_`|~";
  return !text.empty() && std::ranges::all_of(text, [marks](char letter) {
    return (letter >= '0' && letter <= '9') || (letter >= 'a' && letter <= 'z') ||
           (letter >= 'A' && letter <= 'Z') || marks.contains(letter);
  });
}

char inLowerCase(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

std::string inLowerCase(std::string_view text) {
  std::string result(text);
  std::ranges::transform(result, result.begin(), [](char letter) { return inLowerCase(letter); });
  return result;
}

std::string_view withoutBlanks(std::string_view text) {
  constexpr std::string_view blanks = " \t";
  const std::size_t first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// Whether a list of words parted by commas has `word`, which is in lower case.
bool lists(std::string_view list, std::string_view word) {
  while (true) {
    const std::size_t comma = list.find(',');
    if (inLowerCase(withoutBlanks(list.substr(0, comma))) == word) return true;
    if (comma == std::string_view::npos) return false;
    list.remove_prefix(comma + 1);
  }
}

Malformed badRequest(std::string message) {
  return {.status = 400, .reason = "Bad Request", .message = std::move(message)};
}

Malformed badHeader() { return badRequest("Malformed header line."); }

/// Whether a CR or LF stands alone, or there is a NUL; a CR at the very end may still get its LF.
bool hasStrayControl(std::string_view bytes) {
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    if (bytes[at] == '\0' || bytes[at] == '\n') return true;
    if (bytes[at] != '\r') continue;
    if (at + 1 < bytes.size() && bytes[at + 1] != '\n') return true;
    ++at;
  }
  return false;
}

class HeadReader {
 public:
  /// `lines` ends behind the CR LF of the last header.
  std::variant<RequestHead, Malformed> read(std::string_view lines) {
    const std::size_t end = lines.find(endOfLine);
    if (!readRequestLine(lines.substr(0, end))) return badRequest("Malformed request line.");
    lines.remove_prefix(end + endOfLine.size());
    while (!lines.empty()) {
      const std::size_t size = lines.find(endOfLine);
      if (!readHeader(lines.substr(0, size))) return badHeader();
      lines.remove_prefix(size + endOfLine.size());
    }
    if (auto fault = readMeaning()) return std::move(*fault);
    return std::move(head_);
  }

 private:
  bool readRequestLine(std::string_view line) {
    const std::size_t first = line.find(' ');
    const std::size_t last = line.rfind(' ');
    if (first == std::string_view::npos || first == last) return false;
    const std::string_view method = line.substr(0, first);
    const std::string_view target = line.substr(first + 1, last - first - 1);
    const std::string_view version = line.substr(last + 1);
    if (!isHeaderName(method) || target.empty()) return false;
    if (!std::ranges::all_of(target, [](char c) { return c > ' ' && c < '\x7F'; })) return false;
    if (version != "HTTP/1.1" && version != "HTTP/1.0") return false;
    isVersion11_ = version == "HTTP/1.1";
    head_.method = method;
    head_.target = target;
    head_.path = target.substr(0, target.find('?'));
    return true;
  }

  bool readHeader(std::string_view line) {
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos || !isHeaderName(line.substr(0, colon))) return false;
    const std::string_view value = withoutBlanks(line.substr(colon + 1));
    const bool isText = std::ranges::all_of(value, [](char letter) {
      const auto byte = static_cast<unsigned char>(letter);
      return byte == '\t' || (byte >= ' ' && byte != 0x7F);
    });
    if (!isText) return false;
    std::string name = inLowerCase(line.substr(0, colon));
    const auto [place, isNew] = head_.headers.try_emplace(std::move(name), value);
    if (isNew) return true;
    constexpr std::array<std::string_view, 5> single{"content-length", "host", "authorization",
                                                     "mcp-session-id", "transfer-encoding"};
    if (std::ranges::find(single, place->first) != single.end()) return false;
    place->second.append(", ").append(value);
    return true;
  }

  std::optional<Malformed> readMeaning() {
    const std::string* const length = head_.header("content-length");
    if (head_.header("transfer-encoding") != nullptr) {
      if (length != nullptr) {
        return badRequest(
            "A request may not carry both Content-Length and Transfer-Encoding. Send a "
            "Content-Length alone.");
      }
      return Malformed{
          .status = 411,
          .reason = "Length Required",
          .message = "This server does not accept chunked requests. Send a Content-Length."};
    }
    if (length != nullptr) {
      std::size_t bytes = 0;
      const char* const end = length->data() + length->size();
      const bool isDigits = !length->empty() && std::ranges::all_of(*length, [](char letter) {
        return letter >= '0' && letter <= '9';
      });
      if (!isDigits) return badHeader();
      const auto read = std::from_chars(length->data(), end, bytes);
      if (read.ec != std::errc{} || bytes > RequestHead::maximumBody) {
        return Malformed{.status = 413,
                         .reason = "Content Too Large",
                         .message = fmt::format(
                             "Request body is too large. This server accepts at most {} bytes.",
                             RequestHead::maximumBody)};
      }
      head_.contentLength = bytes;
    } else if (head_.method == "POST") {
      return Malformed{.status = 411,
                       .reason = "Length Required",
                       .message = "A POST to this server must carry a Content-Length."};
    }
    const std::string* const connection = head_.header("connection");
    const auto asks = [&](std::string_view word) {
      return connection != nullptr && lists(*connection, word);
    };
    head_.keepAlive = !asks("close") && (isVersion11_ || asks("keep-alive"));
    const std::string* const expectation = head_.header("expect");
    head_.expectsContinue =
        isVersion11_ && expectation != nullptr && lists(*expectation, "100-continue");
    return std::nullopt;
  }

  RequestHead head_;
  bool isVersion11_ = true;
};

}  // namespace

ParseOutcome parseRequestHead(std::string_view bytes) {
  constexpr std::size_t most = RequestHead::maximumBytes + endOfLine.size();
  const std::string_view seen = bytes.substr(0, most);
  const std::size_t end = seen.find(blankLine);
  const std::string_view lines =
      end == std::string_view::npos ? seen : seen.substr(0, end + endOfLine.size());
  if (hasStrayControl(lines)) {
    return {lines.find(endOfLine) == std::string_view::npos ? badRequest("Malformed request line.")
                                                            : badHeader()};
  }
  if (end == std::string_view::npos) {
    if (seen.size() < most) return {ParseOutcome::NeedMoreData{}};
    return {Malformed{
        .status = 431,
        .reason = "Request Header Fields Too Large",
        .message = fmt::format("Headers are too large. This server accepts at most {} bytes of "
                               "request line and headers.",
                               RequestHead::maximumBytes)}};
  }
  auto read = HeadReader().read(lines);
  if (auto* fault = std::get_if<Malformed>(&read)) return {std::move(*fault)};
  return {ParseOutcome::Head{.head = std::move(std::get<RequestHead>(read)),
                             .bodyStart = end + blankLine.size()}};
}

}  // namespace vantorel
