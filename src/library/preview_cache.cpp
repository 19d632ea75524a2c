#include "library/preview_cache.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <list>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "base/area_downscale.hpp"
#include "base/log.hpp"
#include "base/round_trip.hpp"
#include "library/preview_name.hpp"

namespace vantorel {
namespace {

constexpr double quality = 0.85;

/// So long after its last use a preview may count as used then: each use would write otherwise.
constexpr double useInterval = 24.0 * 3600;

bool hasAlpha(const Image& image) {
  if (image.format() == PixelFormat::bgrx) return false;
  for (int y = 0; y < image.height(); ++y) {
    const auto row = image.row(y);
    for (std::size_t x = 3; x < row.size(); x += 4) {
      if (row[x] != 255) return true;
    }
  }
  return false;
}

}  // namespace

PixelSize previewedPart(PixelSize picture) {
  PixelSize part = picture;
  const auto width = static_cast<double>(part.width);
  const double aspect = width / part.height;
  const double wanted = static_cast<double>(previewSize.width) / previewSize.height;
  if (aspect < wanted) {
    part.height = std::max(1, static_cast<int>(std::lround(width / wanted)));
  } else if (aspect <= 2) {
    part.width = std::max(1, static_cast<int>(std::lround(part.height * wanted)));
  }
  return part;
}

Image previewOf(const Image& picture) {
  const PixelSize part = previewedPart(picture.size());
  const Image cropped =
      picture.cropped({(picture.width() - part.width) / 2, 0, part.width, part.height});
  const double scale = std::min({1.0, static_cast<double>(previewSize.width) / part.width,
                                 static_cast<double>(previewSize.height) / part.height});
  const auto scaled = [scale](int length) {
    return std::max(1, static_cast<int>(std::lround(length * scale)));
  };
  return downscaled(cropped, {scaled(part.width), scaled(part.height)});
}

/// The files of the previews, in the order of their use.
class PreviewCache::Shelf {
 public:
  Shelf(std::shared_ptr<Files> files, std::shared_ptr<const ImageCodec> codec,
        std::shared_ptr<const Clock> clock, PictureFinish finish, Path folder,
        std::uint64_t maximumBytes)
      : files_(std::move(files)),
        codec_(std::move(codec)),
        clock_(std::move(clock)),
        finish_(std::move(finish)),
        folder_(std::move(folder)),
        maximumBytes_(maximumBytes) {}

  /// An empty picture when there is none.
  [[nodiscard]] Image preview(const ScreenshotEntry& entry) {
    const auto status = files_->status(entry.path);
    if (!status || status->type != FileType::regular) return {};
    readOnce();
    const std::string name = PreviewName::whole(entry, *status);
    for (const char* const ending : {".jpg", ".png"}) {
      if (const Image kept = take(name + ending); !kept.isEmpty()) return kept;
    }
    const auto bytes = files_->read(entry.path);
    if (!bytes) return {};
    auto picture = codec_->decode(*bytes);
    if (!picture) return {};
    const auto finished = finish_(entry, *std::move(picture));
    if (!finished) return {};
    Image made = previewOf(*finished);
    keep(name, made);
    return made;
  }

 private:
  struct Item {
    std::string name;
    std::uint64_t size = 0;
    double used = 0;
  };
  using Order = std::list<Item>;  // the one used longest ago first

  void readOnce() {
    if (std::exchange(wasRead_, true)) return;
    const auto found = files_->list(folder_);
    if (!found) return;
    std::vector<Item> items;
    for (const FolderItem& one : *found) {
      if (!PreviewName::isOne(one.name)) continue;
      const auto status = files_->status(folder_ / one.name);
      if (!status || status->type != FileType::regular) continue;
      items.push_back({one.name, status->size, status->modified});
    }
    std::ranges::sort(items, {}, &Item::used);
    for (Item& item : items) append(std::move(item));
    makeRoom();
  }

