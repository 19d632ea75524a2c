#include "app/text_indexing.hpp"

#include <algorithm>
#include <chrono>
#include <utility>

#include "base/log.hpp"
#include "base/round_trip.hpp"

namespace vantorel {
namespace {

/// The index is written as a whole, so that what is read in the background is stored in batches.
constexpr std::size_t batch = 25;
constexpr std::chrono::seconds longestUnstored{30};

/// The recogniser takes some 60 MB that a program at rest should not have.
constexpr std::chrono::seconds idleBeforeRelease{20};

/// In bytes; a tall capture has a tenth of it.
constexpr std::uint64_t largestPicture = std::uint64_t{1} << 30;

bool isReadable(const ScreenshotEntry& entry) { return entry.medium == CaptureMedium::image; }

/// Whether what `after` names holds another picture than what `before` did.
bool isOverwritten(const ScreenshotEntry& before, const ScreenshotEntry& after) {
  if (before.path != after.path || !before.fileIdentity || !after.fileIdentity) return false;
  return before.fileIdentity->size != after.fileIdentity->size ||
         before.fileIdentity->modified != after.fileIdentity->modified;
}

bool isSamePicture(const ScreenshotEntry& a, const ScreenshotEntry& b) {
  return a.path == b.path && a.fileIdentity == b.fileIdentity;
}

void putText(const PictureText& text, ScreenshotEntry& entry) {
  entry.ocrText = text.text;
  entry.ocrBlocks = text.blocks;
  entry.ocrVersion = currentOcrVersion;
  entry.ocrTruncated = text.isTruncated;
  entry.codes =
      text.codes.empty() ? BoxedOptional<std::vector<DetectedCode>>() : BoxedOptional(text.codes);
  entry.textShape = text.shape;
}

RecognitionFailure unreadable(std::string reason) {
  return {RecognitionFailure::Case::failed, std::move(reason)};
}

}  // namespace

bool TextIndexing::isCurrent(const ScreenshotEntry& entry) {
  return entry.ocrVersion >= currentOcrVersion;
}

TextIndexing::TextIndexing(Services services) : services_(std::move(services)) {}

TextIndexing::~TextIndexing() {
  if (reading_) reading_->stop.request_stop();
}

void TextIndexing::start() {
  if (std::exchange(hasStarted_, true)) return;
  HistoryStore& store = services_.library.store();
  libraryObservation_ = store.observe([this](const HistoryChange& change) { follow(change); });
  settingsObservation_ =
      services_.settings.observe(&SettingsValues::indexScreenshotText, [this] { fill(); });
  services_.library.whenReady(lifetime_.guard([this] { fill(); }));
}

void TextIndexing::stop() {
  hasStopped_ = true;
  interrupt();
  store();
}

void TextIndexing::read(const std::string& id, Read read) {
  const EntryPointer entry = services_.library.store().find(id);
  if (!entry || !isReadable(*entry)) {
    return read(std::unexpected(unreadable("there is no picture with that id")));
  }
  if (isCurrent(*entry)) return read(entry);
  const bool isRead =
      std::ranges::any_of(read_, [&](const auto& one) { return one.first->id == id; });
  wanted_.emplace(id, std::move(read));
  if (isRead) return store();
  givenUp_.erase(id);
  if (reading_ && reading_->entry->id == id) {
    reading_->isUrgent = true;
    return;
  }
  std::erase(waiting_, id);
  waiting_.push_front(id);
  if (reading_ && !reading_->isUrgent) interrupt();
  next();
}

TextIndexing::Pause::Pause(TextIndexing& indexing)
    : indexing_(&indexing), isThere_(indexing.isThere_) {
  ++indexing.pauses_;
  indexing.interrupt();
}

TextIndexing::Pause::~Pause() {
  if (isThere_.expired()) return;
  --indexing_->pauses_;
  indexing_->next();
}

/// What is being read is read again later.
void TextIndexing::interrupt() {
  if (reading_) reading_->stop.request_stop();
}

void TextIndexing::follow(const HistoryChange& change) {
  if (change.loaded) return fill();
  if (!services_.settings.values().indexScreenshotText) return;
  std::vector<HistoryStore::Revision> outdated;
  for (const HistoryChange::Update& update : change.updated) {
    const EntryPointer& entry = update.after;
    if (!isReadable(*entry)) continue;
    const bool wasSetBack = isCurrent(*update.before) && !isCurrent(*entry);
    if (!wasSetBack && !isOverwritten(*update.before, *entry)) continue;
    givenUp_.erase(entry->id);
    if (isCurrent(*entry)) {
      outdated.push_back({entry, *entry});
      outdated.back().after.ocrVersion = 0;
    } else if (wasSetBack) {
      waiting_.push_front(entry->id);
    }
  }
  for (const EntryPointer& entry : change.added) {
    if (isReadable(*entry) && !isCurrent(*entry)) waiting_.push_front(entry->id);
  }
  // After everybody has been told of this change.
  services_.main->post(lifetime_.guard([this, outdated = std::move(outdated)]() mutable {
    for (const HistoryStore::Revision& one : outdated) waiting_.push_front(one.after.id);
    if (!outdated.empty()) services_.library.store().revise(std::move(outdated));
    next();
  }));
}

void TextIndexing::fill() {
  if (!services_.library.isReady()) return;
  waiting_.clear();
  if (services_.settings.values().indexScreenshotText) {
    for (const EntryPointer& entry : services_.library.store().newestFirst()) {
      if (isReadable(*entry) && !isCurrent(*entry)) waiting_.push_back(entry->id);
    }
  }
  for (const auto& wanted : wanted_) waiting_.push_front(wanted.first);
  next();
}

void TextIndexing::next() {
  if (reading_ || hasStopped_ || pauses_ > 0 || !services_.library.isReady()) return;
  const HistoryStore& store = services_.library.store();
  // Nothing would be kept of it.
  if (store.indexRefusal() && wanted_.empty()) return;
  while (!waiting_.empty()) {
    const std::string id = std::move(waiting_.front());
    waiting_.pop_front();
    const EntryPointer entry = store.find(id);
    const bool isUrgent = wanted_.contains(id);
    if (!entry || !isReadable(*entry)) {
      answer(id, std::unexpected(unreadable("it isn't in the library any more")));
      continue;
    }
    if (isCurrent(*entry)) {
      answer(id, entry);
      continue;
    }
    if (!isUrgent && (givenUp_.contains(id) || hindrance_)) continue;
    return begin(entry, isUrgent);
  }
  this->store();
  if (!std::exchange(mayRelease_, false)) return;
  services_.main->postAfter(idleBeforeRelease, lifetime_.guard([this] {
    if (!reading_) services_.recogniser->release();
  }));
}

void TextIndexing::begin(const EntryPointer& entry, bool isUrgent) {
  mayRelease_ = true;
  reading_ = std::make_unique<Reading>(Reading{entry, isUrgent, {}});
  roundTrip(
      *services_.work, services_.main,
      [entry, files = services_.files, codec = services_.codec, recogniser = services_.recogniser,
       stop = reading_->stop.get_token()]() -> Text {
        if (stop.stop_requested()) {
          return std::unexpected(RecognitionFailure{RecognitionFailure::Case::cancelled, {}});
        }
        const auto bytes = files->read(entry->path, largestPicture);
        if (!bytes) return std::unexpected(unreadable(bytes.error().reason));
        const auto picture = codec->decode(*bytes);
        if (!picture) return std::unexpected(unreadable(picture.error().reason));
        auto reading =
            recogniser->read(*picture, {.pixelsPerPoint = entry->captureScale.value_or(1)}, stop);
        if (!reading) return std::unexpected(std::move(reading.error()));
        return pictureText(*reading);
      },
      lifetime_.guard([this](Text text) { ended(std::move(text)); }));
}

void TextIndexing::ended(Text text) {
  using Case = RecognitionFailure::Case;
  const std::unique_ptr<Reading> reading = std::move(reading_);
  const std::string& id = reading->entry->id;
  if (text) {
    hindrance_.reset();
    read_.emplace_back(reading->entry, *std::move(text));
    if (read_.size() == 1) {
      services_.main->postAfter(longestUnstored, lifetime_.guard([this] { store(); }));
    }
    const bool isFresh = services_.library.clock().now() - reading->entry->capturedAt < 60;
    if (isFresh || wanted_.contains(id) || read_.size() >= batch) store();
  } else if (text.error().what == Case::cancelled) {
    waiting_.push_front(id);
    // Whoever asked for another one meanwhile put it before this one.
    const auto urgent = std::ranges::find_if(
        waiting_, [&](const std::string& one) { return wanted_.contains(one); });
    if (urgent != waiting_.end()) std::rotate(waiting_.begin(), urgent, urgent + 1);
  } else {
    if (text.error().what == Case::unavailable) hindrance_ = text.error();
    givenUp_.insert(id);
    logWarning("TextRecognition", "{}: {}", reading->entry->path, sentence(text.error()));
    answer(id, std::unexpected(text.error()));
  }
  next();
}

/// Puts what has been read into the entries that still show what was read.
void TextIndexing::store() {
  if (read_.empty()) return;
  HistoryStore& store = services_.library.store();
  const auto read = std::exchange(read_, {});
  std::vector<HistoryStore::Revision> revisions;
  for (const auto& [asked, text] : read) {
    const EntryPointer entry = store.find(asked->id);
    if (!entry) continue;
    if (!isSamePicture(*entry, *asked)) {
      waiting_.push_front(entry->id);
      continue;
    }
    revisions.push_back({entry, *entry});
    putText(text, revisions.back().after);
  }
  store.revise(std::move(revisions));
  for (const auto& one : read) {
    const EntryPointer entry = store.find(one.first->id);
    if (entry && isCurrent(*entry)) answer(entry->id, entry);
    if (!entry)
      answer(one.first->id, std::unexpected(unreadable("it isn't in the library any more")));
  }
}

void TextIndexing::answer(const std::string& id,
                          const Result<EntryPointer, RecognitionFailure>& result) {
  std::vector<Read> told;
  const auto [first, last] = wanted_.equal_range(id);
  for (auto one = first; one != last; ++one) told.push_back(std::move(one->second));
  wanted_.erase(first, last);
  for (const Read& read : told) read(result);
}

}  // namespace vantorel
