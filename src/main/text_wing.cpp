#include "main/text_wing.hpp"

#include "main/scene_module.hpp"
#include "platform/linux/linux_phone_number_finder.hpp"
#include "platform/linux/linux_text_recogniser.hpp"
#include "platform/linux/linux_visual_detector.hpp"
#include "platform/linux/thread_priority.hpp"
#include "text/phone_detector.hpp"

namespace vantorel {
namespace {

std::shared_ptr<const SmartRedact> smartRedact(std::shared_ptr<TextRecogniser> recogniser) {
  return std::make_shared<SmartRedact>(SmartRedact::Services{
      .recogniser = std::move(recogniser),
      .visual = std::make_shared<LinuxVisualDetector>(),
      .detector = std::make_shared<SensitiveTextDetector>(
          std::make_shared<LinuxPhoneNumberFinder>(), phoneRegions(sessionLocale()))});
}

}  // namespace

TextWing::TextWing(CaptureWing& theCaptures)
    : captures(theCaptures),
      recogniser(std::make_shared<LinuxTextRecogniser>()),
      scans({.main = captures.desktop.main,
             .work = captures.desktop.lanes.pool.queue("com.hollen.Vantorel.smart-redact"),
             .smartRedact = smartRedact(recogniser)}),
      captureRecogniser(std::make_shared<LinuxTextRecogniser>()),
      captureScans({.main = captures.desktop.main,
                    .work = captures.desktop.lanes.pool.queue("com.hollen.Vantorel.capture-redact"),
                    .smartRedact = smartRedact(captureRecogniser)}),
      autoRedact({.main = captures.desktop.main,
                  .work = captures.desktop.lanes.pool.queue("com.hollen.Vantorel.capture-redact"),
                  .scans = captureScans,
                  .settings = captures.desktop.settings,
                  .pendingWork = captures.coordinator.pendingArchiveWork(),
                  .draw = drawPictureWithModule(captures.desktop.files, captures.desktop.codec)}),
      redactor({.main = captures.desktop.main,
                .work = captures.desktop.lanes.disks.queue("com.hollen.Vantorel.redactions"),
                .files = captures.desktop.files,
                .codec = captures.desktop.codec,
                .library = captures.libraryWing.library,
                .settings = captures.desktop.settings,
                .pendingWork = captures.coordinator.pendingArchiveWork(),
                .surfaces = captures.coordinator.surfaces(),
                .scans = scans,
                .autoRedact = autoRedact}),
      indexing({.main = captures.desktop.main,
                .work = captures.desktop.lanes.quiet.queue("com.hollen.Vantorel.text-recognition"),
                .files = captures.desktop.files,
                .codec = captures.desktop.codec,
                .library = captures.libraryWing.library,
                .settings = captures.desktop.settings,
                .recogniser = recogniser}),
      taking({.main = captures.desktop.main,
              .reading = captures.desktop.lanes.pool.queue("com.hollen.Vantorel.smart-redact"),
              .work = captures.desktop.lanes.disks.queue("com.hollen.Vantorel.filing"),
              .files = captures.desktop.files,
              .coordinator = captures.coordinator,
              .library = captures.libraryWing.library,
              .settings = captures.desktop.settings,
              .alerts = *captures.desktop.alerts,
              .recogniser = recogniser,
              .indexing = indexing,
              .clipboard = [this] { return &captures.desktop.clipboard(); },
              .defaultFolder = captures.desktop.folders.captures}) {
  for (SensitiveScans* const all : {&scans, &captureScans}) {
    all->onBusy = [this] { return std::make_shared<TextIndexing::Pause>(indexing); };
  }
  StagedRedaction& redactions = captures.captures.redactions();
  redactions_ = redactions.observe([this, &redactions] {
    if (redactions.underWay() > 0) return;
    captures.desktop.lanes.pool.queue("com.hollen.Vantorel.capture-redact")
        ->post([reader = captureRecogniser] { reader->release(); });
  });
  captures.redact = autoRedact.forFiling();
  captures.coordinator.texts = &taking;
  captures.desktop.lanes.quiet.queue("com.hollen.Vantorel.text-recognition")->post([] {
    lowerThreadPriority();
  });
}

TextWing::~TextWing() {
  captures.redact = nullptr;
  captures.coordinator.texts = nullptr;
}

void TextWing::startResident() {
  captures.libraryWing.library.whenReady([this] { redactor.finishCutShort(); });
  indexing.start();
}

void TextWing::stop() {
  scans.stop();
  captureScans.stop();
  indexing.stop();
}

}  // namespace vantorel
