#include "base/path_text.hpp"

#include <algorithm>
#include <charconv>

#include "base/utf8.hpp"

namespace vantorel {
namespace {

constexpr std::string_view scheme = "file://";

/// Letters, digits, the four marks that mean nothing in a URI, and the slash between names.
bool isPlain(unsigned char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         std::string_view("-._~/").contains(static_cast<char>(c));
}

}  // namespace

std::string textOfPath(std::string_view path) {
  if (isUtf8(path) && !path.starts_with(scheme)) return std::string(path);
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string text(scheme);
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    if (isPlain(byte)) {
      text += c;
    } else {
      text += {'%', digits[byte >> 4U], digits[byte & 15U]};
    }
  }
  return text;
}

std::string pathOfText(std::string_view text) {
  if (!text.starts_with(scheme)) return std::string(text);
  std::string path;
  for (std::size_t i = scheme.size(); i < text.size(); ++i) {
    if (text[i] != '%') {
      path += text[i];
      continue;
    }
    const std::string_view digits = text.substr(i + 1, 2);
    unsigned char byte = 0;
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16);
    if (read.ec != std::errc() || digits.size() != 2 || read.ptr != digits.data() + 2 ||
        byte == 0) {
      return std::string(text);
    }
    path += static_cast<char>(byte);
    i += 2;
  }
  return path;
}

std::vector<std::string> pathsOfURIs(const std::vector<std::string>& uris) {
  constexpr std::string_view here = "file://localhost/";
  std::vector<std::string> paths;
  for (const std::string& uri : uris) {
    const bool namesHost = uri.starts_with(here);
    std::string path =
        pathOfText(namesHost ? std::string(scheme) + uri.substr(here.size() - 1) : uri);
    if (path.starts_with('/')) paths.push_back(std::move(path));
  }
  return paths;
}

std::vector<std::string> pathsOfURIList(std::string_view list) {
  std::vector<std::string> lines;
  while (!list.empty()) {
    const std::size_t end = std::min(list.find_first_of("\r\n"), list.size());
    if (end > 0 && list[0] != '#') lines.emplace_back(list.substr(0, end));
    list.remove_prefix(std::min(end + 1, list.size()));
  }
  return pathsOfURIs(lines);
}

namespace json {

void AsPath::operator()(std::string& path) const {
  if (path.starts_with(scheme)) path = pathOfText(path);
}

void AsPath::operator()(std::optional<std::string>& path) const {
  if (path) (*this)(*path);
}

void AsPath::operator()(std::vector<std::string>& paths) const {
  for (std::string& path : paths) (*this)(path);
}

std::vector<std::string> AsPath::written(const std::vector<std::string>& paths) const {
  std::vector<std::string> texts;
  texts.reserve(paths.size());
  for (const std::string& path : paths) texts.push_back(textOfPath(path));
  return texts;
}

}  // namespace json
}  // namespace vantorel
