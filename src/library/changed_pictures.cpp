#include "library/changed_pictures.hpp"

#include <utility>

#include "base/log.hpp"

namespace vantorel {

void ChangedPictures::fileChanged(const std::string& path) {
  const EntryPointer entry = services_.store.findByPath(path);
  if (!entry || entry->medium != CaptureMedium::image) return;
  services_.work->post([&files = services_.files, codec = services_.codec, main = services_.main,
                        path, reply = lifetime_.guard([this, path](const Result<PixelSize>& size) {
                          if (size) found(path, *size);
                        })]() mutable {
    auto size = codec->pixelSize(files, path);
    main->post([size = std::move(size), reply = std::move(reply)]() mutable { reply(size); });
  });
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
