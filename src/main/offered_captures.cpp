#include "main/offered_captures.hpp"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <string_view>

#include "base/log.hpp"
#include "base/utf8.hpp"
#include "cli/entry_text.hpp"
#include "library/index_storage.hpp"
#include "platform/linux/remote_files.hpp"
#include "platform/linux/user_folders.hpp"

namespace vantorel {
namespace {

/// As many as somebody may want to look through.
constexpr std::size_t mostOffered = 200;

/// In bytes; more of a title than a terminal shows.
constexpr std::size_t longestTitle = 120;

/// Somebody waits who pressed a key.
constexpr RemoteFiles::Bounds patience{.look = std::chrono::seconds(1),
                                       .change = std::chrono::seconds(1)};

/// Whether it means nothing to any shell, and is no option: an index may hold whatever somebody
/// wrote into it.
bool isPlain(std::string_view id) {
  return !id.empty() && id[0] != '-' && std::ranges::all_of(id, [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-';
  });
}

}  // namespace

std::string offeredCaptures(const std::optional<Path>& root) {
  // Nothing may stand between what is typed.
  (void)setLogSink([](LogLevel, std::string_view, std::string_view) {});
  RemoteFiles files(patience);
  const UserFolders folders = root ? UserFolders::below(*root) : UserFolders::ofThisUser(files);
  IndexStorage storage(files, {folders.data, folders.cache}, ::getuid());
  const IndexStorage::Loaded library = storage.loadToLook(IndexLoad::inUse);
  std::string lines;
  std::size_t count = 0;
  for (const EntryPointer& entry : library.caches.newestFirst()) {
    if (count == mostOffered) break;
    if (!isPlain(entry->id)) continue;
    const std::string name = nameInCell(*entry);
    lines += fmt::format("{}\t{}\n", entry->id, beginningOf(name, longestTitle));
    ++count;
  }
  return lines;
}

}  // namespace vantorel
