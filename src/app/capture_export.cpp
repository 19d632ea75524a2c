#include "app/capture_export.hpp"

#include <fmt/format.h>

#include <utility>

#include "app/picture_file.hpp"
#include "base/round_trip.hpp"

namespace vantorel {
std::string sentence(const ExportFailure& failure) {
  if (const auto* const file = std::get_if<OutputFileFailure>(&failure)) return sentence(*file);
  std::string reason = std::get<Failure>(failure).reason;
  if (!reason.ends_with('.')) reason += '.';
  return "The capture couldn't be handed out: " + reason;
}

void CaptureExport::read(const EntryPointer& entry, ExportFormat format, Done<std::string> done) {
  roundTrip(
      *services_->work, services_->main,
      [entry, format, services = services_, quality = services_->settings->values().jpegQuality]()
          -> Result<std::string, ExportFailure> {
        auto file = pictureFileOf(*entry, format, quality,
                                  {services->files, services->codec, services->draw});
        if (!file) return std::unexpected(std::move(file.error().why));
        return *std::move(file);
      },
      lifetime_.guard(std::move(done)));
}

void CaptureExport::write(const EntryPointer& entry, ExportFormat format, const Path& output,
                          Done<void> done) {
  read(entry, format,
       lifetime_.guard([this, output,
                        done = std::move(done)](Result<std::string, ExportFailure> bytes) {
         if (!bytes) return done(std::unexpected(std::move(bytes.error())));
         const HistoryStore& store = *services_->store;
         roundTrip(
             *services_->work, services_->main,
             [bytes = std::move(*bytes), output, services = services_,
              kept = ProtectedFiles{.entries = store.entries(),
                                    .paths = store.paths(),
                                    .originals = store.paths().originals(),
                                    .settings =
                                        services_->settingsFile}]() -> Result<void, ExportFailure> {
               VT_TRY(writeOutput(*services->files, output, bytes, kept));
               return {};
             },
             lifetime_.guard(done));
       }));
}

void CaptureExport::saveAs(const EntryPointer& entry, const Path& file, Done<Path> done) {
  const auto named = formatOfFileName(file.filename().string());
  const auto own = formatOfFileName(Path(entry->path).filename().string());
  const ExportFormat format = named ? *named : own.value_or(ExportFormat::png);
  Path output = file;
  if (!named) output += fmt::format(".{}", fileExtension(format));
  write(entry, format, output,
        [output, done = std::move(done)](const Result<void, ExportFailure>& written) {
          if (!written) return done(std::unexpected(written.error()));
          done(output);
        });
}

}  // namespace vantorel
