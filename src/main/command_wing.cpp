#include "main/command_wing.hpp"

#include <utility>

#include "base/round_trip.hpp"
#include "main/tray_lock.hpp"

namespace vantorel {
namespace {

void checkFile(DesktopWing& desktop, const Path& path, CommandRunner::Services::Checked done) {
  roundTrip(
      *desktop.lanes.disks.queue("com.hollen.Vantorel.library"), desktop.main,
      [files = desktop.files, path]() -> Result<void> {
        VT_TRY(files->open(path));
        return {};
      },
      std::move(done));
}

CommandRunner::Services running(CommandWing& wing, CaptureWing& captures, EditorWing& editor,
                                TextWing& text, ScrollingWing& scrolling) {
  DesktopWing& desktop = captures.desktop;
  LibraryWing& library = captures.libraryWing;
  return {.main = desktop.main,
          .coordinator = &captures.coordinator,
          .rewriter = &editor.rewriter,
          .annotator = &editor.annotator,
          .texts = &text.taking,
          .scrolling = &scrolling.scrolling,
          .redactor = &text.redactor,
          .settings = &desktop.settings,
          .library = &library.library,
          .libraryCommands = &wing.library,
          .move = &library.move,
          .retention = &library.retention,
          .exporting = &editor.exporting,
          .autostart = &desktop.autostart,
          .screen = desktop.session.screen.get(),
          .windows = desktop.session.windows.get(),
          .checkFile = [&desktop](const Path& path,
                                  auto done) { checkFile(desktop, path, std::move(done)); },
          .fileStaged =
              [&captures](std::function<void()> filed) { captures.fileStaged(std::move(filed)); },
          .unreachableTray =
              [&desktop, &library] {
                return desktop.isResident ? desktop.otherTray
                                          : trayProcess(*desktop.files, library.library.paths());
              }};
}

}  // namespace

CommandWing::CommandWing(CaptureWing& captures, EditorWing& editor, TextWing& text,
                         ScrollingWing& scrolling)
    : library({.main = captures.desktop.main,
               .work = captures.desktop.lanes.disks.queue("com.hollen.Vantorel.library"),
               .clock = captures.desktop.clock,
               .library = &captures.libraryWing.library,
               .repair = &captures.libraryWing.repair,
               .prune = &captures.libraryWing.prune,
               .fileLook = &captures.libraryWing.fileLook,
               .move = &captures.libraryWing.move,
               .readText =
                   [&text](const std::string& id, const auto& read) {
                     text.indexing.read(
                         id, [read](const Result<EntryPointer, RecognitionFailure>& entry) {
                           if (!entry) return read(std::unexpected(sentence(entry.error())));
                           read(*entry);
                         });
                   }}),
      runner(running(*this, captures, editor, text, scrolling)) {}

}  // namespace vantorel
