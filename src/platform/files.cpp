#include "platform/files.hpp"

#include <fmt/format.h>

#include "base/log.hpp"
#include "base/utf8.hpp"

namespace vantorel {

Path temporaryBeside(const Path& path, std::string_view suffix) {
  std::string name = path.filename().string();
  if (name.size() + suffix.size() > longestFileName) {
    // The same in each run: what one left behind, the next one finds.
    std::uint64_t digest = 0xcbf29ce484222325;  // FNV-1a
    for (const char c : name) digest = (digest ^ static_cast<unsigned char>(c)) * 0x100000001b3;
    const std::string ending = fmt::format("-{:016x}", digest);
    name = std::string(beginningOf(name, longestFileName - suffix.size() - ending.size())) + ending;
  }
  return path.parent_path() / name.append(suffix);
}

void settleFolder(Files& files, const Path& folder) {
  const auto flushed = files.flushFolder(folder);
  // One that has gone has nothing to be flushed.
  if (!flushed && flushed.error().kind != FailureKind::notFound) {
    logWarning("Files", "{} could not be flushed: {}", folder.string(), flushed.error().reason);
  }
}

}  // namespace vantorel
