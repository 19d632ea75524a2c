#include "capture/scrolling_spool_recovery.hpp"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <set>

#include "base/log.hpp"
#include "base/random_id.hpp"
#include "capture/scrolling_spool_index.hpp"
#include "scrolling/scrolling_canvas.hpp"

namespace vantorel {
namespace {

constexpr std::uint64_t indexLimit = std::uint64_t{4} << 20U;
constexpr std::uint64_t stripLimit = std::uint64_t{1} << 29U;

/// Where nobody can hold a lock, one whose index is older than this has no session any more.
constexpr double unlockedAge = 3600;

struct PlacedStrip {
  Path path;
  std::int64_t first = 0;
  std::int64_t last = 0;
};

class SpoolReading {
 public:
  SpoolReading(Files& files, const ImageCodec& codec, Path folder)
      : files_(files), codec_(codec), folder_(std::move(folder)) {}

  [[nodiscard]] bool hasStrips() const { return hasStrips_; }
  [[nodiscard]] const ScrollingSpoolIndex& index() const { return index_; }

  Result<void> readIndex() {
    const std::vector<FolderItem> items = VT_TRY(files_.list(folder_));
    hasStrips_ = std::ranges::any_of(
        items, [](const FolderItem& item) { return SpoolStripName::from(item.name).has_value(); });
    const auto text = files_.read(folder_ / ScrollingSpoolIndex::fileName, indexLimit);
    auto read = text ? json::fromText<ScrollingSpoolIndex>(*text)
                     : Result<ScrollingSpoolIndex>(std::unexpected(text.error()));
    if (read) {
      index_ = *std::move(read);
      return {};
    }
    if (hasStrips_) {
      logWarning("Scrolling", "the index of {} can't be read ({}): its strips are joined without",
                 folder_.string(), read.error().reason);
    }
    return guessIndex(items);
  }

  /// Empty when nothing of it could be read.
  [[nodiscard]] Image picture() {
    place();
    if (strips_.empty()) return {};
    std::int64_t top = std::ranges::min(strips_, {}, &PlacedStrip::first).first;
    std::int64_t bottom = std::ranges::max(strips_, {}, &PlacedStrip::last).last;
    if (hasRange_) {
      top = std::max<std::int64_t>(top, index_.top);
      bottom = std::min<std::int64_t>(bottom, index_.bottom);
    }
    if (bottom <= top) return {};
    MutableImage whole({index_.width, static_cast<int>(bottom - top)},
                       index_.hasAlpha ? PixelFormat::bgraPremultiplied : PixelFormat::bgrx);
    std::vector<bool> isThere(static_cast<std::size_t>(bottom - top));
    for (const PlacedStrip& strip : strips_) paint(strip, top, bottom, whole, isThere);
    return cut(std::move(whole).finish(), isThere);
  }

 private:
  Result<void> guessIndex(const std::vector<FolderItem>& items) {
    index_ = {};
    hasRange_ = false;
    index_.capturedAt = VT_TRY(files_.status(folder_)).modified;
    const std::string name = folder_.filename().string();
    index_.record.entryID = isRandomID(name) ? name : randomID();
    // Nobody knows.
    index_.record.awaitsRedaction = true;
    std::vector<std::pair<int, std::string>> found;
    for (const FolderItem& item : items) {
      if (const auto strip = SpoolStripName::from(item.name)) {
        found.emplace_back(strip->serial, item.name);
      }
    }
    std::ranges::sort(found);
    for (auto& [serial, strip] : found) index_.strips.push_back(std::move(strip));
    return {};
  }

  /// Finds what rows the strips have, without reading their pixels. What would make the picture
  /// larger than pictures get is not part of it.
  void place() {
    if (hasRange_ && !isPossible(index_.top, index_.bottom)) hasRange_ = false;
    std::int64_t top = std::numeric_limits<std::int64_t>::max();
    std::int64_t bottom = std::numeric_limits<std::int64_t>::min();
    for (const std::string& text : index_.strips) {
      const auto name = SpoolStripName::from(text);
      if (!name) continue;
      const Path path = folder_ / text;
      const auto size = codec_.pixelSize(files_, path);
      if (size && index_.width <= 0) index_.width = size->width;
      if (!size || size->width != index_.width) {
        logWarning("Scrolling", "{} can't be read: {}", path.string(),
                   size ? "it has another width" : size.error().reason);
        continue;
      }
      const std::int64_t last = std::int64_t{name->first} + size->height;
      const bool isOutside = hasRange_ && (last <= index_.top || name->first >= index_.bottom);
      const std::int64_t wider = std::min<std::int64_t>(top, name->first);
      const std::int64_t lower = std::max(bottom, last);
      if (isOutside || (!hasRange_ && !isPossible(wider, lower))) continue;
      top = wider;
      bottom = lower;
      strips_.push_back({path, name->first, last});
    }
  }

  [[nodiscard]] bool isPossible(std::int64_t top, std::int64_t bottom) const {
    return bottom > top && index_.width > 0 && bottom - top <= maximumTallPixels / index_.width;
  }

