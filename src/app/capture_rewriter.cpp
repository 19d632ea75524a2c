#include "app/capture_rewriter.hpp"

#include <fmt/format.h>

#include <utility>
#include <variant>

#include "base/round_trip.hpp"
#include "base/size_text.hpp"
#include "capture/capture_transcoder.hpp"
#include "editor/entry_document.hpp"
#include "editor/shape_layers.hpp"
#include "library/doubtful_names.hpp"
#include "library/file_reach.hpp"
#include "library/known_files.hpp"

namespace vantorel {
namespace {

/// What a rewrite came to: a new file, or nothing to do.
using Rewritten = Result<std::optional<CaptureTranscoder::Result>, RewriteFailure>;

template <class Cause>
std::unexpected<RewriteFailure> notRewritten(Cause cause) {
  return std::unexpected(RewriteFailure{std::move(cause)});
}

std::unexpected<RewriteFailure> notRewritten(EntryFailure::Case what, std::string reason = {}) {
  return notRewritten(EntryFailure{what, std::move(reason)});
}

Rewritten toRewritten(CaptureTranscoder::CompressOutcome outcome) {
  if (auto* compacted = std::get_if<CaptureTranscoder::Compacted>(&outcome)) {
    return std::move(compacted->result);
  }
  if (const auto* large = std::get_if<CaptureTranscoder::TooLarge>(&outcome)) {
    return notRewritten(TranscodeFailure{TranscodeFailure::Case::tooLarge, {}, large->format});
  }
  if (const auto* failure = std::get_if<CaptureTranscoder::Failed>(&outcome)) {
    return notRewritten(failure->failure);
  }
  return std::nullopt;
}

}  // namespace

std::string_view coveredInFile(const ScreenshotEntry& entry) {
  return entry.originalPath ? "only what was redacted before it was converted is covered"
                            : "nothing is covered";
}

namespace {

std::string remarkOn(const RewriteJournal::Left& left) {
  return fmt::format(
      "The file before it, {}, could not be removed ({}). It stays there until \"vantorel library "
      "verify --repair\" can remove it.",
      left.path, left.reason);
}

/// Whoever redacted a capture may take its file for what they see in the editor.
std::string remarkOn(const CaptureTranscoder::Result& result, const ScreenshotEntry& entry) {
  std::string text =
      fmt::format("{} became {}{}.", sizeText(result.bytesBefore), sizeText(result.bytesAfter),
                  result.downscaled ? ", scaled down to 1x" : "");
  for (const CaptureNote& note : result.notes) text += " " + sentence(note);
  if (result.isBlanked) {
    text +=
        " What the redactions cover is gone from the new file; the picture as it was is kept as "
        "the "
        "original. The file doesn't hold the annotations: use render.";
  } else if (!entry.shapes.empty()) {
    text += fmt::format(" The file doesn't hold the annotations, and {} in it: use render.",
                        coveredInFile(entry));
  }
  return text;
}

}  // namespace

std::string sentence(const RewriteFailure& failure) {
  std::string text = std::visit([](const auto& cause) { return sentence(cause); }, failure.cause);
  if (!failure.isUnsettled) return text;
  return text +
         ", so it isn't known yet what came of it. The capture is as it was, and Vantorel clears "
         "up when the disk answers";
}

CaptureRewriter::CaptureRewriter(Services services)
    : services_(std::move(services)),
      journal_(std::make_shared<RewriteJournal>(*services_.files, services_.library->paths(),
                                                services_.library->clock())) {}

void CaptureRewriter::convert(const std::string& name, ExportFormat format, Done done) {
  rewrite(name, {.format = format}, std::move(done));
}

void CaptureRewriter::compress(const std::string& name, bool downscaleTo1x, Done done) {
  rewrite(name, {.downscaleTo1x = downscaleTo1x}, std::move(done));
}

void CaptureRewriter::rewrite(const std::string& name, Change change, Done done) {
  services_.library->whenReady(
      lifetime_.guard([this, name, change, done = std::move(done)]() mutable {
        begin(name, change, std::move(done));
      }));
}

void CaptureRewriter::begin(const std::string& name, Change change, Done done) {
  using Case = EntryFailure::Case;
  const HistoryStore& store = services_.library->store();
  const auto entry = store.resolve(name);
  if (!entry) return done(notRewritten(Case::unnamed, entry.error().reason));
  const ScreenshotEntry& before = **entry;
  if (auto refusal = store.indexRefusal()) {
    return done(notRewritten(Case::unchangeable, *std::move(refusal)));
  }
  if (before.medium != CaptureMedium::image) {
    return done(notRewritten(TranscodeFailure{TranscodeFailure::Case::noPicture, {}}));
  }
  // They could neither be scaled, nor could what they cover be blanked.
  if (hasUnreadAnnotations(before)) {
    return done(notRewritten(Case::unchangeable, unreadAnnotationsReason));
  }
  if (services_.surfaces->editors.isOpen(before.id)) {
    return done(notRewritten(EntryBusy{EntryWork::editing}));
  }
  auto claim = services_.library->claim(before.id, EntryWork::rewriting);
  if (!claim) return done(notRewritten(claim.error()));
  const auto ticket = services_.pendingWork->begin(QuitFilingNote::Item::rewrite);
  auto finished = [this, claim = std::make_shared<EntryClaim>(*std::move(claim)), ticket,
                   done = std::move(done)](RewriteReply reply) {
    claim->end();
    done(std::move(reply));
    services_.pendingWork->end(ticket);
  };
  services_.library->findFiles(
      {before.id}, Library::Claimed::byCaller, *services_.work,
      lifetime_.guard([this, id = before.id, change, finished = std::move(finished)](
                          const std::set<std::string>& unsettled) mutable {
        const EntryPointer found = services_.library->store().find(id);
        if (!found) return finished(notRewritten(Case::left));
        if (unsettled.contains(id)) return finished(notRewritten(Case::unsettled));
        transcode(found, change, std::move(finished));
      }));
}

void CaptureRewriter::transcode(const EntryPointer& entry, Change change, Done finished) {
  const ScreenshotEntry& before = *entry;
  CaptureTranscoder::Source source{.path = before.path,
                                   .scale = before.captureScale.value_or(1),
                                   .createdAt = before.capturedAt,
                                   .redacted = [entry](PixelSize size) {
                                     const EditorDocument document = documentOf(*entry, size);
                                     return redactedPixels(document.shapes, document.layers, size);
                                   }};
  if (!before.originalPath && !change.format) {
    source.keepOriginalAs = services_.library->paths().originals() /
                            (before.id + Path(before.path).extension().string());
  }
  roundTrip(
      *services_.work, services_.main,
      [source, change, asked = entry, journal = journal_, files = services_.files,
       paths = services_.library->paths(), now = services_.library->clock().now(),
       codec = services_.codec, entries = services_.library->store().entries(),
       quality = services_.settings->values().jpegQuality]() mutable {
        CaptureTranscoder transcoder(files, codec);
        // Files that entries name may come back, and what is put at a name in doubt may go.
        KnownFiles doubtful(*files);
        source.isReserved = [&](const Path& path) {
          return doubtful.hasName(path) ||
                 filesCalledLike(*files, entries, {path.string()}).hasName(path);
        };
        source.willMake = [&](const Path& path, const Path& temporary) {
          return journal->willMake(asked->id, path, temporary);
        };
        source.willReplace = [&](std::uint64_t bytes) {
          return journal->willReplace(asked->id, bytes);
        };
        Rewritten result = [&]() -> Rewritten {
          if (auto absence = absenceOf(*files, *asked)) {
            const std::string_view away = sentence(absence->reach);
            if (away.empty()) return notRewritten(*std::move(absence));
            return notRewritten(EntryFailure::Case::unchangeable, std::string(away));
          }
          journal->settle(entries);
          addDoubtfulNames(*files, paths, now, doubtful);
          const auto begun = journal->begin(asked->id, source.path, source.keepOriginalAs);
          if (!begun) {
            return notRewritten(
                TranscodeFailure{TranscodeFailure::Case::writeFailed, begun.error().reason,
                                 change.format.value_or(ExportFormat::png),
                                 change.format ? TranscodeTask::convert : TranscodeTask::compress});
          }
          if (!change.format) return toRewritten(transcoder.compress(source, change.downscaleTo1x));
          auto converted = transcoder.convert(source, *change.format, quality);
          if (!converted) return notRewritten(converted.error());
          if (converted->path == source.path) return std::nullopt;
          return std::move(*converted);
        }();
        if (result && *result) {
          CaptureTranscoder::Result& made = **result;
          made.identity = identifyFile(*files, made.path);
          if (made.oldPath) made.oldIdentity = identifyFile(*files, *made.oldPath);
        }
        return result;
      },
      lifetime_.guard([this, entry, source,
                       finished = std::move(finished)](Rewritten result) mutable {
        if (!result || !*result) {
          auto reply =
              result ? RewriteReply(RewrittenCapture{
                           entry, "The file is as it should be already; nothing was changed."})
                     : RewriteReply(std::unexpected(result.error()));
          return endJournal(entry->id, [reply = std::move(reply), finished = std::move(finished)](
                                           const RewriteJournal::Ended& ended) mutable {
            if (!reply) reply.error().isUnsettled = ended.isUnsettled;
            finished(reply);
          });
        }
        fileAway(*entry, source, **result, std::move(finished));
      }));
}

void CaptureRewriter::fileAway(const ScreenshotEntry& before,
                               const CaptureTranscoder::Source& source,
                               const CaptureTranscoder::Result& result, Done finished) {
  HistoryStore& store = services_.library->store();
  // The first file is the original; what came between it and this one is not needed any more, and
  // the journal clears it up.
  const auto changed = store.update(before.id, [&](ScreenshotEntry& entry) {
    entry.path = result.path.string();
    entry.fileIdentity = result.identity;
    if (entry.coveredFileSize && result.identity) entry.coveredFileSize = result.identity->size;
    followPictureSize(entry, result.pixelSizeBefore);
    followPictureSize(entry, result.pixelSize);
    entry.captureScale = result.scale;
    if (entry.originalPath) return;
    const auto& original =
        result.oldPath && !source.keepOriginalAs ? result.oldPath : source.keepOriginalAs;
    if (!original) return;
    entry.originalPath = original->string();
    if (original == result.oldPath) entry.originalIdentity = result.oldIdentity;
  });
  if (!changed) {
    // Taken out of the library meanwhile: both files are left to the user.
    return finished(notRewritten(EntryFailure::Case::left));
  }
  store.flush(lifetime_.guard([this, id = before.id, remark = remarkOn(result, before),
                               finished = std::move(finished)](Result<void> saved) mutable {
    // The next start clears up by what the index says then.
    if (!saved) {
      return finished(notRewritten(EntryFailure::Case::notSaved, saved.error().reason));
    }
    const EntryPointer entry = services_.library->store().find(id);
    if (!entry) return finished(notRewritten(EntryFailure::Case::left));
    endJournal(id, [entry, remark = std::move(remark),
                    finished = std::move(finished)](const RewriteJournal::Ended& ended) {
      finished(RewrittenCapture{entry, ended.left ? remark + " " + remarkOn(*ended.left) : remark});
    });
  }));
}

void CaptureRewriter::endJournal(const std::string& id, Ended then) {
  roundTrip(
      *services_.work, services_.main,
      [journal = journal_, id, entries = services_.library->store().entries()] {
        return journal->end(id, entries);
      },
      lifetime_.guard(std::move(then)));
}

}  // namespace vantorel
