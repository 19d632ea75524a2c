#include "app/capture_copying.hpp"

#include <set>
#include <utility>

#include "app/picture_file.hpp"
#include "base/log.hpp"
#include "base/round_trip.hpp"
#include "editor/entry_document.hpp"
#include "editor/records/output_failure.hpp"
#include "library/entry_filter.hpp"

namespace vantorel {
namespace {

using CopyCase = CopyFailure::Case;

std::unexpected<CopyFailure> notCopied(CopyCase what, std::string reason = {}) {
  return std::unexpected(CopyFailure{what, std::move(reason)});
}

/// As it is shown.
Result<std::string, CopyFailure> pictureAsPNG(const CaptureCopying::Services& with,
                                              const ScreenshotEntry& entry) {
  constexpr auto format = ExportFormat::png;
  auto png = pictureFileOf(entry, format, 1, {with.files, with.codec, with.draw});
  if (png) {
    const bool isWhole = !isOwnFile(entry, format) || with.isWholePicture(PictureInMemory(*png));
    if (!isWhole) return notCopied(CopyCase::unreadable);
    return *std::move(png);
  }
  using Case = PictureFileFailure::Case;
  switch (png.error().what) {
    case Case::unreadAnnotations: return notCopied(CopyCase::unreadAnnotations);
    case Case::notRead: break;
    case Case::noImage: return notCopied(CopyCase::unreadable);
    case Case::notDrawn:
      logWarning("Clipboard", "{}", png.error().why.reason);
      return notCopied(CopyCase::notDrawn);
    case Case::notEncoded:
      return notCopied(CopyCase::notEncoded, std::move(png.error().why.reason));
  }
  auto absence = absenceOf(*with.files, entry);
  if (!absence) return notCopied(CopyCase::unreadable);
  return std::unexpected(CopyFailure{CopyCase::fileAway, {}, *std::move(absence)});
}

}  // namespace

std::string sentence(const CopyFailure& failure) {
  switch (failure.what) {
    case CopyCase::noClipboard: return "there is no clipboard here";
    case CopyCase::silent: return "the clipboard doesn't answer";
    case CopyCase::refused: return sentence(OutputFailure::clipboardRefused);
    case CopyCase::unreadable: return "the screenshot couldn't be read";
    case CopyCase::fileAway: return sentence(failure.absence);
    case CopyCase::unreadAnnotations: return unreadAnnotationsReason;
    case CopyCase::notDrawn: return "its annotations couldn't be drawn";
    case CopyCase::notEncoded: return failure.reason;
  }
  std::unreachable();
}

void CaptureCopying::copy(const ScreenshotEntry& entry, Done done) {
  Clipboard* const clipboard = services_.clipboard ? services_.clipboard() : nullptr;
  if (clipboard == nullptr) return done(notCopied(CopyCase::noClipboard));
  roundTrip(
      *services_.work, services_.main,
      [with = services_, entry] { return pictureAsPNG(with, entry); },
      lifetime_.guard([clipboard, done = std::move(done)](Result<std::string, CopyFailure> png) {
        if (!png) return done(std::unexpected(std::move(png.error())));
        clipboard->setImage(std::move(*png), [done](const Result<void>& set) {
          if (!set) logWarning("Clipboard", "{}", set.error().reason);
          if (set) return done({});
          done(notCopied(CopyCase::refused));
        });
      }));
}

void CaptureCopying::renew(const ScreenshotEntry& before, const ScreenshotEntry& now) {
  Clipboard* const clipboard = services_.clipboard ? services_.clipboard() : nullptr;
  if (clipboard == nullptr) return;
  picture(before, [this, clipboard, now](Result<std::string, CopyFailure> png) {
    if (!png) return;
    clipboard->read(
        {"image/png"},
        lifetime_.guard([this, now, was = *std::move(png)](const Result<ClipboardItem>& item) {
          if (!item || item->bytes != was) return;
          copy(now, [](const Result<void, CopyFailure>& copied) {
            if (!copied) logWarning("Clipboard", "{}", sentence(copied.error()));
          });
        }));
  });
}

void CaptureCopying::picture(const ScreenshotEntry& entry,
                             std::function<void(Result<std::string, CopyFailure>)> done) {
  roundTrip(
      *services_.work, services_.main,
      [with = services_, entry] { return pictureAsPNG(with, entry); },
      lifetime_.guard(std::move(done)));
}

void CaptureCopying::copyForUser(const std::string& id) {
  const Done report = lifetime_.guard([this](const Result<void, CopyFailure>& copied) {
    if (!copied) services_.alerts.notify("Copy failed", sentence(copied.error()));
  });
  services_.library.findFiles(
      {id}, Library::Claimed::no, *services_.work,
      lifetime_.guard([this, id, report](const std::set<std::string>& unsettled) {
        const EntryPointer found = services_.library.store().find(id);
        if (!found || unsettled.contains(id)) return report(notCopied(CopyCase::unreadable));
        copy(*found, report);
      }));
}

void CaptureCopying::copyRecent(int number) {
  const auto count = static_cast<std::size_t>(number);
  const std::vector<EntryPointer> pictures = recentPictures(count);
  if (pictures.size() == count) return copyForUser(pictures.back()->id);
  if (auto refusal = refusalToLook(services_.library.store())) {
    return services_.alerts.notify(
        "History", sentence(EntryFailure{EntryFailure::Case::libraryClosed, *std::move(refusal)}));
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
