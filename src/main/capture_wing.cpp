#include "main/capture_wing.hpp"

#include <string_view>
#include <utility>

#include "base/log.hpp"
#include "base/round_trip.hpp"
#include "library/whole_picture.hpp"
#include "main/scene_module.hpp"
#include "main/terminal_surfaces.hpp"

namespace vantorel {
namespace {

/// In bytes; a photo has a tenth of it.
constexpr std::uint64_t largestCoverImage = 100'000'000;

StillCaptures::Services captureServices(CaptureWing& wing) {
  DesktopWing& desktop = wing.desktop;
  DesktopUi* const ui = desktop.ui;
  StillCaptures::Services services{
      .main = desktop.main,
      .staging = desktop.lanes.prompt.queue("com.hollen.Vantorel.captures"),
      .filing = desktop.lanes.disks.queue("com.hollen.Vantorel.filing"),
      .clock = desktop.clock,
      .files = desktop.files,
      .codec = desktop.codec,
      .screen = *desktop.session.screen,
      .windows = *desktop.session.windows,
      .library = wing.libraryWing.library,
      .settings = desktop.settings,
      .redact =
          [&wing](Image capture, double pixelsPerPoint, auto redacted) {
            if (wing.redact) {
              return wing.redact(std::move(capture), pixelsPerPoint, std::move(redacted));
            }
            redacted({CaptureRedaction::Failed{"Smart Redact can't run"}});
          },
      .defaultCaptures = desktop.folders.captures,
      .hotKeys = desktop.session.hotKeys.get(),
      .countdown = std::make_shared<TerminalCountdown>(),
      .desktopCover = nullptr,
      .overlay = [] { return nullptr; }};
  if (ui != nullptr) {
    services.countdown = ui->countdownPanel();
    services.desktopCover = ui->desktopCoverWindows();
    services.overlay = [ui] { return &ui->selectionOverlay(); };
  }
  return services;
}

AppCoordinator::Services coordinatorServices(CaptureWing& wing, std::function<void()> terminate) {
  DesktopWing& desktop = wing.desktop;
  AppCoordinator::Services services{.main = desktop.main,
                                    .captures = wing.captures,
                                    .copying = wing.copying,
                                    .screen = *desktop.session.screen,
                                    .alerts = *desktop.alerts,
                                    .library = wing.libraryWing.library,
                                    .settings = desktop.settings,
                                    .hotKeys = desktop.session.hotKeys.get(),
                                    .relaunch = [&desktop] { return desktop.relaunch(); },
                                    .terminate = std::move(terminate)};
  if (desktop.ui != nullptr) {
    services.statusItem = &desktop.ui->statusItem();
    services.windows = &desktop.ui->windows();
    services.cue = [&desktop](const CaptureCue& cue) { desktop.cue(cue); };
  }
  return services;
}

}  // namespace

CaptureWing::CaptureWing(LibraryWing& theLibrary, std::function<void()> terminate)
    : desktop(theLibrary.desktop),
      libraryWing(theLibrary),
      captures(captureServices(*this)),
      copying({.main = desktop.main,
               .work = desktop.lanes.pool.queue("com.hollen.Vantorel.pictures"),
               .files = desktop.files,
               .codec = desktop.codec,
               .library = libraryWing.library,
               .alerts = *desktop.alerts,
               .clipboard = [this] { return &desktop.clipboard(); },
               .draw = drawWithModule(desktop.files, desktop.codec),
               .isWholePicture = isWholePicture}),
      coordinator(coordinatorServices(*this, std::move(terminate))) {
  libraryWing.repair.recoverStaged = [this](std::function<void()> done) {
    captures.recoverStaged([done = std::move(done)](int) { done(); });
  };
  libraryWing.repair.whenStagingKnown = [this](std::function<void(const std::set<Path>&)> known) {
    captures.whenStagingKnown(std::move(known));
  };
  libraryWing.library.onLateOpening = [this] { captures.recoverStaged([](int) {}); };
}

void CaptureWing::startResident() {
  desktop.ui->statusItem().setMenu(
      [this] {
        libraryWing.activated();
        return coordinator.statusMenu();
      },
      [this] { coordinator.captureForUser({}); });
  showCoverLook();
  settingsObservation_ = desktop.settings.observe([this](std::string_view key) {
    if (key.starts_with("desktopCover")) showCoverLook();
  });
  coordinator.startResident();
  fileStaged([] {});
}

void CaptureWing::fileStaged(std::function<void()> filed) {
  if (hasFiledStaged_) return filed();
  Library& library = libraryWing.library;
  library.whenReady([this, &library, filed = std::move(filed)] {
    if (library.store().loadOutcome() == IndexLoad::inUse) return filed();
    captures.recoverStaged([this, filed](int) {
      hasFiledStaged_ = true;
      filed();
    });
  });
}

void CaptureWing::showCoverLook() {
  const SettingsValues& values = desktop.settings.values();
  DesktopCoverLook look{
      .style = values.desktopCoverStyle, .image = {}, .color = values.desktopCoverColor};
  desktop.ui->setDesktopCoverLook(look);
  coverLook_.renew();
  if (look.style != DesktopCoverStyle::custom || !values.desktopCoverImagePath) return;
  auto show = coverLook_.guard([this, look](Result<std::string> image) mutable {
    if (!image) {
      logWarning("DesktopCover", "the image cannot be read: {}", image.error().reason);
      return;
    }
    look.image = *std::move(image);
    desktop.ui->setDesktopCoverLook(std::move(look));
  });
  roundTrip(
      *desktop.lanes.disks.queue("com.hollen.Vantorel.cover"), desktop.main,
      [files = desktop.files, path = *values.desktopCoverImagePath] {
        return files->read(path, largestCoverImage);
      },
      std::move(show));
}

}  // namespace vantorel