  void paint(const PlacedStrip& strip, std::int64_t top, std::int64_t bottom, MutableImage& whole,
             std::vector<bool>& isThere) {
    const auto bytes = files_.read(strip.path, stripLimit);
    const auto rows = bytes ? codec_.decode(*bytes) : Result<Image>(std::unexpected(bytes.error()));
    if (!rows ||
        rows->size() != PixelSize{index_.width, static_cast<int>(strip.last - strip.first)}) {
      logWarning("Scrolling", "{} can't be read: {}", strip.path.string(),
                 rows ? "it has changed" : rows.error().reason);
      return;
    }
    constexpr std::size_t alpha = 3;
    const bool isOpaque = index_.hasAlpha && rows->format() == PixelFormat::bgrx;
    for (auto y = std::max(strip.first, top); y < std::min(strip.last, bottom); ++y) {
      const auto row = whole.row(static_cast<int>(y - top));
      std::ranges::copy(rows->row(static_cast<int>(y - strip.first)), row.begin());
      for (std::size_t x = alpha; isOpaque && x < row.size(); x += 4) row[x] = 0xFF;
      isThere[static_cast<std::size_t>(y - top)] = true;
    }
  }

  /// Without the rows above and below all that could be read.
  [[nodiscard]] static Image cut(const Image& whole, const std::vector<bool>& isThere) {
    const auto first = std::ranges::find(isThere, true) - isThere.begin();
    if (first == std::ssize(isThere)) return {};
    auto last = std::ssize(isThere);
    while (!isThere[static_cast<std::size_t>(last - 1)]) --last;
    return whole.cropped(
        {0, static_cast<int>(first), whole.width(), static_cast<int>(last - first)});
  }

  Files& files_;
  const ImageCodec& codec_;
  Path folder_;
  ScrollingSpoolIndex index_;
  bool hasRange_ = true;
  bool hasStrips_ = false;
  std::vector<PlacedStrip> strips_;
};

class SpoolRecovery {
 public:
  SpoolRecovery(Files& files, const ImageCodec& codec, StagingFolder& staging,
                const SpoolRecoveryOptions& options)
      : files_(files), codec_(codec), staging_(staging), options_(options) {}

  void recover(const Path& folder) {
    const auto held = files_.lock(folder / ScrollingSpoolIndex::lockName);
    if (!held && !(held.error().kind == FailureKind::unsupported && isOld(folder))) {
      if (held.error().kind != FailureKind::busy && held.error().kind != FailureKind::notFound) {
        logWarning("Scrolling", "{} is left alone: {}", folder.string(), held.error().reason);
      }
      return;
    }
    try {
      const auto staged = stage(folder);
      if (!staged) {
        logError("Scrolling", "what {} holds could not be staged: {}", folder.string(),
                 staged.error().reason);
      } else if (*staged) {
        removeScrollingSpool(files_, folder);
      } else {
        park(folder);
      }
    } catch (const std::bad_alloc&) {
      logError("Scrolling", "there is no memory for what {} holds", folder.string());
    }
  }

 private:
  [[nodiscard]] bool isOld(const Path& folder) {
    const auto index = files_.status(folder / ScrollingSpoolIndex::fileName);
    return index && index->modified + unlockedAge < options_.now;
  }

  /// False when nothing could be read.
  Result<bool> stage(const Path& folder) {
    SpoolReading reading(files_, codec_, folder);
    VT_TRY(reading.readIndex());
    if (reading.index().version > ScrollingSpoolIndex::currentVersion) {
      return failed(FailureKind::unsupported, "a newer Vantorel has written it");
    }
    StagedCaptureRecord record = reading.index().record;
    if (!reading.hasStrips() || isStaged(record)) return true;
    const Image picture = reading.picture();
    if (picture.isEmpty()) return false;
    record.isTallCapture = true;
    record.awaitsRedaction |= options_.redacts;
    const std::string png =
        VT_TRY(codec_.encode(picture, {.format = ExportFormat::png,
                                       .pixelsPerPoint = record.scale.value_or(1),
                                       .createdAt = reading.index().capturedAt}));
    VT_TRY(staging_.stage(png, reading.index().capturedAt, std::move(record)));
    logInfo("Scrolling", "a scrolling capture of {} rows that was cut short is staged",
            picture.height());
    return true;
  }

  [[nodiscard]] bool isStaged(const StagedCaptureRecord& record) const {
    const auto staged = staging_.staged();
    return staged && std::ranges::any_of(*staged, [&](const StagedCapture& one) {
             return record.entryID && one.record.entryID == record.entryID;
           });
  }

  void park(const Path& folder) {
    Path parked = folder;
    parked += ScrollingSpoolIndex::unreadableSuffix;
    const auto moved = files_.moveNew(folder, parked);
    logError("Scrolling", "nothing of {} can be read{}", folder.string(),
             moved ? "; it is kept as " + parked.filename().string() : std::string());
  }

  Files& files_;
  const ImageCodec& codec_;
  StagingFolder& staging_;
  SpoolRecoveryOptions options_;
};

}  // namespace

void recoverScrollingSpools(Files& files, const ImageCodec& codec, const Path& sessions,
                            StagingFolder& staging, const SpoolRecoveryOptions& options) {
  const auto items = files.list(sessions);
  if (!items) {
    if (items.error().kind != FailureKind::notFound) {
      logWarning("Scrolling", "{} can't be read: {}", sessions.string(), items.error().reason);
    }
    return;
  }
  SpoolRecovery recovery(files, codec, staging, options);
  for (const FolderItem& item : *items) {
    if (item.type != FileType::folder) continue;
    if (item.name.ends_with(ScrollingSpoolIndex::unreadableSuffix)) continue;
    if (item.name.ends_with(ScrollingSpoolIndex::overSuffix)) {
      removeScrollingSpool(files, sessions / item.name);
    } else {
      recovery.recover(sessions / item.name);
    }
  }
}

}  // namespace vantorel
