#include "app/capture_export.hpp"

#include <fmt/format.h>

#include <utility>

#include "base/round_trip.hpp"

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

Result<void, ExportFailure> writeTo(Files& files, const Path& output, std::string_view bytes,
                                    const ProtectedFiles& kept) {
  VT_TRY(checkOutput(files, output, kept));
  // A link goes on being one.
  const Result<Path> file = files.resolved(output);
  if (auto written = files.replace(file ? *file : output, bytes, Privacy::byUmask); !written) {
    return std::unexpected(OutputFileFailure{OutputFileFailure::Case::notWritten, output,
                                             std::move(written.error().reason)});
  }
  return {};
}

}  // namespace

std::string sentence(const ExportFailure& failure) {
  if (const auto* const file = std::get_if<OutputFileFailure>(&failure)) return sentence(*file);
  return "The capture couldn't be handed out: " + std::get<Failure>(failure).reason + ".";
}

void CaptureExport::read(const EntryPointer& entry, ExportFormat format, Done<std::string> done) {
  roundTrip(
      *services_->work, services_->main,
      [entry, format, services = services_, quality = services_->settings->values().jpegQuality]()
          -> Result<std::string, ExportFailure> {
        return pictureOf(*entry, format, quality, *services->files, *services->codec);
      },
      lifetime_.guard(std::move(done)));
}

void CaptureExport::write(const EntryPointer& entry, ExportFormat format, const Path& output,
                          Done<void> done) {
  read(entry, format,
       lifetime_.guard(
           [this, output, done = std::move(done)](Result<std::string, ExportFailure> bytes) {
             if (!bytes) return done(std::unexpected(std::move(bytes.error())));
             const HistoryStore& store = *services_->store;
             roundTrip(
                 *services_->work, services_->main,
                 [bytes = std::move(*bytes), output, services = services_,
                  kept = ProtectedFiles{.entries = store.entries(),
                                        .paths = store.paths(),
                                        .originals = store.paths().originals(),
                                        .settings = services_->settingsFile}] {
                   return writeTo(*services->files, output, bytes, kept);
                 },
                 lifetime_.guard(done));
           }));
}

}  // namespace vantorel
