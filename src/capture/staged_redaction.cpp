#include "capture/staged_redaction.hpp"

#include <fmt/format.h>

#include <string_view>
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

std::string scanningWords(std::size_t captures) {
  if (captures == 0) return {};
  constexpr std::string_view scanning = "Scanning for sensitive text";
  if (captures == 1) return std::string(scanning);
  return fmt::format("{} in {} captures", scanning, captures);
}

void StagedRedaction::run(StagedCapture staged, Image image, Done done) {
  if (!services_.redact) {
    return done(
        failed(FailureKind::unsupported, std::string("Smart Redact can't run, ") + keptPrivate));
  }
  // Those that wait are read again when it is their turn: pictures of whole displays add up.
  if (!waiting_.empty()) image = {};
  waiting_.push_back({std::move(staged), std::move(image), std::move(done)});
  if (waiting_.size() == 1) begin();
  changed_.notify();
}

void StagedRedaction::begin() {
  Waiting& first = waiting_.front();
  auto done = lifetime_.guard([this](Result<Publishable> result) { end(std::move(result)); });
  if (!first.image.isEmpty()) {
    return look(first.staged, std::exchange(first.image, {}), std::move(done));
  }
  roundTrip(
      *services_.work, services_.main,
      [staged = first.staged, codec = services_.codec, staging = services_.staging,
       originals = services_.originals]() -> Result<Image> {
        const std::string png = VT_TRY(originalPNG(*staging, *originals, staged));
        return codec->decode(png);
      },
      lifetime_.guard(
          [this, staged = first.staged, done = std::move(done)](Result<Image> original) mutable {
            if (!original) return done(std::unexpected(original.error()));
            look(std::move(staged), *std::move(original), std::move(done));
          }));
}

void StagedRedaction::end(Result<Publishable> result) {
  Done done = std::move(waiting_.front().done);
  waiting_.pop_front();
  // What is filed next may end the program.
  auto goOn = lifetime_.guard([this] {
    if (!waiting_.empty()) begin();
    changed_.notify();
  });
  done(std::move(result));
  goOn();
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
