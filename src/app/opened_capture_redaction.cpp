#include <fmt/format.h>

#include <utility>

#include "app/opened_capture.hpp"
#include "base/round_trip.hpp"
#include "capture/redacted_originals.hpp"
#include "editor/entry_document.hpp"

namespace vantorel {

std::optional<KeptRedaction> OpenedCapture::keptRedaction() const {
  const EntryPointer now = entry();
  if (!now || !services_.switchRedaction) return std::nullopt;
  return vantorel::keptRedaction(*now, services_.library.store().paths());
}

/// Annotations stay where they are: the other picture has to be as large. A file that was made
/// smaller since gets its original back from elsewhere, and what is drawn is scaled with it then.
void OpenedCapture::switchRedaction(bool covers,
                                    std::function<void(Result<Switched, std::string>)> done) {
  const auto refuse = [done](std::string why) { done(std::unexpected(std::move(why))); };
  const EntryPointer now = entry();
  const auto kept = keptRedaction();
  if (!now || !kept || kept->isCovering == covers || wasChanged_) {
    return refuse(wasChanged_ ? "The picture was changed by another program."
                              : "The picture has nothing that Smart Redact covered.");
  }
  const Path original =
      services_.library.store().paths().redactedOriginals() / originalName(origin_.entryID);
  roundTrip(
      *services_.disk, services_.main,
      [files = services_.files, codec = services_.codec, covers, original,
       size = base_.size()]() -> bool {
        if (covers) return true;
        const auto bytes = files->read(original);
        const auto large = bytes ? codec->pixelSize(*bytes) : Result<PixelSize>(size);
        return !large || *large == size;  // what cannot be read is told of by who puts it back
      },
      lifetime_.guard([this, covers, done, refuse](bool isAsLarge) {
        if (!isAsLarge) {
          return refuse(
              "The capture was made smaller since it was taken. Close Annotate and remove the "
              "redactions in History.");
        }
        services_.switchRedaction(
            origin_.entryID, covers,
            lifetime_.guard([this, done](const Result<void, std::string>& switched) {
              if (!switched) return done(std::unexpected(switched.error()));
              takeOver(done);
            }));
      }));
}

/// The file's picture, as it is now, is what is open.
void OpenedCapture::takeOver(const std::function<void(Result<Switched, std::string>)>& done) {
  const EntryPointer now = entry();
  if (!now) return done(std::unexpected(std::string("The capture has left History.")));
  roundTrip(
      *services_.disk, services_.main,
      [files = services_.files, codec = services_.codec, path = now->path] {
        return readPictureFile(path, 0, *files, *codec);
      },
      lifetime_.guard([this, now, done](Result<Image> picture) {
        if (!picture || picture->size() != base_.size()) {
          return done(std::unexpected(
              fmt::format("The capture was changed, but couldn't be read again: {}. Close it and "
                          "open it again.",
                          picture ? "it has another size" : picture.error().reason)));
        }
        base_ = *picture;
        wasChanged_ = false;
        done(Switched{*std::move(picture), now->ocrBlocks});
      }));
}

}  // namespace vantorel
