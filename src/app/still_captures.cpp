#include "app/still_captures.hpp"

#include <chrono>
#include <utility>

#include "base/round_trip.hpp"
#include "capture/scrolling_spool_recovery.hpp"
#include "library/file_reach.hpp"

namespace vantorel {
namespace {

// A grab takes milliseconds; a service that needs longer than this is stuck, unless a dialog of the
// desktop holds it up.
constexpr std::chrono::seconds grabBound{5};
constexpr std::chrono::seconds grabCap{60};

}  // namespace

StillCaptures::StillCaptures(Services services) : services_(std::move(services)) {
  const LibraryPaths& paths = services_.library.paths();
  staging_ = std::make_shared<StagingFolder>(services_.files, paths.stagedCaptures());
  const auto settings = [this]() -> const SettingsValues& { return services_.settings.values(); };
  const auto originals =
      std::make_shared<RedactedOriginals>(services_.files, paths.redactedOriginals());
  redaction_ =
      std::make_unique<StagedRedaction>(StagedRedaction::Services{.main = services_.main,
                                                                  .work = services_.filing,
                                                                  .codec = services_.codec,
                                                                  .staging = staging_,
                                                                  .originals = originals,
                                                                  .redact = services_.redact});
  filing_ = std::make_unique<StillCaptureFiling>(StillCaptureFiling::Services{
      .main = services_.main,
      .work = services_.filing,
      .staging = staging_,
      .placement =
          std::make_shared<CaptureFilePlacement>(services_.files, services_.codec, staging_),
      .originals = originals,
      .redaction = redaction_.get(),
      .library = &services_.library,
      .fileSettings = [this] { return fileSettings(); },
      .activeCollectionID = [settings] { return settings().activeCollectionID; }});
  countdown_ = std::make_unique<TimedCaptureController>(services_.main, services_.clock,
                                                        services_.countdown, services_.hotKeys);
  pipeline_ = std::make_unique<StillCapturePipeline>(StillCapturePipeline::Services{
      .main = services_.main,
      .work = services_.staging,
      .clock = services_.clock,
      .screen = &services_.screen,
      .windows = &services_.windows,
      .codec = services_.codec,
      .staging = staging_,
      .filing = filing_.get(),
      .countdown = countdown_.get(),
      .iconCover = services_.desktopCover
                       ? std::make_shared<DesktopIconCover>(services_.desktopCover)
                       : nullptr,
      .overlay = services_.overlay,
      .backend = [this] { return backend(); },
      .rememberedRegion = [settings] { return settings().rememberedRegion; },
      .rememberRegion =
          [this](RememberedRegion region) {
            services_.settings.set(&SettingsValues::rememberedRegion, std::move(region));
          },
      .setActivity =
          [this](CaptureActivity activity, bool running) {
            if (onActivity) onActivity(activity, running);
          }});
  recovery_ = std::make_unique<StagedCaptureRecovery>(
      StagedCaptureRecovery::Services{.main = services_.main,
                                      .work = services_.staging,
                                      .staging = staging_,
                                      .filing = filing_.get(),
                                      .store = &services_.library.store(),
                                      .redactedOriginals = paths.redactedOriginals(),
                                      .stagesFirst = [this] { return sessionRecovery(); },
                                      .joining = services_.filing});
  storageObservation_ = services_.settings.observe(&SettingsValues::storageDirectory, [this] {
    if (!services_.library.isReady()) return;
    filing_->unclaimKept();
    recoverStaged([](int) {});
  });
}

CaptureFileSettings StillCaptures::fileSettings() const {
  const SettingsValues& values = services_.settings.values();
  const FileIdentity* const seen =
      lastSeenIn(values.storageDirectory, services_.library.store().entries());
  return {.storageFolder = values.storageDirectory,
          .defaultFolder = services_.defaultCaptures,
          .seenInStorage = seen ? BoxedOptional(*seen) : BoxedOptional<FileIdentity>(),
          .format = values.exportFormat,
          .quality = values.jpegQuality,
          .filenameTemplate = values.filenameTemplate};
}

StillCaptureBackend StillCaptures::backend() const {
  const SettingsValues& values = services_.settings.values();
  return {.windowShadow = values.includeWindowShadow,
          .hidesDesktopIcons = values.hideDesktopIconsWhileCapturing,
          .redactsAfterCapture = values.smartRedactAfterCapture,
          .adjustsArea = values.adjustBeforeCapturing,
          .bound = {.first = grabBound, .cap = grabCap, .extending = [this] {
                      return services_.screen.isSystemDialogVisible();
                    }}};
}

void StillCaptures::import(std::shared_ptr<Import> import, StillCaptureFiling::Filed filed) {
  struct Filing {
    std::shared_ptr<Import> import;
    StillCaptureFiling::Filed filed;
  };
  const auto filing = std::make_shared<Filing>(Filing{std::move(import), std::move(filed)});
  roundTrip(
      *services_.staging, services_.main,
      [filing, staging = staging_]() -> Result<StagedCapture> {
        const Import& wanted = *filing->import;
        if (!wanted.staged) return staging->stage(wanted.png, wanted.capturedAt, wanted.record);
        // Filing may have noted where it put the file.
        StagedCapture staged = *wanted.staged;
        staged.record = VT_TRY(staging->record(staged.path));
        return staged;
      },
      lifetime_.guard([this, filing](Result<StagedCapture> staged) {
        if (!staged) return filing->filed(std::unexpected(staged.error()));
        filing_->claim(staged->path);
        const bool isNew = !std::exchange(filing->import->staged, *staged);
        if (isNew && filing->import->onStaged) filing->import->onStaged(staged->path);
        filing_->file(*std::move(staged), {}, std::move(filing->filed));
      }));
}

StillCaptures::Stage StillCaptures::stage() const {
  return [staging = staging_](std::string_view png, double capturedAt,
                              StagedCaptureRecord record) -> Result<void> {
    VT_TRY(staging->stage(png, capturedAt, std::move(record)));
    return {};
  };
}

std::shared_ptr<ScrollingSpool> StillCaptures::makeSpool(ScrollingSpool::Session session) const {
  return std::make_shared<ScrollingSpool>(services_.files, services_.codec,
                                          services_.library.paths().scrollingSessions(),
                                          std::move(session));
}

std::function<void()> StillCaptures::sessionRecovery() const {
  return [files = services_.files, codec = services_.codec, staging = staging_,
          sessions = services_.library.paths().scrollingSessions(),
          options = SpoolRecoveryOptions{
              .now = services_.clock->now(),
              .redacts = services_.settings.values().smartRedactAfterCapture}] {
    recoverScrollingSpools(*files, *codec, sessions, *staging, options);
  };
}

void StillCaptures::recoverStaged(std::function<void(int filed)> done) {
  recovery_->sweep(services_.clock->now(), std::move(done));
}

// What is being staged on that runner is claimed here before the answer comes.
void StillCaptures::whenStagingKnown(std::function<void(const std::set<Path>& underWay)> known) {
  roundTrip(
      *services_.staging, services_.main, [] {},
      lifetime_.guard([this, known = std::move(known)] { known(filing_->pathsUnderWay()); }));
}

}  // namespace vantorel
