#include "capture/staged_redaction.hpp"

#include <utility>
#include <variant>

#include "base/round_trip.hpp"

namespace vantorel {
namespace {

constexpr const char* keptPrivate =
    "so it is kept private where it was staged, and it is tried again at the next launch";

/// The PNG bytes of the original: those kept by a run that was cut short, or the staged ones.
Result<std::string> originalPNG(const StagingFolder& staging, const RedactedOriginals& originals,
                                const StagedCapture& staged) {
  if (staged.record.entryID) {
    if (auto kept = originals.read(*staged.record.entryID)) return kept;
  }
  return staging.read(staged);
}

}  // namespace

void StagedRedaction::run(StagedCapture staged, Image image, Done done) {
  if (!services_.redact) {
    return done(
        failed(FailureKind::unsupported, std::string("Smart Redact can't run, ") + keptPrivate));
  }
  if (!image.isEmpty()) return look(std::move(staged), std::move(image), std::move(done));
  struct Reading {
    StagedCapture staged;
    Done done;
  };
  auto reading = std::make_shared<Reading>(Reading{std::move(staged), std::move(done)});
  roundTrip(
      *services_.work, services_.main,
      [reading, codec = services_.codec, staging = services_.staging,
       originals = services_.originals]() -> Result<Image> {
        const std::string png = VT_TRY(originalPNG(*staging, *originals, reading->staged));
        return codec->decode(png);
      },
      lifetime_.guard([this, reading](Result<Image> original) {
        if (!original) return reading->done(std::unexpected(original.error()));
        look(std::move(reading->staged), *std::move(original), std::move(reading->done));
      }));
}

void StagedRedaction::look(StagedCapture staged, Image original, Done done) {
  const double scale = staged.record.scale.value_or(1);
  services_.redact(original, scale,
                   lifetime_.guard([this, staged = std::move(staged), original,
                                    done = std::move(done)](CaptureRedaction redaction) mutable {
                     settle(std::move(staged), std::move(original), std::move(redaction),
                            std::move(done));
                   }));
}

void StagedRedaction::settle(StagedCapture staged, Image original, CaptureRedaction redaction,
                             Done done) {
  if (const auto* const failure = std::get_if<CaptureRedaction::Failed>(&redaction.value)) {
    return done(failed(FailureKind::other, failure->reason + ", " + keptPrivate));
  }
  auto* const baked = std::get_if<CaptureRedaction::Baked>(&redaction.value);
  Publishable publishable{.staged = std::move(staged),
                          .image = baked != nullptr ? baked->image : std::move(original),
                          .covered = baked != nullptr ? baked->shapes.size() : 0,
                          .unavailable = redaction.unavailable};
  roundTrip(
      *services_.work, services_.main,
      [publishable = std::move(publishable), codec = services_.codec, staging = services_.staging,
       originals = services_.originals,
       shapes = baked != nullptr ? std::move(baked->shapes)
                                 : std::vector<Shape>()]() mutable -> Result<Publishable> {
        StagedCapture& raw = publishable.staged;
        StagedCaptureRecord record = raw.record;
        record.awaitsRedaction = false;
        if (publishable.covered == 0) {
          raw.record = std::move(record);
          VT_TRY(staging->update(raw));
          // A run that was cut short may have kept one.
          if (raw.record.entryID) originals->discard(*raw.record.entryID);
          return std::move(publishable);
        }
        const std::string png =
            VT_TRY(codec->encode(publishable.image, {.format = ExportFormat::png,
                                                     .pixelsPerPoint = record.scale.value_or(1),
                                                     .createdAt = raw.capturedAt}));
        const std::string untouched = VT_TRY(originalPNG(*staging, *originals, raw));
        VT_TRY(originals->keep(*record.entryID, untouched, shapes));
        record.isRedacted = true;
        StagedCapture covered = VT_TRY(staging->stage(png, raw.capturedAt, std::move(record)));
        if (auto discarded = staging->discard(raw); !discarded) {
          return std::unexpected(std::move(discarded.error()));
        }
        publishable.staged = std::move(covered);
        return std::move(publishable);
      },
      std::move(done));
}

}  // namespace vantorel
