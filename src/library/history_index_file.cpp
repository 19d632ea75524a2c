#include "library/history_index_file.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "base/json_document.hpp"
#include "base/json_writer.hpp"
#include "base/path_text.hpp"

namespace vantorel {
namespace {

/// Entries are decoded in batches of this many bytes: small enough to stay in a processor's cache.
constexpr std::size_t batchBytes = 256 << 10;

/// The walk waits while this many batches wait, so that the text does not pile up.
constexpr std::size_t maximumWaiting = 16;

/// Neighbouring items of the list, and what they came to.
struct Batch {
  std::string text;                   // the items behind one another
  std::vector<std::size_t> ends;      // of the items in `text`
  std::vector<std::uint64_t> places;  // of the items in the index
  EntryList entries;
  std::vector<TextRun> entryRuns;
  std::vector<JSONValue> unread;
  std::optional<Failure> failure;
};

void decodeItem(json::Cursor item, TextRun run, Batch& batch) {
  auto entry = std::make_shared<ScreenshotEntry>();
  json::Problem dropped;
  if (read(item, *entry, dropped)) {
    batch.entries.push_back(std::move(entry));
    batch.entryRuns.push_back(run);
  } else {
    batch.unread.push_back(item.toValue());
  }
}

void decodeBatch(json::DocumentParser& parser, Batch& batch) {
  batch.entries.reserve(batch.ends.size());
  batch.entryRuns.reserve(batch.ends.size());
  std::size_t from = 0;
  for (std::size_t i = 0; i < batch.ends.size(); ++i) {
    const std::size_t length = batch.ends[i] - from;
    const auto item = parser.parse(std::string_view(batch.text).substr(from, length));
    if (!item) {
      batch.failure = item.error();
      break;
    }
    decodeItem(*item, {batch.places[i], length}, batch);
    from = batch.ends[i];
  }
  batch.ends = {};
  batch.places = {};
}

/// Decodes batches on other threads while the text is still being walked over. The walking thread
/// helps when too many wait, and at the end.
class BatchDecoder {
 public:
  BatchDecoder() { filling_.text.reserve(batchBytes + (batchBytes / 4)); }

  void add(TextRun run, std::string_view text) {
    filling_.text += text;
    filling_.ends.push_back(filling_.text.size());
    filling_.places.push_back(run.offset);
    if (filling_.text.size() >= batchBytes) hand();
  }

  /// All batches, decoded, in order. Must be called.
  std::deque<Batch>& finish() {
    if (!filling_.ends.empty()) hand();
    {
      const std::lock_guard lock(mutex_);
      isComplete_ = true;
    }
    changed_.notify_all();
    work();
    threads_.clear();
    return batches_;
  }

 private:
  void hand() {
    std::unique_lock lock(mutex_);
    batches_.push_back(std::exchange(filling_, {}));
    if (!spareTexts_.empty()) {
      filling_.text = std::move(spareTexts_.back());
      spareTexts_.pop_back();
    }
    // A small index is not worth a thread.
    const unsigned others = std::clamp(std::thread::hardware_concurrency(), 1U, 8U) - 1;
    if (batches_.size() > 1 && threads_.size() < others) {
      threads_.emplace_back([this] { work(); });
    }
    while (batches_.size() - next_ > maximumWaiting) decodeNext(parser_, lock);
    lock.unlock();
    changed_.notify_one();
  }

  void work() {
    json::DocumentParser parser;
    std::unique_lock lock(mutex_);
    while (true) {
      changed_.wait(lock, [this] { return isComplete_ || next_ < batches_.size(); });
      if (next_ >= batches_.size()) return;
      decodeNext(parser, lock);
    }
  }

  void decodeNext(json::DocumentParser& parser, std::unique_lock<std::mutex>& lock) {
    Batch& batch = batches_[next_++];  // a deque's elements stay where they are
    lock.unlock();
    decodeBatch(parser, batch);
    batch.text.clear();
    lock.lock();
    // Large buffers that come and go would leave holes between the entries.
    spareTexts_.push_back(std::move(batch.text));
  }

