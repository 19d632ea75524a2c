#include "app/capture_auto_redact.hpp"

#include <fmt/format.h>

#include <utility>

#include "base/log.hpp"
#include "base/random_id.hpp"
#include "base/round_trip.hpp"
#include "editor/entry_document.hpp"

namespace vantorel {

std::vector<Shape> redactionsOf(const std::vector<SmartRedact::Proposal>& proposals,
                                RedactStyle style) {
  std::vector<Shape> shapes;
  for (const SmartRedact::Proposal& proposal : proposals) {
    Shape& shape = shapes.emplace_back();
    shape.id = randomID();
    shape.type = ShapeType::redact;
    shape.color = "#000000";
    shape.x1 = proposal.rect.x;
    shape.y1 = proposal.rect.y;
    shape.x2 = proposal.rect.right();
    shape.y2 = proposal.rect.bottom();
    shape.redactStyle = style;
  }
  return shapes;
}

std::string_view clause(CaptureAutoRedact::Failure failure) {
  switch (failure) {
    case CaptureAutoRedact::Failure::couldNotLook: return "Smart Redact couldn't look through it";
    case CaptureAutoRedact::Failure::couldNotBake: return "Smart Redact couldn't redact it";
  }
  std::unreachable();
}

void CaptureAutoRedact::run(Image original, double pixelsPerPoint,
                            std::move_only_function<void(Outcome)> done) {
  const auto run = std::make_shared<Run>();
  run->original = std::move(original);
  run->pixelsPerPoint = pixelsPerPoint;
  run->done = std::move(done);
  run->ticket = services_.pendingWork.begin(QuitFilingNote::Item::redactedCapture);
  running_.insert(run);
  run->scan = services_.scans.scan(run->original, pixelsPerPoint,
                                   enabledDetectors(services_.settings.values()),
                                   lifetime_.guard([this, run](SensitiveScans::Answer answer) {
                                     scanned(run, std::move(answer));
                                   }));
}

void CaptureAutoRedact::scanned(const std::shared_ptr<Run>& run, SensitiveScans::Answer answer) {
  if (!answer) {
    return finish(run, Failed{Failure::couldNotLook, sentence(answer.error())});
  }
  if (answer->proposals.empty()) {
    return finish(run, Clean{answer->unavailable, std::move(answer->reading)});
  }
  std::vector<Shape> shapes =
      redactionsOf(answer->proposals, services_.settings.values().defaultRedactStyle);
  bake(run->original, run->pixelsPerPoint, shapes,
       lifetime_.guard([this, run, shapes,
                        unavailable = answer->unavailable](Result<Image, SceneFailure> image) {
         if (!image) return finish(run, Failed{Failure::couldNotBake, sentence(image.error())});
         finish(run, Baked{*std::move(image), run->original, shapes, unavailable});
       }));
}

void CaptureAutoRedact::bake(Image original, double pixelsPerPoint, std::vector<Shape> shapes,
                             std::move_only_function<void(Result<Image, SceneFailure>)> done) {
  roundTrip(
      *services_.work, services_.main,
      [draw = services_.draw, original = std::move(original), pixelsPerPoint,
       shapes = std::move(shapes)]() mutable {
        ScreenshotEntry entry;
        entry.shapes = std::move(shapes);
        const EditorDocument document = documentOf(entry, original.size());
        return draw(document, std::move(original), pixelsPerPoint);
      },
      std::move(done));
}

void CaptureAutoRedact::finish(const std::shared_ptr<Run>& run, Outcome outcome) {
  if (const auto* const failure = std::get_if<Failed>(&outcome)) {
    logError("SmartRedact", "{}: {}", clause(failure->what), failure->reason);
  }
  // What is called may end this.
  running_.erase(run);
  const auto ticket = run->ticket;
  PendingArchiveWork& pending = services_.pendingWork;
  run->done(std::move(outcome));
  pending.end(ticket);
}

RedactCapture CaptureAutoRedact::forFiling() {
  return [this](Image capture, double pixelsPerPoint,
                std::move_only_function<void(CaptureRedaction)> redacted) {
    run(std::move(capture), pixelsPerPoint,
        [redacted = std::move(redacted)](Outcome outcome) mutable {
          CaptureRedaction answer;
          if (const auto* const clean = std::get_if<Clean>(&outcome)) {
            answer.unavailable = clean->unavailable;
          } else if (auto* const baked = std::get_if<Baked>(&outcome)) {
            answer.unavailable = baked->unavailable;
            answer.value =
                CaptureRedaction::Baked{std::move(baked->image), std::move(baked->shapes)};
          } else {
            const Failed& failure = std::get<Failed>(outcome);
            answer.value = CaptureRedaction::Failed{std::string(clause(failure.what))};
          }
          redacted(std::move(answer));
        });
  };
}

}  // namespace vantorel
