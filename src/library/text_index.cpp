#include "library/text_index.hpp"

#include <algorithm>
#include <utility>

#include "base/round_trip.hpp"

namespace vantorel {
namespace {

/// So many new ones are worth a step of reading.
constexpr std::size_t fewestToRead = 200;

bool mayHaveText(const ScreenshotEntry& entry) {
  return entry.ocrText || entry.ocrBlocks || entry.editedText;
}

}  // namespace

TextIndex::Slot TextIndex::add(const EntryPointer& entry) {
  if (!mayHaveText(*entry)) return noSlot;
  Slot slot = 0;
  if (free_.empty()) {
    slot = static_cast<Slot>(places_.size());
    places_.emplace_back();
  } else {
    slot = free_.back();
    free_.pop_back();
  }
  places_[slot].entry = entry;
  pending_.insert(pending_.end(), slot);
  return slot;
}

TextIndex::Slot TextIndex::replaced(Slot slot, const EntryPointer& after) {
  if (slot == noSlot) return add(after);
  if (mayHaveText(*after) && places_[slot].segment != unread) {
    std::string oldRoom;
    std::string newRoom;
    if (services_.textOf(*places_[slot].entry, oldRoom) == services_.textOf(*after, newRoom)) {
      places_[slot].entry = after;
      return slot;
    }
  }
  remove(slot);
  return add(after);
}

void TextIndex::leaveSegment(Slot slot) {
  const auto found = segments_.find(std::exchange(places_[slot].segment, unread));
  if (found == segments_.end()) return;
  Segment& segment = found->second;
  *std::ranges::find(segment.slots, slot) = noSlot;
  // Most of it is gone: the others are read anew.
  if (--segment.count * 2 > segment.slots.size()) return;
  for (const Slot other : segment.slots) {
    if (other == noSlot) continue;
    places_[other].segment = unread;
    pending_.insert(other);
  }
  segments_.erase(found);
}

void TextIndex::remove(Slot slot) {
  if (slot == noSlot) return;
  if (places_[slot].segment != unread) leaveSegment(slot);
  pending_.erase(slot);
  places_[slot].entry.reset();
  free_.push_back(slot);
}

TextIndex::Batch TextIndex::nextBatch() const {
  Batch batch;
  const auto put = [&](Slot slot) {
    batch.slots.push_back(slot);
    batch.entries.push_back(places_[slot].entry);
  };
  for (const Slot slot : pending_) {
    if (batch.slots.size() == TextSegment::mostTexts) return batch;
    put(slot);
  }
  // Small segments become one, so that there are never many.
  for (const auto& [number, segment] : segments_) {
    if (segment.count > TextSegment::mostTexts / 4 ||
        batch.slots.size() + segment.count > TextSegment::mostTexts) {
      continue;
    }
    batch.replaced.push_back(number);
    for (const Slot slot : segment.slots) {
      if (slot != noSlot) put(slot);
    }
  }
  return batch;
}

void TextIndex::read() {
  if (isReading_ || pending_.size() < fewestToRead) return;
  isReading_ = true;
  Batch next = nextBatch();
  roundTrip(
      *services_.work, services_.main,
      [textOf = services_.textOf, batch = std::move(next)]() mutable {
        TextSegment::Builder builder;
        std::string room;
        for (const EntryPointer& entry : batch.entries) {
          builder.add(searchableText(textOf(*entry, room)));
        }
        return std::pair(std::move(batch), std::move(builder).finish());
      },
      lifetime_.guard([this](std::pair<Batch, TextSegment> read) {
        isReading_ = false;
        take(std::move(read.first), std::move(read.second));
        if (onRead) onRead();
        this->read();
      }));
}

void TextIndex::take(Batch batch, TextSegment text) {
  const SegmentNumber number = ++lastNumber_;
  Segment segment{.text = std::move(text), .slots = std::move(batch.slots)};
  for (std::size_t i = 0; i < segment.slots.size(); ++i) {
    Slot& slot = segment.slots[i];
    Place& place = places_[slot];
    if (place.entry != batch.entries[i]) {
      slot = noSlot;  // it has changed meanwhile
      continue;
    }
    place.segment = number;
    pending_.erase(slot);
    ++segment.count;
  }
  for (const SegmentNumber old : batch.replaced) {
    const auto found = segments_.find(old);
    if (found == segments_.end()) continue;
    for (const Slot slot : found->second.slots) {
      if (slot == noSlot || places_[slot].segment != old) continue;
      places_[slot].segment = unread;
      pending_.insert(slot);
    }
    segments_.erase(found);
  }
  if (segment.count > 0) segments_.emplace(number, std::move(segment));
}

bool TextIndex::hasWord(Slot slot, const SearchWord& word) const {
  std::string room;
  return hasSearchable(services_.textOf(*places_[slot].entry, room), word.text);
}

TextIndex::Slots TextIndex::having(const SearchWord& word, const Slots& among) const {
  Slots having;
  TextSegment::Bits bits;
  for (const auto& [number, segment] : segments_) {
    bits.assign((segment.slots.size() + 63) / 64, 0);
    bool isAny = false;
    for (std::size_t i = 0; i < segment.slots.size(); ++i) {
      if (!among.contains(segment.slots[i])) continue;
      bits[i / 64] |= std::uint64_t{1} << (i % 64);
      isAny = true;
    }
    if (!isAny) continue;
    segment.text.retain(word, bits);
    for (std::size_t i = 0; i < segment.slots.size(); ++i) {
      if ((bits[i / 64] >> (i % 64) & 1) == 0) continue;
      const Slot slot = segment.slots[i];
      const bool isSettled = word.isSettledByPieces && !segment.text.isUnknown(i);
      if (isSettled || hasWord(slot, word)) having.insert(slot);
    }
  }
  if (isRead()) {
    for (const Slot slot : pending_) {
      if (among.contains(slot) && hasWord(slot, word)) having.insert(slot);
    }
  }
  return having;
}

std::size_t TextIndex::bytes() const {
  constexpr std::size_t setNode = 48;
  std::size_t bytes = sizeof *this + places_.capacity() * sizeof(Place) +
                      free_.capacity() * sizeof(Slot) + pending_.size() * setNode;
  for (const auto& [number, segment] : segments_) {
    bytes += segment.text.bytes() + segment.slots.capacity() * sizeof(Slot);
  }
  return bytes;
}

}  // namespace vantorel
