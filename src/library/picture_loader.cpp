#include "library/picture_loader.hpp"

#include <utility>

#include "base/round_trip.hpp"

namespace vantorel {
namespace {

Result<Image> pictureOf(const Files& files, const ImageCodec& codec, const PictureFinish& finish,
                        const ScreenshotEntry& entry) {
  const auto bytes = files.read(entry.path);
  if (!bytes) {
    const auto absence = absenceOf(files, entry);
    return failed(
        bytes.error().kind,
        absence ? sentence(*absence) : "The picture can't be read: " + bytes.error().reason + ".");
  }
  auto picture = codec.decode(*bytes);
  if (picture) return finish(entry, *std::move(picture));
  return failed(picture.error().kind,
                "The capture couldn't be read as an image: " + picture.error().reason + ".");
}

}  // namespace

void PictureLoader::load(const EntryPointer& entry, Loaded done) {
  asked_.renew();
  roundTrip(
      *services_.work, services_.main,
      [files = services_.files, codec = services_.codec, finish = services_.finish, entry] {
        return pictureOf(*files, *codec, finish, *entry);
      },
      asked_.guard([done = std::move(done)](const Result<Image>& picture) { done(picture); }));
}

}  // namespace vantorel