  Batch filling_;
  json::DocumentParser parser_;  // the walking thread's
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Batch> batches_;
  std::vector<std::string> spareTexts_;
  std::size_t next_ = 0;
  bool isComplete_ = false;
  std::vector<std::jthread> threads_;
};

void decodeCollections(json::Cursor list, HistoryIndexFile& file) {
  json::Cursor item;
  for (auto items = list.items(); items.next(item);) {
    HistoryCollection collection;
    json::Problem dropped;
    if (read(item, collection, dropped)) {
      file.collections.push_back(std::move(collection));
    } else {
      file.unreadCollections.push_back(item.toValue());
    }
  }
}

/// Everything but the entries, which are in `frame` only when `batches` is null.
Result<DecodedIndex> decodeFrame(std::string_view frame, std::deque<Batch>* batches) {
  const json::Document document = VT_TRY(json::Document::parse(frame));
  if (document.root().kind() != json::Kind::object) {
    return failed(FailureKind::malformed, "it is not an object");
  }
  DecodedIndex decoded;
  HistoryIndexFile& file = decoded.file;
  json::Problem problem;
  json::RecordReader reader(document.root(), problem);
  const auto version = reader.raw("version");
  const auto number = !version ? std::nullopt : version->asInt();
  if (!number || *number < 1) return failed(FailureKind::malformed, "it has no version");
  file.version = static_cast<int>(std::min<std::int64_t>(*number, INT32_MAX));
  if (file.version > HistoryIndexFile::currentVersion) return decoded;

  const auto entries = reader.raw("entries");
  if (!entries || entries->kind() != json::Kind::array) {
    return failed(FailureKind::malformed, "it has no list of entries");
  }
  std::deque<Batch> own;
  if (batches == nullptr) {
    json::Cursor item;
    own.emplace_back();
    for (auto items = entries->items(); items.next(item);) decodeItem(item, {}, own.front());
    batches = &own;
  }
  std::size_t count = 0;
  for (const Batch& batch : *batches) {
    if (batch.failure) return std::unexpected(*batch.failure);
    count += batch.entries.size();
  }
  file.entries.reserve(count);
  decoded.runs.reserve(count);
  for (Batch& batch : *batches) {
    std::ranges::move(batch.entries, std::back_inserter(file.entries));
    std::ranges::move(batch.entryRuns, std::back_inserter(decoded.runs));
    std::ranges::move(batch.unread, std::back_inserter(file.unreadEntries));
  }
  if (const auto collections = reader.raw("collections")) {
    decodeCollections(*collections, file);
  }
  reader.rest(file.extra);
  return decoded;
}

void collectPaths(const JSONValue& value, std::vector<std::string>& paths) {
  if (const auto* const text = std::get_if<std::string>(&value.value)) {
    if (std::string path = pathOfText(*text); path.starts_with('/'))
      paths.push_back(std::move(path));
  } else if (const auto* const items = std::get_if<JSONValue::Array>(&value.value)) {
    for (const JSONValue& item : *items) collectPaths(item, paths);
  } else if (const auto* const members = std::get_if<json::Object>(&value.value)) {
    for (const JSONMember& member : *members) collectPaths(member.value, paths);
  }
}

}  // namespace

std::vector<std::string> pathsIn(const JSONValue& value) {
  std::vector<std::string> paths;
  collectPaths(value, paths);
  return paths;
}

Result<DecodedIndex> decodeIndex(const TextSource& source) {
  BatchDecoder decoder;
  auto frame =
      outlineIndex(source, [&](TextRun run, std::string_view text) { decoder.add(run, text); });
  std::deque<Batch>& batches = decoder.finish();
  if (!frame) return std::unexpected(frame.error());
  if (*frame) return decodeFrame(**frame, &batches);
  return decodeFrame(VT_TRY(source.read(0, source.size)), nullptr);
}

Result<DecodedIndex> decodeIndex(std::string_view text) {
  return decodeIndex(TextSource{text.size(), [text](std::uint64_t offset, std::uint64_t length) {
                                  return Result<std::string>(text.substr(offset, length));
                                }});
}

std::string encodeIndexHead() {
  return fmt::format(R"({{"version":{},"entries":[)", HistoryIndexFile::currentVersion);
}

std::string encodeIndexTail(const HistoryIndexFile& file) {
  json::Writer writer;
  writer.beginObject();
  writer.key("collections");
  writer.beginArray();
  for (const HistoryCollection& collection : file.collections) write(writer, collection);
  for (const JSONValue& unread : file.unreadCollections) writer.value(unread);
  writer.endArray();
  for (const auto& [key, value] : file.extra) {
    writer.member(key, value);
  }
  writer.endObject();
  std::string tail = writer.take();
  tail[0] = ',';  // the bracket of an object that began with the head
  return "]" + tail;
}

}  // namespace vantorel
