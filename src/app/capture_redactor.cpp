#include "app/capture_redactor.hpp"

#include <fmt/format.h>

#include <utility>

#include "app/document_storing.hpp"
#include "base/log.hpp"
#include "base/round_trip.hpp"
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

/// The format that a file's name says; PNG where it says none of ours.
ExportFormat formatOf(const Path& path) {
  return formatOfFileName(path.string()).value_or(ExportFormat::png);
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

std::string sentence(const RedactionFault& fault) {
  using enum RedactionFault::Case;
  switch (fault.what) {
    case notRedacted:
      return "Smart Redact covered nothing in this capture when it was taken. Redactions drawn on "
             "it are taken away in Annotate.";
    case alreadyUncovered: return "What Smart Redact covered in this capture is uncovered already.";
    case alreadyRedacted: return "What Smart Redact covered in this capture is covered.";
    case originalGone:
      return fmt::format("The capture's original couldn't be read: {}.", fault.reason);
    case notWritten: return fmt::format("The capture couldn't be changed: {}.", fault.reason);
  }
  std::unreachable();
}

std::string sentence(const RedactionFailure& failure) {
  return std::visit([](const auto& one) { return sentence(one); }, failure);
}

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

/// What was put in the place of a capture's file.
struct CaptureRedactor::NewFile {
  PixelSize size;
  std::optional<FileIdentity> identity;
};

CaptureRedactor::CaptureRedactor(Services services)
    : services_(std::move(services)),
      originals_(std::make_shared<RedactedOriginals>(
          services_.files, services_.library.paths().redactedOriginals())) {}

bool CaptureRedactor::isAutoRedacted(const ScreenshotEntry& entry) const {
  return entry.originalPath && Path(*entry.originalPath) == originals_->original(entry.id);
}

bool CaptureRedactor::canReapply(const ScreenshotEntry& entry) const {
  return entry.autoRedactions && !entry.autoRedactions->empty() && !isAutoRedacted(entry);
}

/// Calls `go` with a claimed capture as it is once it is known which file is its own.
template <class Value>
void CaptureRedactor::withCapture(const std::string& name, EntryWork work, const Done<Value>& done,
                                  Go go) {
  services_.library.whenReady(lifetime_.guard([this, name, work, done, go = std::move(go)] {
    const HistoryStore& store = services_.library.store();
    const auto named = store.resolve(name);
    if (!named) {
      return done(notDone(AnnotationFault{AnnotationFault::Case::notFound, named.error().reason}));
    }
    const ScreenshotEntry& entry = **named;
    if (entry.medium != CaptureMedium::image) {
      return done(notDone(AnnotationFault{AnnotationFault::Case::noPicture}));
    }
    if (hasUnreadAnnotations(entry)) {
      return done(notDone(AnnotationFault{AnnotationFault::Case::unreadAnnotations}));
    }
    const bool changes = work == EntryWork::rewriting;
    if (changes) {
      if (auto refusal = store.indexRefusal()) {
        return done(notDone(EntryFailure{EntryFailure::Case::unchangeable, *std::move(refusal)}));
      }
      if (services_.surfaces.editors.isOpen(entry.id)) {
        return done(notDone(EntryBusy{EntryWork::editing}));
      }
    }
    auto claim = services_.library.claim(entry.id, work);
    if (!claim) return done(notDone(claim.error()));
    const auto held = std::make_shared<Held>();
    held->claim = *std::move(claim);
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

void CaptureRedactor::remove(const std::string& name, Done<EntryPointer> done) {
  withCapture<EntryPointer>(
      name, EntryWork::rewriting, done,
      [this, done](const std::shared_ptr<Held>& held, const EntryPointer& entry) {
        if (!isAutoRedacted(*entry)) {
          held->end();
          return done(notDone(canReapply(*entry) ? RedactionFault::Case::alreadyUncovered
                                                 : RedactionFault::Case::notRedacted));
        }
        roundTrip(
            *services_.work, services_.main,
            [entry, originals = originals_, files = services_.files, codec = services_.codec,
             quality = services_.settings.values().jpegQuality]() -> Result<NewFile> {
              std::string bytes = VT_TRY(originals->read(entry->id));
              const PixelSize size = VT_TRY(codec->pixelSize(bytes));
              const ExportFormat format = formatOf(entry->path);
              if (format != ExportFormat::png) {
                const Image original = VT_TRY(codec->decode(bytes));
                bytes = VT_TRY(
                    codec->encode(original, {.format = format,
                                             .quality = quality,
                                             .pixelsPerPoint = entry->captureScale.value_or(1),
                                             .createdAt = entry->capturedAt}));
              }
              VT_TRY(files->replace(entry->path, bytes, Privacy::byUmask));
              return NewFile{size, identifyFile(*files, entry->path)};
            },
            lifetime_.guard([this, held, entry, done](Result<NewFile> file) {
              replaced(held, entry, false, std::move(file), done);
            }));
      });
}

void CaptureRedactor::reapply(const std::string& name, Done<EntryPointer> done) {
  withCapture<EntryPointer>(
      name, EntryWork::rewriting, done,
      [this, done](const std::shared_ptr<Held>& held, const EntryPointer& entry) {
        if (!canReapply(*entry)) {
          held->end();
          return done(notDone(isAutoRedacted(*entry) ? RedactionFault::Case::alreadyRedacted
                                                     : RedactionFault::Case::notRedacted));
        }
        struct Original {
          Image picture;
          std::string png;
        };
        roundTrip(
            *services_.work, services_.main,
            [entry, originals = originals_, files = services_.files,
             codec = services_.codec]() -> Result<Original> {
              // One that is kept is the original for certain: the file may be covered already, by a
              // run that was cut short.
              auto bytes = originals->read(entry->id);
              if (!bytes) bytes = files->read(entry->path);
              if (!bytes) return std::unexpected(bytes.error());
              Image picture = VT_TRY(codec->decode(*bytes));
              const PictureHeader header = VT_TRY(codec->header(*bytes));
              if (header.format != ExportFormat::png) {
                *bytes = VT_TRY(codec->encode(picture, {.format = ExportFormat::png}));
              }
              return Original{std::move(picture), *std::move(bytes)};
            },
            lifetime_.guard([this, held, entry, done](Result<Original> original) {
              if (!original) {
                return replaced(held, entry, true, std::unexpected(original.error()), done);
              }
              const auto png = std::make_shared<std::string>(std::move(original->png));
              services_.autoRedact.bake(
                  original->picture, entry->captureScale.value_or(1), *entry->autoRedactions,
                  lifetime_.guard([this, held, entry, done,
                                   png](Result<Image, SceneFailure> baked) {
                    if (!baked) {
                      held->end();
                      return done(notDone(std::move(baked.error())));
                    }
                    roundTrip(
                        *services_.work, services_.main,
                        [entry, png, baked = *std::move(baked), originals = originals_,
                         files = services_.files, codec = services_.codec,
                         quality = services_.settings.values().jpegQuality]() -> Result<NewFile> {
                          const std::string bytes = VT_TRY(codec->encode(
                              baked, {.format = formatOf(entry->path),
                                      .quality = quality,
                                      .pixelsPerPoint = entry->captureScale.value_or(1),
                                      .createdAt = entry->capturedAt}));
                          VT_TRY(originals->keep(entry->id, *png, *entry->autoRedactions));
                          VT_TRY(files->replace(entry->path, bytes, Privacy::byUmask));
                          return NewFile{baked.size(), identifyFile(*files, entry->path)};
                        },
                        lifetime_.guard([this, held, entry, done](Result<NewFile> file) {
                          replaced(held, entry, true, std::move(file), done);
                        }));
                  }));
            }));
      });
}

/// The capture's file is another one now, or it is not: says so in the entry.
void CaptureRedactor::replaced(const std::shared_ptr<Held>& held, const EntryPointer& entry,
                               bool isRedacted, Result<NewFile> file,
                               const Done<EntryPointer>& done) {
  if (!file) {
    held->end();
    const bool isMissing = file.error().kind == FailureKind::notFound && !isRedacted;
    return done(
        notDone(isMissing ? RedactionFault::Case::originalGone : RedactionFault::Case::notWritten,
                file.error().reason));
  }
  HistoryStore& store = services_.library.store();
  const auto changed = store.update(entry->id, [&](ScreenshotEntry& now) {
    now.fileIdentity = file->identity;
    followPictureSize(now, file->size);
    now.originalPath =
        isRedacted ? std::optional(originals_->original(now.id).string()) : std::nullopt;
    now.originalIdentity.reset();
    // What is seen now is to be read anew.
    now.ocrVersion = 0;
  });
  if (!changed) {
    held->end();
    return done(notDone(EntryFailure{EntryFailure::Case::left}));
  }
  store.flush(lifetime_.guard([this, held, id = entry->id, isRedacted, done](Result<void> saved) {
    if (!saved) {
      held->end();
      return done(notDone(EntryFailure{EntryFailure::Case::notSaved, saved.error().reason}));
    }
    // Only now: until here the index names the original.
    roundTrip(
        *services_.work, services_.main,
        [originals = originals_, id, isRedacted] {
          if (isRedacted) {
            originals->forgetShapes(id);
          } else {
            originals->discard(id);
          }
        },
        lifetime_.guard([this, held, id, done] {
          held->end();
          const EntryPointer now = services_.library.store().find(id);
          if (!now) return done(notDone(EntryFailure{EntryFailure::Case::left}));
          done(now);
        }));
  }));
}

}  // namespace vantorel
