#include "app/capture_redactor.hpp"

#include <fmt/format.h>

#include <utility>

#include "app/document_storing.hpp"
#include "base/log.hpp"
#include "base/round_trip.hpp"
#include "capture/kept_redaction.hpp"
#include "editor/entry_document.hpp"
#include "editor/redaction_cover.hpp"
#include "editor/shape_layers.hpp"
#include "library/file_reach.hpp"

namespace vantorel {
namespace {

std::unexpected<RedactionFailure> notDone(AnnotationFailure failure) {
  return std::unexpected(RedactionFailure(std::move(failure)));
}

std::unexpected<RedactionFailure> notDone(RedactionFault::Case what, std::string reason = {}) {
  return std::unexpected(RedactionFailure(RedactionFault{what, std::move(reason)}));
}

/// `found` without what the redactions of `entry` cover already.
void leaveOutCovered(const ScreenshotEntry& entry, PixelSize size, SmartRedact::Outcome& found) {
  const EditorDocument document = documentOf(entry, size);
  std::vector<Box> covered;
  for (const PixelRect& area : redactedPixels(document.shapes, document.layers, size)) {
    covered.push_back({1.0 * area.x, 1.0 * area.y, 1.0 * area.width, 1.0 * area.height});
  }
  std::erase_if(found.proposals, [&](const SmartRedact::Proposal& proposal) {
    return isCovered(proposal.rect, covered);
  });
}

}  // namespace

/// A capture that is worked on, and what ends with it.
struct CaptureRedactor::Held {
  EntryClaim claim;
  PendingArchiveWork* pending = nullptr;
  std::optional<PendingArchiveWork::Ticket> ticket;

