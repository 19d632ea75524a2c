#include "app/capture_copying.hpp"

#include <set>
#include <utility>

#include "base/log.hpp"

namespace vantorel {
namespace {

Result<std::string> pictureAsPNG(const Files& files, const ImageCodec& codec, const Path& path,
                                 double scale) {
  std::string bytes = VT_TRY(files.read(path));
  if (path.extension() == ".png") return bytes;
  const Image image = VT_TRY(codec.decode(bytes));
  return codec.encode(image, {.format = ExportFormat::png, .pixelsPerPoint = scale});
}

}  // namespace

void CaptureCopying::copy(const ScreenshotEntry& entry, std::function<void(std::string)> done) {
  Clipboard* const clipboard = services_.clipboard ? services_.clipboard() : nullptr;
  if (clipboard == nullptr) return done("there is no clipboard here");
  services_.work->post(
      [files = services_.files, codec = services_.codec, path = entry.path,
       scale = entry.captureScale.value_or(1), main = services_.main,
       read = lifetime_.guard([clipboard, done = std::move(done)](Result<std::string>& png) {
         if (!png) return done("the screenshot couldn't be read");
         clipboard->setImage(std::move(*png), [done](const Result<void>& set) {
           if (!set) logWarning("Clipboard", "{}", set.error().reason);
           done(set ? "" : "the clipboard wouldn't take the image");
         });
       })]() mutable {
        main->post([png = pictureAsPNG(*files, *codec, path, scale),
                    read = std::move(read)]() mutable { read(png); });
      });
}

void CaptureCopying::copyForUser(const std::string& id) {
  services_.library.findFiles({id}, Library::Claimed::no, *services_.work,
                              lifetime_.guard([this, id](const std::set<std::string>& unsettled) {
                                const EntryPointer found = services_.library.store().find(id);
                                std::function<void(std::string)> report =
                                    lifetime_.guard([this](const std::string& problem) {
                                      if (!problem.empty())
                                        services_.alerts.notify("Copy failed", problem);
                                    });
                                if (!found || unsettled.contains(id))
                                  return report("the screenshot couldn't be read");
                                copy(*found, std::move(report));
                              }));
}

void CaptureCopying::copyRecent(int number) {
  const auto count = static_cast<std::size_t>(number);
  const std::vector<EntryPointer> pictures = recentPictures(count);
  if (pictures.size() == count) return copyForUser(pictures.back()->id);
  services_.alerts.notify("Nothing to copy", "There are fewer captures in History than that.");
}

std::vector<EntryPointer> CaptureCopying::recentPictures(std::size_t count) const {
  std::vector<EntryPointer> pictures;
  for (const EntryPointer& entry : services_.library.store().newestFirst()) {
    if (pictures.size() == count) break;
    if (entry->medium == CaptureMedium::image) pictures.push_back(entry);
  }
  return pictures;
}

}  // namespace vantorel
