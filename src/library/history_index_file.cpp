#include "library/history_index_file.hpp"

#include <fmt/format.h>

#include <unordered_map>

#include "base/json_document.hpp"
#include "base/json_writer.hpp"
#include "base/random_id.hpp"

namespace vantorel {
namespace {

/// Two entries of one id cannot live in one library. The same file under the same id is the same
/// capture written twice; another file is another capture, and gets an id of its own.
bool separateDoubles(EntryList& entries) {
  std::unordered_map<std::string_view, const ScreenshotEntry*> seen;
  seen.reserve(entries.size());
  EntryList kept;
  kept.reserve(entries.size());
  bool changed = false;
  for (EntryPointer& entry : entries) {
    const auto [found, isNew] = seen.emplace(entry->id, entry.get());
    if (!isNew) {
      changed = true;
      if (found->second->path == entry->path) continue;
      ScreenshotEntry renamed = *entry;
      renamed.id = randomID();
      entry = std::make_shared<const ScreenshotEntry>(std::move(renamed));
      seen.emplace(entry->id, entry.get());
    }
    kept.push_back(entry);
  }
  if (changed) entries = std::move(kept);
  return changed;
}

}  // namespace

Result<DecodedIndex> decodeIndex(std::string text) {
  const json::Document document = VT_TRY(json::Document::parse(std::move(text)));
  if (document.root().kind() != json::Kind::object) {
    return failed(FailureKind::malformed, "it is not an object");
  }
  DecodedIndex decoded;
  json::Problem problem;
  json::RecordReader reader(document.root(), problem);
  const json::Cursor* const version = reader.raw("version");
  const auto number = version == nullptr ? std::nullopt : version->asInt();
  if (!number || *number < 1) return failed(FailureKind::malformed, "it has no version");
  decoded.version = static_cast<int>(std::min<std::int64_t>(*number, INT32_MAX));
  if (decoded.version > HistoryIndexFile::currentVersion) return decoded;

  HistoryIndexFile& file = decoded.file;
  const json::Cursor* const entries = reader.raw("entries");
  if (entries == nullptr || entries->kind() != json::Kind::array) {
    return failed(FailureKind::malformed, "it has no list of entries");
  }
  json::Cursor item;
  for (auto items = entries->items(); items.next(item);) {
    auto entry = std::make_shared<ScreenshotEntry>();
    json::Problem dropped;
    if (read(item, *entry, dropped)) {
      file.entries.push_back(std::move(entry));
    } else {
      file.unreadEntries.push_back(item.toValue());
    }
  }
  if (const json::Cursor* const collections = reader.raw("collections")) {
    for (auto items = collections->items(); items.next(item);) {
      HistoryCollection collection;
      json::Problem dropped;
      if (read(item, collection, dropped)) {
        file.collections.push_back(std::move(collection));
      } else {
        file.unreadCollections.push_back(item.toValue());
      }
    }
  }
  reader.rest(file.extra);
  decoded.changedByReading =
      separateDoubles(file.entries) || decoded.version != HistoryIndexFile::currentVersion;
  return decoded;
}

std::string encodeIndex(const HistoryIndexFile& file) {
  json::Writer writer;
  writer.beginObject();
  writer.key("version");
  writer.value(HistoryIndexFile::currentVersion);
  writer.key("entries");
  writer.beginArray();
  for (const EntryPointer& entry : file.entries) write(writer, *entry);
  for (const JSONValue& unread : file.unreadEntries) writer.value(unread);
  writer.endArray();
  writer.key("collections");
  writer.beginArray();
  for (const HistoryCollection& collection : file.collections) write(writer, collection);
  for (const JSONValue& unread : file.unreadCollections) writer.value(unread);
  writer.endArray();
  for (const auto& [key, value] : file.extra) {
    writer.key(key);
    writer.value(value);
  }
  writer.endObject();
  return writer.take();
}

}  // namespace vantorel
