#include "main/editor_wing.hpp"

#include "app/kept_layer.hpp"
#include "main/scene_module.hpp"

namespace vantorel {
namespace {

CaptureRewriter::Services rewriting(CaptureWing& wing) {
  DesktopWing& desktop = wing.desktop;
  return {.main = desktop.main,
          .work = desktop.lanes.pool.queue("com.hollen.Vantorel.rewrite"),
          .files = desktop.files,
          .codec = desktop.codec,
          .library = &wing.libraryWing.library,
          .settings = &desktop.settings,
          .pendingWork = &wing.coordinator.pendingArchiveWork(),
          .surfaces = &wing.coordinator.surfaces()};
}

CaptureAnnotator::Services annotating(CaptureWing& wing) {
  DesktopWing& desktop = wing.desktop;
  return {.main = desktop.main,
          .work = desktop.lanes.pool.queue("com.hollen.Vantorel.annotations"),
          .clock = desktop.clock,
          .files = desktop.files,
          .codec = desktop.codec,
          .library = &wing.libraryWing.library,
          .settings = &desktop.settings,
          .pendingWork = &wing.coordinator.pendingArchiveWork(),
          .surfaces = &wing.coordinator.surfaces(),
          .draw = drawWithModule(desktop.files, desktop.codec),
          .settingsFile = desktop.settingsPath(),
          .layers = desktop.folders.data / keptLayersName};
}

CaptureExport::Services exportingTo(CaptureWing& wing) {
  DesktopWing& desktop = wing.desktop;
  return {.main = desktop.main,
          .work = desktop.lanes.disks.queue("com.hollen.Vantorel.exports"),
          .files = desktop.files,
          .codec = desktop.codec,
          .store = &wing.libraryWing.library.store(),
          .settings = &desktop.settings,
          .draw = drawWithModule(desktop.files, desktop.codec),
          .settingsFile = desktop.settingsPath()};
}

}  // namespace

EditorWing::EditorWing(CaptureWing& captures)
    : rewriter(rewriting(captures)),
      annotator(annotating(captures)),
      exporting(exportingTo(captures)) {}

}  // namespace vantorel
