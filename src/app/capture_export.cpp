#include "app/capture_export.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <utility>

namespace vantorel {
namespace {

Result<std::string> pictureOf(const ScreenshotEntry& entry, ExportFormat format, double quality,
                              const Files& files, const ImageCodec& codec) {
  std::string bytes = VT_TRY(files.read(entry.path));
  if (Path(entry.path).extension().string() == fmt::format(".{}", fileExtension(format))) {
    return bytes;
  }
  const Image image = VT_TRY(codec.decode(bytes));
  return codec.encode(
      image,
      {.format = format, .quality = quality, .pixelsPerPoint = entry.captureScale.value_or(1)});
}

bool isBelow(const Path& path, const Path& folder) {
  const auto [inFolder, inPath] = std::ranges::mismatch(folder, path);
  return inFolder == folder.end();
}

}  // namespace

void CaptureExport::read(const EntryPointer& entry, ExportFormat format, Done<std::string> done) {
  services_->work->post([entry, format, services = services_,
                         quality = services_->settings->values().jpegQuality,
                         landed = alive_.guard(std::move(done))]() mutable {
    auto bytes = pictureOf(*entry, format, quality, *services->files, *services->codec);
    std::expected<std::string, std::string> answer =
        bytes
            ? std::expected<std::string, std::string>(std::move(*bytes))
            : std::unexpected("The capture couldn't be handed out: " + bytes.error().reason + ".");
    services->main->post([answer = std::move(answer), landed = std::move(landed)]() mutable {
      landed(std::move(answer));
    });
  });
}

void CaptureExport::write(const EntryPointer& entry, ExportFormat format, const Path& output,
                          Done<void> done) {
  std::error_code ignored;
  const Path real = std::filesystem::weakly_canonical(output, ignored);
  const Path& path = real.empty() ? output : real;
  if (services_->store->findByPath(path.string()) ||
      isBelow(path, services_->store->paths().data)) {
    return done(std::unexpected(
        fmt::format("Couldn't write {}: it belongs to the library.", output.string())));
  }
  read(entry, format,
       alive_.guard([this, output = path, done](std::expected<std::string, std::string> bytes) {
         if (!bytes) return done(std::unexpected(std::move(bytes.error())));
         services_->work->post([bytes = std::move(*bytes), output, services = services_,
                                landed = alive_.guard(done)]() mutable {
           const auto there = services->files->status(output);
           const bool isOther = there && there->type != FileType::regular;
           const Result<void> written =
               isOther ? failed(FailureKind::exists, "it is not a regular file")
                       : services->files->replace(output, bytes, Privacy::byUmask);
           std::expected<void, std::string> answer;
           if (!written) {
             answer = std::unexpected(
                 fmt::format("Couldn't write {}: {}.", output.string(), written.error().reason));
           }
           services->main->post([answer = std::move(answer), landed = std::move(landed)]() mutable {
             landed(std::move(answer));
           });
         });
       }));
}

}  // namespace vantorel
