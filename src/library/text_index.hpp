#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "library/records/screenshot_entry.hpp"
#include "library/search_word.hpp"
#include "library/text_segment.hpp"

namespace vantorel {

/// Which entries' texts have a word, of 100,000 within some milliseconds. Texts are read on another
/// runner, some thousand at a time; those that have just come are looked through one by one. Lives
/// on the main runner, and never holds it for longer than a few milliseconds.
class TextIndex {
 public:
  /// Stands for an entry, as long as that is in the index.
  using Slot = std::uint32_t;

  /// Of an entry without any text.
  static constexpr Slot noSlot = ~Slot{0};

  /// What of an entry's text is searched: a part of the entry, or of `room`, where it is put when
  /// it has to be made. Called on both runners, at the same time too.
  using TextOf = std::function<std::string_view(const ScreenshotEntry&, std::string& room)>;

  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;
    TextOf textOf;
  };

  class Slots {
   public:
    void insert(Slot slot) {
      if (slot == noSlot) return;
      if (slot / 64 >= bits_.size()) bits_.resize(slot / 64 + 1);
      bits_[slot / 64] |= std::uint64_t{1} << (slot % 64);
    }
    [[nodiscard]] bool contains(Slot slot) const {
      return slot != noSlot && slot / 64 < bits_.size() &&
             (bits_[slot / 64] >> (slot % 64) & 1) != 0;
    }

   private:
    std::vector<std::uint64_t> bits_;
  };

  explicit TextIndex(Services services) : services_(std::move(services)) {}

  /// Takes an entry up; it is found once it has been read.
  [[nodiscard]] Slot add(const EntryPointer& entry);

  /// Another state of the entry.
  [[nodiscard]] Slot replaced(Slot slot, const EntryPointer& after);

  void remove(Slot slot);

  /// Reads what is not read yet; what comes later is read when this is called again.
  void read();

  /// Told after each step of reading.
  std::function<void()> onRead;

  /// Whether `having` knows of all entries.
  [[nodiscard]] bool isRead() const { return pending_.size() <= mostUnread; }

  /// Those `among` them whose text has the word.
  [[nodiscard]] Slots having(const SearchWord& word, const Slots& among) const;

  /// What it takes in memory beside the entries.
  [[nodiscard]] std::size_t bytes() const;

 private:
  using SegmentNumber = std::uint32_t;
  static constexpr SegmentNumber unread = 0;

  struct Place {
    EntryPointer entry;  // none where the slot is free
    SegmentNumber segment = unread;
  };
  struct Segment {
    TextSegment text;
    std::vector<Slot> slots;  // of its texts; `noSlot` of those that are gone
    std::size_t count = 0;    // of those that are not
  };
  struct Batch {
    std::vector<Slot> slots;
    EntryList entries;
    std::vector<SegmentNumber> replaced;
  };

  /// So many are looked through one by one.
  static constexpr std::size_t mostUnread = 1000;

  [[nodiscard]] Batch nextBatch() const;
  void take(Batch batch, TextSegment text);
  void leaveSegment(Slot slot);
  [[nodiscard]] bool hasWord(Slot slot, const SearchWord& word) const;

  Services services_;
  std::vector<Place> places_;  // of the slots
  std::vector<Slot> free_;
  std::set<Slot> pending_;  // in no segment
  std::map<SegmentNumber, Segment> segments_;
  SegmentNumber lastNumber_ = unread;
  bool isReading_ = false;
  Lifetime lifetime_;
};

}  // namespace vantorel
