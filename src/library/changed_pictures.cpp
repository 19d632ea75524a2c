#include "library/changed_pictures.hpp"

#include <utility>

#include "base/log.hpp"
#include "base/round_trip.hpp"

namespace vantorel {

void ChangedPictures::fileChanged(const std::string& path) {
  const EntryPointer entry = services_.store.findByPath(path);
  if (!entry || entry->medium != CaptureMedium::image) return;
  roundTrip(
      *services_.work, services_.main,
      [&files = services_.files, codec = services_.codec, path] {
        return codec->pixelSize(files, path);
      },
      lifetime_.guard([this, path](const Result<PixelSize>& size) {
        if (size) found(path, *size);
      }));
}

void ChangedPictures::found(const std::string& path, PixelSize size) {
  const EntryPointer entry = services_.store.findByPath(path);
  if (!entry || services_.store.claims().isFileChanging(entry->id)) return;
  if (entry->pixelWidth == size.width && entry->pixelHeight == size.height) return;
  const auto updated = services_.store.update(
      entry->id, [&](ScreenshotEntry& changed) { services_.pictureHasSize(changed, size); });
  if (!updated) logWarning("History", "{}: {}", path, updated.error().reason);
}

}  // namespace vantorel
