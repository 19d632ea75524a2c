#include "capture/still_capture_filing.hpp"

#include <fmt/format.h>

#include <utility>

#include "base/log.hpp"
#include "base/random_id.hpp"
#include "base/round_trip.hpp"

namespace vantorel {
namespace {

/// What a user is told when not all was looked for, a sentence; mostly empty.
std::string redactionRemark(VisualDetectors unavailable) {
  const bool faces = unavailable.contains(VisualDetectors::faces);
  const bool people = unavailable.contains(VisualDetectors::people);
  if (!faces && !people) return {};
  return fmt::format("Smart Redact couldn't look for {}.", faces && people ? "faces and people"
                                                           : faces         ? "faces"
                                                                           : "people");
}

}  // namespace

void StillCaptureFiling::file(StagedCapture staged, Image image, Filed filed, Reached reached) {
  claim(staged.path);
  filed = [ended = lifetime_.guard([this, path = staged.path] { pathsUnderWay_.erase(path); }),
           filed = std::move(filed)](Result<CaptureOutcome::Saved> result) mutable {
    ended();
    filed(std::move(result));
  };
  services_.library->whenReady(
      lifetime_.guard([this, staged = std::move(staged), image = std::move(image),
                       filed = std::move(filed), reached = std::move(reached)]() mutable {
        if (reached) reached("library");
        const auto& id = staged.record.entryID;
        if (staged.record.awaitsRedaction && !(id && services_.library->store().find(*id))) {
          return redact(std::move(staged), std::move(image), std::move(filed), std::move(reached));
        }
        fileNow(std::move(staged), std::move(image), std::move(filed), std::move(reached));
      }));
}

void StillCaptureFiling::redact(StagedCapture staged, Image image, Filed filed, Reached reached) {
  if (!staged.record.entryID) staged.record.entryID = randomID();
  struct Waiting {
    Filed filed;
    Reached reached;
  };
  auto waiting = std::make_shared<Waiting>(Waiting{std::move(filed), std::move(reached)});
  services_.redaction->run(
      std::move(staged), std::move(image),
      lifetime_.guard([this, waiting](Result<StagedRedaction::Publishable> result) {
        if (!result) return waiting->filed(std::unexpected(std::move(result.error())));
        if (waiting->reached) waiting->reached("redaction");
        // A covered picture is staged under a name of its own.
        const Path path = result->staged.path;
        claim(path);
        auto published = [ended = lifetime_.guard([this, path] { pathsUnderWay_.erase(path); }),
                          waiting, picture = result->image, covered = result->covered,
                          unavailable =
                              result->unavailable](Result<CaptureOutcome::Saved> saved) mutable {
          ended();
          if (saved) {
            saved->picture = std::move(picture);
            saved->covered = covered;
            if (std::string remark = redactionRemark(unavailable); !remark.empty()) {
              saved->remarks.push_back(std::move(remark));
            }
          }
          waiting->filed(std::move(saved));
        };
        fileNow(std::move(result->staged), std::move(result->image), std::move(published),
                waiting->reached);
      }));
}

void StillCaptureFiling::fileNow(StagedCapture staged, Image image, Filed filed, Reached reached) {
  HistoryStore& store = services_.library->store();
  const auto& id = staged.record.entryID;
  if (const EntryPointer known = id ? store.find(*id) : nullptr) {
    // An earlier run got as far as the index, or another process has filed it.
    if (known->path == staged.path.string()) return fileAgain(known, staged, std::move(filed));
    forgetStaged(staged, known->path, [known, filed = std::move(filed)]() mutable {
      filed(CaptureOutcome::Saved{known, {}, {}});
    });
    return;
  }
  if (!id) staged.record.entryID = randomID();
  struct Placing {
    StagedCapture staged;
    Filed filed;
    Reached reached;
  };
  auto placing =
      std::make_shared<Placing>(Placing{std::move(staged), std::move(filed), std::move(reached)});
  roundTrip(
      *services_.work, services_.main,
      [placing, image = std::move(image), settings = services_.fileSettings(),
       placement = services_.placement,
       originals = services_.originals]() mutable -> Result<PlacedCapture> {
        PlacedCapture placed =
            VT_TRY(placement->place(placing->staged, std::move(image), settings));
        const StagedCaptureRecord& record = placing->staged.record;
        if (record.isRedacted) placed.covering = originals->shapes(*record.entryID);
        return placed;
      },
      lifetime_.guard([this, placing](Result<PlacedCapture> result) {
        if (!result) {
          return services_.main->post(
              [placing, failure = result.error()] { placing->filed(std::unexpected(failure)); });
        }
        if (placing->reached) placing->reached("file");
        addToLibrary(std::move(placing->staged), std::move(*result), std::move(placing->filed),
                     placing->reached);
      }));
}

void StillCaptureFiling::addToLibrary(StagedCapture staged, PlacedCapture placed, Filed filed,
                                      const Reached& reached) {
  HistoryStore& store = services_.library->store();
  ScreenshotEntry entry;
  entry.id = *staged.record.entryID;
  entry.capturedAt = staged.capturedAt;
  entry.path = placed.path.string();
  entry.fileIdentity = placed.identity;
  entry.pixelWidth = placed.pixelSize.width;
  entry.pixelHeight = placed.pixelSize.height;
  entry.captureScale = staged.record.scale;
  entry.isTallCapture = staged.record.isTallCapture;
  entry.medium = CaptureMedium::image;
  entry.sourceApp = staged.record.sourceApp;
  if (staged.record.isRedacted) {
    entry.originalPath = services_.originals->original(entry.id).string();
    entry.autoRedactions = placed.covering;
    if (placed.identity) entry.coveredFileSize = placed.identity->size;
  }
  // It may have been deleted, or typed by hand.
  const auto collection = services_.activeCollectionID();
  const bool isThere = collection && store.findCollection(*collection) != nullptr;
  if (isThere) entry.collectionIDs.push_back(*collection);
  CaptureOutcome::Saved saved{
      std::make_shared<const ScreenshotEntry>(entry), std::move(placed.notes), {}};
  if (collection && !isThere) {
    saved.remarks.emplace_back(
        "The collection that captures are to go into is gone, so this one is in none.");
  }
  const auto unlisted = [](const std::string& reason) {
    return "The capture is saved, but not yet listed in History: " + reason + ".";
  };
  // While the index cannot be written the staged file stays: the launch that can write it files
  // the capture from there, and finds the file already in place.
  if (const auto refusal = store.indexRefusal()) {
    claimedPaths_.erase(staged.path);
    saved.indexFailure = unlisted(*refusal);
    filed(std::move(saved));
    return;
  }
  if (const auto added = store.add(std::move(entry)); !added) {
    saved.indexFailure = unlisted(added.error().reason);
    filed(std::move(saved));
    return;
  }
  auto landed = [this, staged = std::move(staged), saved = std::move(saved),
                 filed = std::move(filed), unlisted, reached](Result<void> written) mutable {
    if (reached) reached("index");
    if (!written) {
      saved.indexFailure = unlisted(written.error().reason);
      filed(std::move(saved));
      return;
    }
    const Path path = saved.entry->path;
    if (path == staged.path) {
      keptPaths_.insert(path);
      filed(std::move(saved));
      return;
    }
    forgetStaged(staged, path, [saved = std::move(saved), filed = std::move(filed)]() mutable {
      filed(std::move(saved));
    });
  };
  store.flush(lifetime_.guard(std::move(landed)));
}

/// Gives a capture that is listed under its staged name, for no folder could be used, its final
/// file.
void StillCaptureFiling::fileAgain(const EntryPointer& known, StagedCapture staged, Filed filed) {
  keptPaths_.insert(staged.path);
  if (const auto refusal = services_.library->store().indexRefusal()) {
    return filed(failed(FailureKind::denied, *refusal));
  }
  auto claim = services_.library->claim(known->id, EntryWork::moving);
  if (!claim) return filed(failed(FailureKind::busy, sentence(claim.error())));
  struct Moving {
    EntryClaim claim;
    StagedCapture staged;
    Filed filed;
  };
  const auto moving =
      std::make_shared<Moving>(Moving{*std::move(claim), std::move(staged), std::move(filed)});
  roundTrip(
      *services_.work, services_.main,
      [moving, settings = services_.fileSettings(), placement = services_.placement] {
        return placement->place(moving->staged, {}, settings);
      },
      lifetime_.guard([this, moving, id = known->id](Result<PlacedCapture> placed) {
        if (!placed) return moving->filed(std::unexpected(placed.error()));
        if (placed->path == moving->staged.path) {
          return moving->filed(failed(FailureKind::denied, "no captures folder could be used"));
        }
        moved(id, *placed, moving->staged, [moving](Result<CaptureOutcome::Saved> saved) {
          moving->claim.end();
          moving->filed(std::move(saved));
        });
      }));
}

void StillCaptureFiling::moved(const std::string& id, const PlacedCapture& placed,
                               const StagedCapture& staged, Filed filed) {
  HistoryStore& store = services_.library->store();
  const auto updated = store.update(id, [&](ScreenshotEntry& entry) {
    entry.path = placed.path.string();
    entry.fileIdentity = placed.identity;
  });
  if (!updated) return filed(std::unexpected(updated.error()));
  keptPaths_.erase(staged.path);
  store.flush(lifetime_.guard([this, staged, entry = store.find(id),
                               filed = std::move(filed)](Result<void> written) mutable {
    if (!written) return filed(std::unexpected(written.error()));
    forgetStaged(staged, entry->path, [entry, filed = std::move(filed)]() mutable {
      filed(CaptureOutcome::Saved{entry, {}, {}});
    });
  }));
}

void StillCaptureFiling::unclaimKept() {
  for (const Path& path : std::exchange(keptPaths_, {})) claimedPaths_.erase(path);
}

void StillCaptureFiling::forgetStaged(const StagedCapture& staged, const Path& placed,
                                      std::move_only_function<void()> done) {
  roundTrip(
      *services_.work, services_.main,
      [staged, placed, staging = services_.staging, originals = services_.originals] {
        // The staged name first: its file may be the very one that is placed, and without its
        // record it would look like somebody else's.
        if (const auto discarded = staging->discard(staged); !discarded) {
          logWarning("Filing", "{} could not be removed: {}", staged.path.string(),
                     discarded.error().reason);
        }
        if (const auto removed = staging->removeRecord(placed); !removed) {
          logWarning("Filing", "the record of {} could not be removed: {}", placed.string(),
                     removed.error().reason);
        }
        if (staged.record.isRedacted) originals->forgetShapes(*staged.record.entryID);
      },
      std::move(done));
}

}  // namespace vantorel