  /// Before the answer comes.
  void end() {
    claim.end();
    if (ticket) pending->end(*std::exchange(ticket, std::nullopt));
  }
};

CaptureRedactor::CaptureRedactor(Services services)
    : services_(std::move(services)),
      fileRedaction_({.main = services_.main,
                      .work = services_.work,
                      .files = services_.files,
                      .codec = services_.codec,
                      .library = services_.library,
                      .settings = services_.settings,
                      .autoRedact = services_.autoRedact}) {}

/// Calls `go` with a claimed capture as it is once it is known which file is its own.
template <class Value>
void CaptureRedactor::withCapture(const std::string& name, EntryWork work, const Done<Value>& done,
                                  Go go, Library::Claimed claimed) {
  services_.library.whenReady(lifetime_.guard([this, name, work, done, go = std::move(go),
                                               claimed] {
    const HistoryStore& store = services_.library.store();
    const auto named = store.resolve(name);
    if (!named) {
      return done(notDone(AnnotationFault{AnnotationFault::Case::notFound, named.error().reason}));
    }
    const ScreenshotEntry& entry = **named;
    if (entry.medium != CaptureMedium::image) {
      return done(notDone(RedactionFault::Case::noPicture));
    }
    if (hasUnreadAnnotations(entry)) {
      return done(notDone(AnnotationFault{AnnotationFault::Case::unreadAnnotations}));
    }
    const bool changes = work == EntryWork::rewriting;
    if (changes) {
      if (auto refusal = store.indexRefusal()) {
        return done(notDone(EntryFailure{EntryFailure::Case::unchangeable, *std::move(refusal)}));
      }
      if (claimed == Library::Claimed::no && services_.surfaces.editors.isOpen(entry.id)) {
        return done(notDone(EntryBusy{EntryWork::editing}));
      }
    }
    const auto held = std::make_shared<Held>();
    if (claimed == Library::Claimed::no) {
      auto claim = services_.library.claim(entry.id, work);
      if (!claim) return done(notDone(claim.error()));
      held->claim = *std::move(claim);
    }
    if (changes) {
      held->pending = &services_.pendingWork;
      held->ticket = services_.pendingWork.begin(QuitFilingNote::Item::rewrite);
    }
    services_.library.findFiles({entry.id}, Library::Claimed::byCaller, *services_.work,
                                lifetime_.guard([this, id = entry.id, held, done,
                                                 go](const std::set<std::string>& unsettled) {
                                  using Case = EntryFailure::Case;
                                  const EntryPointer found = services_.library.store().find(id);
                                  if (found && !unsettled.contains(id)) return go(held, found);
                                  held->end();
                                  done(notDone(EntryFailure{found ? Case::unsettled : Case::left}));
                                }));
  }));
}

void CaptureRedactor::readAndScan(const Path& path, double pixelsPerPoint, Done<Scan> done) {
  roundTrip(
      *services_.work, services_.main,
      [path, files = services_.files, codec = services_.codec] {
        return readPictureFile(path, 0, *files, *codec);
      },
      lifetime_.guard([this, path, pixelsPerPoint, done = std::move(done)](Result<Image> picture) {
        if (!picture) {
          return done(notDone(AnnotationFault{AnnotationFault::Case::captureNotRead,
                                              picture.error().reason, path.string()}));
        }
        // The scan goes with the last who knows of it.
        const auto place = std::make_shared<std::shared_ptr<SensitiveScans::Scan>>();
        *place = services_.scans.scan(
            *picture, pixelsPerPoint, enabledDetectors(services_.settings.values()),
            lifetime_.guard(
                [this, place, size = picture->size(), done](SensitiveScans::Answer answer) {
                  const auto scan = *place;
                  scans_.erase(scan);
                  if (!answer) return done(std::unexpected(RedactionFailure(answer.error())));
                  done(Scan{size, *std::move(answer)});
                }));
        scans_.insert(*place);
      }));
}

void CaptureRedactor::scanPicture(const Path& path, Done<Scan> done) {
  readAndScan(path, 1, std::move(done));
}

void CaptureRedactor::scanCapture(const std::string& name, Done<Scan> done) {
  withCapture<Scan>(name, EntryWork::reading, done,
                    [this, done](const std::shared_ptr<Held>& held, const EntryPointer& entry) {
                      readAndScan(entry->path, entry->captureScale.value_or(1),
                                  [held, entry, done](Answer<Scan> scan) {
                                    held->end();
                                    if (scan) leaveOutCovered(*entry, scan->size, scan->found);
                                    done(std::move(scan));
                                  });
                    });
}

void CaptureRedactor::apply(const std::string& name, Wanted wanted, Done<Applied> done) {
  withCapture<Applied>(
      name, EntryWork::rewriting, done,
      [this, wanted = std::move(wanted), done](const std::shared_ptr<Held>& held,
                                               const EntryPointer& asked) {
        readAndScan(
            asked->path, asked->captureScale.value_or(1),
            [this, held, id = asked->id, wanted, done](Answer<Scan> scan) {
              const auto answer = [held, done](Answer<Applied> result) {
                held->end();
                done(std::move(result));
              };
              if (!scan) return answer(std::unexpected(std::move(scan.error())));
              const EntryPointer entry = services_.library.store().find(id);
              if (!entry) return answer(notDone(EntryFailure{EntryFailure::Case::left}));
              SmartRedact::Outcome& found = scan->found;
              leaveOutCovered(*entry, scan->size, found);
              std::erase_if(found.proposals, [&](const SmartRedact::Proposal& proposal) {
                return !wanted.kinds.empty() && !wanted.kinds.contains(proposal.kind);
              });
              if (found.proposals.empty()) return answer(Applied{entry, {}, found.unavailable});
              EditorDocument document = documentOf(*entry, scan->size);
              const RedactStyle style =
                  wanted.style.value_or(services_.settings.values().defaultRedactStyle);
              for (Shape& shape : redactionsOf(found.proposals, style)) {
                document.shapes.push_back(std::move(shape));
              }
              storeDocument(
                  services_.library, id, document, scan->size, IfUnsaved::keep,
                  lifetime_.guard([answer, found](Result<EntryPointer, EntryFailure> stored) {
                    if (!stored) return answer(notDone(std::move(stored.error())));
                    answer(Applied{*stored, found.proposals, found.unavailable});
                  }));
            });
      });
}

void CaptureRedactor::switchTo(bool covers, const std::string& id, Library::Claimed claimed,
                               std::function<void(Result<void, std::string>)> done) {
  const auto changed = [done = std::move(done)](const Answer<EntryPointer>& answer) {
    if (!answer) return done(std::unexpected(sentence(answer.error())));
    done({});
  };
  covers ? reapply(id, changed, claimed) : remove(id, changed, claimed);
}

void CaptureRedactor::remove(const std::string& name, Done<EntryPointer> done,
                             Library::Claimed claimed) {
  withCapture<EntryPointer>(
      name, EntryWork::rewriting, done,
      [this, done](const std::shared_ptr<Held>& held, const EntryPointer& entry) {
        const auto kept = keptRedaction(*entry, services_.library.paths());
        if ((kept && kept->isCovering) || entry->redactionChange) {
          return fileRedaction_.uncover(entry, answerOf(held, done));
        }
        held->end();
        done(notDone(kept ? RedactionFault::Case::alreadyUncovered
                          : RedactionFault::Case::notRedacted));
      },
      claimed);
}

void CaptureRedactor::reapply(const std::string& name, Done<EntryPointer> done,
                              Library::Claimed claimed) {
  withCapture<EntryPointer>(
      name, EntryWork::rewriting, done,
      [this, done](const std::shared_ptr<Held>& held, const EntryPointer& entry) {
        const auto kept = keptRedaction(*entry, services_.library.paths());
        const bool isCutShort = entry->redactionChange && entry->autoRedactions;
        if ((kept && !kept->isCovering) || isCutShort) {
          return fileRedaction_.cover(entry, answerOf(held, done));
        }
        held->end();
        done(notDone(kept ? RedactionFault::Case::alreadyRedacted
                          : RedactionFault::Case::notRedacted));
      },
      claimed);
}

CaptureRedactor::Done<EntryPointer> CaptureRedactor::answerOf(const std::shared_ptr<Held>& held,
                                                              Done<EntryPointer> done) {
  return [held, done = std::move(done)](Answer<EntryPointer> answer) {
    held->end();
    done(std::move(answer));
  };
}

void CaptureRedactor::finishCutShort() {
  const EntryList entries = services_.library.store().entries();
  for (const EntryPointer& entry : entries) {
    if (!entry->redactionChange) continue;
    const auto told = [id = entry->id](const Answer<EntryPointer>& answer) {
      if (!answer) logWarning("SmartRedact", "{}: {}", id, sentence(answer.error()));
    };
    entry->redactionChange->covers ? reapply(entry->id, told) : remove(entry->id, told);
  }
}

}  // namespace vantorel
