#include "main/offered_captures.hpp"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

#include "base/log.hpp"
#include "cli/entry_text.hpp"
#include "library/index_storage.hpp"
#include "platform/linux/remote_files.hpp"
#include "platform/linux/user_folders.hpp"

namespace vantorel {
namespace {

/// As many as somebody may want to look through.
constexpr std::size_t mostOffered = 200;

/// Whether it means nothing to any shell: an index may hold whatever somebody wrote into it.
bool isPlain(std::string_view id) {
  return !id.empty() && std::ranges::all_of(id, [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-';
  });
}

}  // namespace

std::string offeredCaptures(const std::optional<Path>& root) {
  // Nothing may stand between what is typed.
  (void)setLogSink([](LogLevel, std::string_view, std::string_view) {});
  RemoteFiles files;
  const UserFolders folders = root ? UserFolders::below(*root) : UserFolders::ofThisUser(files);
  IndexStorage storage(files, {folders.data, folders.cache}, ::getuid());
  const IndexStorage::Loaded library = storage.loadToLook(IndexLoad::inUse);
  std::string lines;
  std::size_t count = 0;
  for (const EntryPointer& entry : library.caches.newestFirst()) {
    if (count == mostOffered) break;
    if (!isPlain(entry->id)) continue;
    lines += fmt::format("{}\t{}\n", entry->id, nameInCell(*entry));
    ++count;
  }
  return lines;
}

}  // namespace vantorel