  void append(Item item) {
    total_ += item.size;
    const std::string name = item.name;
    places_[name] = order_.insert(order_.end(), std::move(item));
  }

  void drop(Order::iterator item) {
    total_ -= item->size;
    places_.erase(item->name);
    order_.erase(item);
  }

  [[nodiscard]] Image take(const std::string& name) {
    const auto place = places_.find(name);
    if (place == places_.end()) return {};
    const Order::iterator item = place->second;
    const auto bytes = files_->read(folder_ / name);
    auto preview = bytes ? codec_->decode(*bytes) : Result<Image>(std::unexpected(bytes.error()));
    if (!preview) {
      static_cast<void>(files_->remove(folder_ / name));  // made again
      drop(item);
      return {};
    }
    order_.splice(order_.end(), order_, item);
    if (const double now = clock_->now(); now - item->used > useInterval) {
      // Its time is what tells the next run when it was used.
      if (files_->replace(folder_ / name, *bytes, Privacy::ownerOnly)) item->used = now;
    }
    return *std::move(preview);
  }

  void keep(const std::string& name, const Image& preview) {
    ImageEncoding encoding{.format = ExportFormat::jpeg, .quality = quality};
    if (hasAlpha(preview)) encoding.format = ExportFormat::png;
    const auto bytes = codec_->encode(preview, encoding);
    if (!bytes) return;
    const std::string file = name + (encoding.format == ExportFormat::png ? ".png" : ".jpg");
    auto made = files_->makeFolder(folder_, Privacy::ownerOnly);
    if (made) {
      made = files_->create(folder_ / file, *bytes, Privacy::ownerOnly, Durability::visible);
    }
    if (!made) {
      // It is made again next time; a full disk says so where something is lost by it.
      if (!std::exchange(hasWarned_, true)) {
        logWarning("Previews", "previews can't be kept: {}", made.error().reason);
      }
      return;
    }
    append({file, bytes->size(), clock_->now()});
    makeRoom();
  }

  void makeRoom() {
    while (total_ > maximumBytes_ && !order_.empty()) {
      static_cast<void>(files_->remove(folder_ / order_.front().name));
      drop(order_.begin());
    }
  }

  std::shared_ptr<Files> files_;
  std::shared_ptr<const ImageCodec> codec_;
  std::shared_ptr<const Clock> clock_;
  PictureFinish finish_;
  Path folder_;
  std::uint64_t maximumBytes_;
  bool wasRead_ = false;
  bool hasWarned_ = false;
  Order order_;
  std::unordered_map<std::string, Order::iterator> places_;
  std::uint64_t total_ = 0;
};

PreviewCache::PreviewCache(Services services)
    : services_(std::move(services)),
      shelf_(std::make_shared<Shelf>(services_.files, services_.codec, services_.clock,
                                     services_.finish, services_.folder, services_.maximumBytes)) {}

PreviewCache::~PreviewCache() = default;

void PreviewCache::want(const EntryList& entries) {
  wanted_.assign(entries.begin(), entries.end());
  if (!isMaking_) next();
}

void PreviewCache::next() {
  // Of an entry's earlier state no preview is made: it may show what is covered by now.
  while (!wanted_.empty() && !services_.isCurrent(wanted_.front())) wanted_.pop_front();
  isMaking_ = !wanted_.empty();
  if (!isMaking_) return;
  const EntryPointer entry = wanted_.front();
  roundTrip(
      *services_.work, services_.main,
      [shelf = shelf_, entry] {
        return entry->medium == CaptureMedium::image ? shelf->preview(*entry) : Image();
      },
      lifetime_.guard([this, entry](const Image& preview) {
        if (!wanted_.empty() && wanted_.front() == entry) wanted_.pop_front();
        // Told before the next one is begun, so that what scrolled away need not be made.
        if (onPreview) onPreview(entry, preview);
        next();
      }));
}

}  // namespace vantorel
