#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantorel {

// Paths are bytes, and the text of records is UTF-8. A path that is no UTF-8 stands in a record as
// the URI of its file ("file:///home/me/Bild%E4.png"), every other as it is: "file:" begins no
// absolute path. A relative one that begins with "file://" stands as a URI as well, so that any
// bytes without a zero come back as they were.

/// How a record has `path`. Always UTF-8.
[[nodiscard]] std::string textOfPath(std::string_view path);

/// The path that a record has as `text`. What is no sound URI is the path itself.
[[nodiscard]] std::string pathOfText(std::string_view text);

/// The files of this machine among `uris`: "file:///home/me/a%20b.png".
[[nodiscard]] std::vector<std::string> pathsOfURIs(const std::vector<std::string>& uris);

/// The same of a "text/uri-list": one a line, with remarks behind "#".
[[nodiscard]] std::vector<std::string> pathsOfURIList(std::string_view list);

namespace json {

/// The rule for members of a record that hold paths: `v.required("path", entry.path,
/// json::asPath)`.
struct AsPath {
  void operator()(std::string& path) const;
  void operator()(std::optional<std::string>& path) const;
  void operator()(std::vector<std::string>& paths) const;

  [[nodiscard]] std::string written(const std::string& path) const { return textOfPath(path); }
  [[nodiscard]] std::vector<std::string> written(const std::vector<std::string>& paths) const;
};
constexpr AsPath asPath;

}  // namespace json
}  // namespace vantorel
