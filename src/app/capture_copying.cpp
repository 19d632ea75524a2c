#include "app/capture_copying.hpp"

#include <set>
#include <utility>

#include "app/absent_file.hpp"
#include "base/log.hpp"
#include "base/round_trip.hpp"
#include "editor/entry_document.hpp"
#include "library/entry_filter.hpp"

namespace vantorel {
namespace {

/// As it is shown. The failure's reason is a clause.
Result<std::string> pictureAsPNG(const CaptureCopying::Services& with,
                                 const ScreenshotEntry& entry) {
  constexpr auto unreadable = [] {
    return failed(FailureKind::malformed, "the screenshot couldn't be read");
  };
  if (hasUnreadAnnotations(entry)) {
    return failed(FailureKind::unsupported, "it has annotations that this version can't read");
  }
  auto bytes = with.files->read(entry.path);
  if (!bytes) {
    std::string absent = sentenceOfAbsence(*with.files, entry);
    return absent.empty() ? unreadable() : failed(bytes.error().kind, std::move(absent));
  }
  const bool isPlain = !isAnnotated(entry);
  if (isPlain && Path(entry.path).extension() == ".png") {
    if (!with.isWholePicture(PictureInMemory(*bytes))) return unreadable();
    return *std::move(bytes);
  }
  auto image = with.codec->decode(*bytes);
  if (!image) return unreadable();
  const ImageEncoding encoding{.format = ExportFormat::png,
                               .pixelsPerPoint = entry.captureScale.value_or(1)};
  if (isPlain) return with.codec->encode(*image, encoding);
  const EditorDocument document = documentOf(entry, image->size());
  auto drawn = with.draw(document, *std::move(image), entry.captureScale, encoding);
  if (!drawn) {
    logWarning("Clipboard", "{}", drawn.error().reason);
    return failed(drawn.error().kind, "its annotations couldn't be drawn");
  }
  return drawn;
}

}  // namespace

void CaptureCopying::copy(const ScreenshotEntry& entry, std::function<void(std::string)> done) {
  Clipboard* const clipboard = services_.clipboard ? services_.clipboard() : nullptr;
  if (clipboard == nullptr) return done("there is no clipboard here");
  roundTrip(
      *services_.work, services_.main,
      [with = services_, entry] { return pictureAsPNG(with, entry); },
      lifetime_.guard([clipboard, done = std::move(done)](Result<std::string> png) {
        if (!png) return done(png.error().reason);
        clipboard->setImage(std::move(*png), [done](const Result<void>& set) {
          if (!set) logWarning("Clipboard", "{}", set.error().reason);
          done(set ? "" : "the clipboard wouldn't take the image");
        });
      }));
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
  if (const auto refusal = refusalToLook(services_.library.store())) {
    return services_.alerts.notify("History", "The library can't be used now: " + *refusal + ".");
  }
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
