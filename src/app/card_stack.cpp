#include "app/card_stack.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/area_downscale.hpp"
#include "base/round_trip.hpp"
#include "base/size_text.hpp"
#include "editor/entry_document.hpp"
#include "library/pending_undo.hpp"

namespace vantorel {
namespace {

using State = Card::State;

constexpr const char* stillMeasured = "\u2026";
constexpr std::size_t mostCards = 50;
constexpr std::uint64_t largestPicture = 512ULL << 20;

/// As a sentence of its own.
std::string asSentence(std::string clause) {
  if (clause.empty()) return clause;
  if (clause[0] >= 'a' && clause[0] <= 'z') clause[0] = static_cast<char>(clause[0] - 'a' + 'A');
  const char last = clause.back();
  if (last != '.' && last != '?' && last != ')') clause += '.';
  return clause;
}

/// "0:42", "1:02:03".
std::string lengthText(double seconds) {
  const long whole = std::lround(std::max(0.0, seconds));
  const long hours = whole / 3600;
  const long minutes = whole / 60 % 60;
  if (hours > 0) return fmt::format("{}:{:02}:{:02}", hours, minutes, whole % 60);
  return fmt::format("{}:{:02}", minutes, whole % 60);
}

/// The whole picture within the size of thumbnails; of a page that would be a strip, its beginning.
Image thumbnailOf(const Image& whole) {
  constexpr double tallFrom = 3;  // heights a width
  const PixelSize most = CardStack::pictureSize;
  const bool isTall = whole.height() > tallFrom * whole.width();
  const double seen = double(whole.width()) * most.height / most.width;
  const Image picture =
      isTall
          ? whole.cropped({0, 0, whole.width(), std::max(1, static_cast<int>(std::lround(seen)))})
          : whole;
  const double part =
      std::min({1.0, double(most.width) / picture.width(), double(most.height) / picture.height()});
  const auto scaled = [part](int length) {
    return std::max(1, static_cast<int>(std::lround(length * part)));
  };
  return downscaled(picture, {scaled(picture.width()), scaled(picture.height())});
}

std::string lengthBadge(const ScreenshotEntry& entry) {
  return entry.durationSeconds ? lengthText(*entry.durationSeconds) : std::string();
}

}  // namespace

CardStack::CardStack(Services services) : services_(std::move(services)) {
  libraryObservation_ = services_.library.store().observe(
      lifetime_.guard([this](const HistoryChange& change) { libraryChanged(change); }));
  settingsObservation_ = services_.settings.observe(lifetime_.guard([this](std::string_view key) {
    if (key == "showQuickAccessOverlay" && !services_.settings.values().showQuickAccessOverlay) {
      return dismissAll();
    }
    if (key == "thumbnailIdleSeconds" || key == "thumbnailAutoDismiss") {
      for (Times& times : times_) times.idleLeft = idleTime();
      restartTimer();
    }
    if (key == "overlayPosition" || key.starts_with("card")) changed_.notify();
  }));
}

const Card* CardStack::find(std::uint64_t number) const {
  const auto found = std::ranges::find(cards_, number, &Card::number);
  return found == cards_.end() ? nullptr : &*found;
}

Card* CardStack::at(std::uint64_t number) {
  const auto found = std::ranges::find(cards_, number, &Card::number);
  return found == cards_.end() ? nullptr : &*found;
}

Card* CardStack::withEntry(const std::string& id) {
  const auto found =
      std::ranges::find_if(cards_, [&](const Card& card) { return card.entry->id == id; });
  return found == cards_.end() ? nullptr : &*found;
}

CardStack::Times* CardStack::timesOf(std::uint64_t number) {
  const auto found = std::ranges::find(times_, number, &Times::card);
  return found == times_.end() ? nullptr : &*found;
}

std::chrono::nanoseconds CardStack::idleTime() const {
  return std::chrono::seconds(services_.settings.values().thumbnailIdleSeconds);
}

std::uint64_t CardStack::put(Card card) {
  lookAtTimes();
  card.number = ++last_;
  times_.push_back({.card = card.number, .idleLeft = idleTime(), .badgeEnds = std::nullopt});
  cards_.push_front(std::move(card));
  // Beyond what anybody looks at; they are in History.
  if (cards_.size() > mostCards) {
    std::erase_if(times_, [&](const Times& times) { return times.card == cards_.back().number; });
    redactions_.erase(cards_.back().number);
    cards_.pop_back();
  }
  restartTimer();
  changed_.notify();
  return last_;
}

/// For a capture whose card went, or that never had one.
std::uint64_t CardStack::putAnew(const EntryPointer& entry) {
  const std::uint64_t number = put({.entry = entry, .badge = lengthBadge(*entry)});
  readPicture(cards_.front());
  return number;
}

void CardStack::add(const CaptureOutcome::Saved& saved) {
  if (!services_.settings.values().showQuickAccessOverlay || saved.entry == nullptr) return;
  if (withEntry(saved.entry->id) != nullptr) return;
  Card card{.entry = saved.entry,
            .picture = saved.picture,
            .shown = saved.shown,
            .badge = lengthBadge(*saved.entry)};
  if (const std::vector<std::string> remarks = remarksOn(saved); !remarks.empty()) {
    card.badge = fmt::format("{}", fmt::join(remarks, " "));
    card.isWarning = true;
  }
  if (saved.covered > 0 && !card.isWarning) {
    card.badge = redactedWords(saved.covered);
    card.isTold = true;
  } else if (saved.covered > 0) {
    card.badge = redactedWords(saved.covered) + ". " + card.badge;
  }
  if (card.picture.isEmpty()) {
    put(std::move(card));
    readPicture(cards_.front());
    return;
  }
  // Made small first: the pixels are those of the whole screen.
  const Image whole = std::exchange(card.picture, {});
  roundTrip(
      *services_.work, services_.main, [whole] { return thumbnailOf(whole); },
      lifetime_.guard([this, card](const Image& picture) mutable {
        if (withEntry(card.entry->id) != nullptr) return;
        const bool isCopied = std::erase(copiedEarly_, card.entry->id) > 0;
        // It may have been renamed or deleted meanwhile.
        const EntryPointer now = services_.library.store().find(card.entry->id);
        if (now) card.entry = now;
        card.picture = picture;
        put(card);
        if (isCopied) copied(card.entry->id);
      }));
}

/// From the file, for a card that is there already.
void CardStack::readPicture(const Card& card) {
  roundTrip(
      *services_.work, services_.main,
      [files = services_.files, codec = services_.codec, finish = services_.finish,
       entry = card.entry]() -> Image {
        const auto bytes = files->read(entry->path, largestPicture);
        if (!bytes) return {};
        auto whole = codec->decode(*bytes);
        if (!whole) return {};
        const auto shown = finish(*entry, *std::move(whole));
        return shown ? thumbnailOf(*shown) : Image();
      },
      lifetime_.guard([this, number = card.number](const Image& picture) {
        Card* const there = at(number);
        if (there == nullptr) return;
        there->picture = picture;
        changed_.notify();
      }));
}

void CardStack::copied(const std::string& id) {
  Card* const card = withEntry(id);
  if (card == nullptr) {
    // Its thumbnail is still being made.
    copiedEarly_.push_back(id);
    if (copiedEarly_.size() > mostCards) copiedEarly_.erase(copiedEarly_.begin());
    return;
  }
  if (card->isWarning || card->state == State::trashed) return;
  tell(*card, "Copied");
}

/// For as long as it takes to read.
void CardStack::tell(Card& card, std::string badge) {
  // A remark stays to be read.
  if (card.isWarning) return changed_.notify();
  card.badge = std::move(badge);
  card.isTold = true;
  timesOf(card.number)->badgeEnds = services_.clock.monotonic() + copiedTime;
  lookAtTimes();
  restartTimer();
  changed_.notify();
}

std::optional<std::uint64_t> CardStack::cardForKeyboard() {
  for (const Card& card : cards_) {
    if (card.state != State::trashed) return card.number;
  }
  for (const EntryPointer& entry : services_.library.store().newestFirst()) {
    if (entry->medium != CaptureMedium::image) continue;
    return putAnew(entry);
  }
  return std::nullopt;
}

void CardStack::libraryChanged(const HistoryChange& change) {
  bool isSeen = false;
  for (const auto& [before, after] : change.updated) {
    Card* const card = withEntry(after->id);
    if (card == nullptr) continue;
    // What the card shows was made from another picture once the file is another one.
    const bool isOther = card->entry->editedAt != after->editedAt ||
                         card->entry->originalPath != after->originalPath;
    if (card->entry->originalPath != after->originalPath && (card->isWarning || card->isTold)) {
      // What was said of its redaction is said of another file.
      card->isWarning = card->isTold = false;
      card->badge = lengthBadge(*after);
    }
    card->entry = after;
    if (isOther) readPicture(*card);
    isSeen = true;
  }
  for (const EntryPointer& added : change.added) {
    Card* const card = withEntry(added->id);
    if (card == nullptr || card->state != State::trashed) continue;
    card->entry = added;
    card->state = State::rest;
    card->sentence.clear();
    touched(card->number);
    isSeen = true;
  }
  for (const EntryPointer& removed : change.removed) {
    const Card* const card = withEntry(removed->id);
    // Its own deletion answers by itself.
    if (card == nullptr || card->state == State::trashed || card->state == State::busy) continue;
    dismiss(card->number);
  }
  if (isSeen) changed_.notify();
}

// ---- time

void CardStack::setHeld(bool isHeld) {
  if (isHeld == isHeld_) return;
  lookAtTimes();
  isHeld_ = isHeld;
  restartTimer();
}

/// Somebody did something with it: its time begins anew.
void CardStack::touched(std::uint64_t number) {
  lookAtTimes();
  if (Times* const times = timesOf(number)) times->idleLeft = idleTime();
  restartTimer();
}

/// Takes the time that has passed off all cards, and away with those whose time is over.
void CardStack::lookAtTimes() {
  const std::chrono::nanoseconds now = services_.clock.monotonic();
  const std::chrono::nanoseconds passed = now - std::exchange(since_, now);
  const bool isCounting = !isHeld_ && services_.settings.values().thumbnailAutoDismiss;
  bool isSeen = false;
  std::vector<std::uint64_t> over;
  for (Times& times : times_) {
    Card& card = *at(times.card);
    if (isCounting && card.state != State::busy && card.state != State::trashed) {
      times.idleLeft -= passed;
      if (times.idleLeft <= std::chrono::nanoseconds(0)) over.push_back(card.number);
    }
    if (card.state == State::trashed && card.ends <= now) over.push_back(card.number);
    if (times.badgeEnds && *times.badgeEnds <= now) {
      times.badgeEnds.reset();
      card.badge = lengthBadge(*card.entry);
      card.isTold = false;
      isSeen = true;
    }
  }
  for (const std::uint64_t number : over) dismiss(number);
  if (isSeen) changed_.notify();
}

void CardStack::restartTimer() {
  timer_.renew();
  const std::chrono::nanoseconds now = services_.clock.monotonic();
  const bool isCounting = !isHeld_ && services_.settings.values().thumbnailAutoDismiss;
  std::optional<std::chrono::nanoseconds> next;
  const auto consider = [&](std::chrono::nanoseconds wait) {
    wait = std::max(wait, std::chrono::nanoseconds(0));
    if (!next || wait < *next) next = wait;
  };
  for (const Times& times : times_) {
    const Card& card = *find(times.card);
    if (card.state == State::trashed) {
      consider(card.ends - now);
    } else if (isCounting && card.state != State::busy) {
      consider(times.idleLeft - (now - since_));
    }
    if (times.badgeEnds) consider(*times.badgeEnds - now);
  }
  if (!next) return;
  services_.main->postAfter(*next, timer_.guard([this] {
    lookAtTimes();
    restartTimer();
  }));
}

// ---- actions

std::string CardStack::obstacle(const Card& card, CardAction action) const {
  if (card.state == State::trashed) return "The capture is in the Trash.";
  if (card.state == State::busy) return "The capture is being changed.";
  const bool isPicture = card.entry->medium == CaptureMedium::image;
  if (action == CardAction::copy && !isPicture) return "Only pictures can be copied.";
  if (action == CardAction::saveAs && !isPicture) return "Only pictures can be saved elsewhere.";
  if (action == CardAction::pin && !isPicture) return "Only pictures can be pinned.";
  if (action == CardAction::open && !isPicture && isRedacted(*card.entry)) {
    return "The file of a redacted capture shows what is covered.";
  }
  if (action == CardAction::trash) {
    if (auto refusal = services_.library.store().indexRefusal()) return asSentence(*refusal);
  }
  return {};
}

/// False when the card is gone, or busy.
bool CardStack::begin(std::uint64_t number) {
  lookAtTimes();
  Card* const card = at(number);
  if (card == nullptr || card->state == State::busy || card->state == State::trashed) return false;
  card->state = State::busy;
  card->sentence.clear();
  restartTimer();
  changed_.notify();
  return true;
}

void CardStack::ended(std::uint64_t number, const std::string& failure) {
  Card* const card = at(number);
  if (card == nullptr) return;
  card->state = failure.empty() ? State::rest : State::failed;
  card->sentence = asSentence(failure);
  touched(number);
  changed_.notify();
}

void CardStack::copy(std::uint64_t number) {
  if (!begin(number)) return;
  const std::string id = find(number)->entry->id;
  services_.copying.copy(*find(number)->entry,
                         lifetime_.guard([this, number, id](const Result<void, CopyFailure>& done) {
                           ended(number, done ? std::string() : sentence(done.error()));
                           if (done) copied(id);
                         }));
}

std::string CardStack::openLabel(const Card& card) {
  return card.entry->medium == CaptureMedium::image ? "Annotate" : "Open";
}

void CardStack::open(std::uint64_t number) {
  const Card* const card = find(number);
  if (card == nullptr || !obstacle(*card, CardAction::open).empty()) return;
  services_.open(card->entry, lifetime_.guard([this, number](const Result<void>& opened) {
    if (opened) return dismiss(number);
    ended(number, opened.error().reason);
  }));
}

void CardStack::pin(std::uint64_t number) {
  const Card* const card = find(number);
  if (card == nullptr || !obstacle(*card, CardAction::pin).empty()) return;
  services_.pin(card->entry, lifetime_.guard([this, number](const Result<void>& pinned) {
    if (pinned) return dismiss(number);
    ended(number, pinned.error().reason);
  }));
}

void CardStack::reveal(std::uint64_t number) {
  const Card* const card = find(number);
  if (card == nullptr || !obstacle(*card, CardAction::reveal).empty()) return;
  touched(number);
  services_.reveal(card->entry->path, lifetime_.guard([this, number](const Result<void>& shown) {
    if (!shown) ended(number, shown.error().reason);
  }));
}

std::string CardStack::suggestedFileName(const Card& card) const {
  return Path(card.entry->path).filename().string();
}

void CardStack::saveAs(const EntryPointer& asked, const Path& file) {
  const Card* const there = withEntry(asked->id);
  const std::uint64_t number = there != nullptr ? there->number : putAnew(asked);
  const EntryPointer now = services_.library.store().find(asked->id);
  const bool isShown = begin(number);
  services_.exporting.saveAs(
      now ? now : asked, file,
      lifetime_.guard([this, number, isShown](const Result<Path, ExportFailure>& written) {
        if (!isShown && written) return;  // it shows what else is done with it
        ended(number, written ? std::string() : sentence(written.error()));
      }));
}

void CardStack::trash(std::uint64_t number) {
  const Card* const card = find(number);
  if (card == nullptr || !obstacle(*card, CardAction::trash).empty() || !begin(number)) return;
  const std::string id = find(number)->entry->id;
  services_.library.deletion().trash(
      {id}, HistoryDeletion::Undo::offered,
      lifetime_.guard([this, number](const TrashSweep& sweep) {
        Card* const trashed = at(number);
        if (trashed == nullptr) return;
        if (sweep.removed.empty()) {
          return ended(number, sweep.failures.empty() ? "The capture couldn't be moved to the Trash"
                                                      : sweep.failures.front().reason);
        }
        if (sweep.isUndoTaken) return dismiss(number);
        trashed->state = State::trashed;
        trashed->sentence = deletedFeedback(sweep.removed.size());
        trashed->ends = services_.clock.monotonic() + undoWindow;
        lookAtTimes();
        restartTimer();
        changed_.notify();
      }));
}

double CardStack::undoLeft(const Card& card) const {
  const std::chrono::duration<double> left = card.ends - services_.clock.monotonic();
  return std::clamp(left / std::chrono::duration<double>(undoWindow), 0.0, 1.0);
}

void CardStack::undo(std::uint64_t number) {
  const Card* const card = find(number);
  if (card == nullptr || card->state != State::trashed) return;
  const auto& pending = services_.library.deletion().pendingUndo();
  const bool isOffered = pending && std::ranges::any_of(pending->items, [&](const auto& item) {
                           return item.entry->id == card->entry->id;
                         });
  // A deletion made since took its place.
  if (!isOffered) return dismiss(number);
  services_.library.deletion().undo(lifetime_.guard([this, number](const UndoOutcome& outcome) {
    Card* const back = at(number);
    if (back == nullptr || outcome.failures.empty()) return;
    ended(number, outcome.failures.front().reason);
  }));
}

void CardStack::prepareDrag(std::uint64_t number, std::function<void(Dragged)> done) {
  const Card* const card = find(number);
  if (card == nullptr || !obstacle(*card, CardAction::copy).empty()) return;
  const EntryPointer entry = card->entry;
  services_.copying.picture(
      *entry,
      lifetime_.guard([entry, done = std::move(done)](const Result<std::string, CopyFailure>& png) {
        Dragged dragged;
        if (png) dragged.png = *png;
        if (!isAnnotated(*entry)) dragged.file = Path(entry->path);
        done(std::move(dragged));
      }));
}

void CardStack::dismiss(std::uint64_t number) {
  const auto removed =
      std::erase_if(cards_, [&](const Card& card) { return card.number == number; });
  std::erase_if(times_, [&](const Times& times) { return times.card == number; });
  redactions_.erase(number);
  if (weights_.card == number) closeRows();
  if (removed == 0) return;
  restartTimer();
  changed_.notify();
}

void CardStack::dismissAll() {
  cards_.clear();
  times_.clear();
  redactions_.clear();
  closeRows();
  timer_.renew();
  changed_.notify();
}

void CardStack::openHistory() const {
  if (services_.openHistory) services_.openHistory();
}

// ---- rows

const CaptureTranscoder::Weight* CardStack::weightOf(const Card& card,
                                                     std::optional<ExportFormat> format) const {
  if (weights_.card != card.number || weights_.path != card.entry->path) return nullptr;
  const auto found = std::ranges::find(weights_.known, format, &CaptureTranscoder::Weight::format);
  return found == weights_.known.end() ? nullptr : &*found;
}

CardRows CardStack::rows(const Card& card) const {
  CardRows rows;
  if (card.entry->medium != CaptureMedium::image || card.state == State::trashed) return rows;
  const SettingsValues& values = services_.settings.values();
  std::string busy;
  if (card.state == State::busy) busy = "The capture is being changed.";
  if (auto refusal = services_.library.store().indexRefusal()) busy = asSentence(*refusal);
  const auto current = formatOfFileName(Path(card.entry->path).filename().string());
  if (values.cardFormatRow) {
    for (const auto format :
         {ExportFormat::png, ExportFormat::jpeg, ExportFormat::heic, ExportFormat::webp}) {
      CardFormat cell{.format = format,
                      .label = std::string(displayName(format)),
                      .size = stillMeasured,
                      .isCurrent = current == format,
                      .obstacle = busy};
      if (const auto* const weight = weightOf(card, format)) {
        if (weight->bytes && *weight->bytes) {
          cell.size = sizeText(**weight->bytes);
        } else if (!weight->bytes) {
          cell.size = "\u2013";
          cell.obstacle = asSentence(sentence(weight->bytes.error()));
        }
      }
      rows.formats.push_back(std::move(cell));
    }
  }
  if (values.cardCompress) {
    rows.compress = CardRow{.label = "Compress", .note = stillMeasured, .obstacle = busy};
    if (const auto* const weight = weightOf(card, std::nullopt)) {
      if (!weight->bytes) {
        rows.compress->note.clear();
        rows.compress->obstacle = asSentence(sentence(weight->bytes.error()));
      } else if (*weight->bytes) {
        rows.compress->note = "about " + sizeText(**weight->bytes);
      } else {
        rows.compress->note = "Already compact";
        rows.compress->obstacle = "Already compact";
      }
    }
  }
  if (values.cardRedact) addRedactRow(card, busy, rows);
  // For itself alone nothing opens beside the card.
  if (!rows.isEmpty()) addTextRow(card, rows);
  return rows;
}

void CardStack::openRows(std::uint64_t number) {
  const Card* const card = find(number);
  if (card == nullptr) return;
  if (weights_.card == number && weights_.path == card->entry->path) return;
  weights_ = {.card = number, .path = {}, .known = {}, .weighing = nullptr};
  measure();
}

void CardStack::closeRows() { weights_ = {}; }

/// The sizes that the rows opened show, of the file as it is now.
void CardStack::measure() {
  const Card* const card = find(weights_.card);
  if (card == nullptr || rows(*card).isEmpty()) return;
  const std::uint64_t number = card->number;
  weights_ = {.card = number, .path = card->entry->path, .known = {}, .weighing = nullptr};
  weights_.weighing = services_.weigher.weigh(
      card->entry, lifetime_.guard([this, number](const CaptureTranscoder::Weight& weight) {
        if (weights_.card != number) return;
        weights_.known.push_back(weight);
        changed_.notify();
      }));
}

void CardStack::convert(std::uint64_t number, ExportFormat format) {
  const Card* const card = find(number);
  if (card == nullptr) return;
  for (const CardFormat& cell : rows(*card).formats) {
    if (cell.format == format && (cell.isCurrent || !cell.obstacle.empty())) return;
  }
  const std::string id = card->entry->id;
  if (!begin(number)) return;
  services_.rewriter.convert(id, format, lifetime_.guard([this, number](const RewriteReply& reply) {
    rewritten(number, reply);
  }));
}

void CardStack::compress(std::uint64_t number) {
  const Card* const card = find(number);
  if (card == nullptr) return;
  const auto row = rows(*card).compress;
  if (!row || !row->obstacle.empty()) return;
  const std::string id = card->entry->id;
  if (!begin(number)) return;
  services_.rewriter.compress(id, false, lifetime_.guard([this, number](const RewriteReply& reply) {
    rewritten(number, reply);
  }));
}

void CardStack::rewritten(std::uint64_t number, const RewriteReply& reply) {
  ended(number, reply ? std::string() : sentence(reply.error()));
  if (weights_.card != number) return;
  measure();
  changed_.notify();
}

}  // namespace vantorel
