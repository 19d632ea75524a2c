#include "main/program.hpp"

#include <fmt/format.h>

#include <chrono>
#include <future>
#include <utility>
#include <variant>

#include "base/log.hpp"
#include "base/path_text.hpp"
#include "main/command_wing.hpp"
#include "main/scrolling_wing.hpp"
#include "main/text_wing.hpp"
#include "main/tray_lock.hpp"
#include "main/windows_wing.hpp"

namespace vantorel {

// In the order they need each other; they go in the opposite one, when nothing runs any more.
struct Program::Wings {
  Wings(const std::optional<Path>& root, std::shared_ptr<RemoteFiles> files,
        std::shared_ptr<TaskRunner> main, DesktopUi* ui, std::function<void()> terminate)
      : desktop(lanes, root, std::move(files), std::move(main), ui),
        library(desktop),
        captures(library, std::move(terminate)),
        editor(captures),
        text(captures),
        scrolling(captures),
        commands(captures, editor, text, scrolling) {}

  ~Wings() {
    text.stop();
    library.stop();
    lanes.stop();
  }

  Lanes lanes;
  DesktopWing desktop;
  LibraryWing library;
  CaptureWing captures;
  EditorWing editor;
  TextWing text;
  ScrollingWing scrolling;
  CommandWing commands;
  std::optional<WindowsWing> windows;  // in the tray alone
  bool filesStagedAtEnd = false;  // a run that was only asked to look leaves that to the next one
};

Program::Program(const std::optional<Path>& root, std::shared_ptr<RemoteFiles> files,
                 std::shared_ptr<TaskRunner> main, DesktopUi* ui, std::function<void()> terminate)
    : wings_(std::make_unique<Wings>(root, std::move(files), std::move(main), ui,
                                     std::move(terminate))) {}

Program::~Program() = default;

void Program::startResident(TrayLock& tray, std::optional<long> otherTray) {
  wings_->desktop.isResident = true;
  wings_->windows.emplace(wings_->captures, wings_->editor, wings_->text);
  if (otherTray) yieldTo(*otherTray, tray);
  wings_->library.library.open();
  wings_->library.followOutside();
  wings_->captures.startResident();
  wings_->text.startResident();
  wings_->windows->editors.tellOfDrafts();
}

/// Another program in the tray may have the library for days: it is not waited for. Once it is
/// gone, this one is the program in the tray for those whom no bus leads to it.
void Program::yieldTo(long otherTray, TrayLock& tray) {
  DesktopWing& desktop = wings_->desktop;
  desktop.otherTray = otherTray;
  Library& library = wings_->library.library;
  library.stopWaiting();
  library.onLateOpening = [&desktop, &tray, file = std::move(library.onLateOpening)] {
    file();
    if (!std::exchange(desktop.otherTray, std::nullopt)) return;
    desktop.lanes.disks.queue("com.hollen.Vantorel.library")->post([&tray] {
      if (!tray.take({})) logWarning("Command", "another program in the tray keeps its lock");
    });
  };
  desktop.alerts->notify("Vantorel runs in another session too",
                         fmt::format("Process {} has the library. What is captured here is kept, "
                                     "and comes into History when that one has quit.",
                                     otherTray));
}

void Program::perform(const DesktopCommand& command) {
  wings_->captures.coordinator.perform(command);
}

void Program::openFiles(const std::vector<std::string>& uris) {
  std::vector<NamedPicture> pictures;
  for (const std::string& file : pathsOfURIs(uris)) pictures.push_back({.file = file});
  if (pictures.empty()) return startedAgain();
  wings_->windows->editors.openAll(pictures, [alerts = wings_->desktop.alerts.get()](
                                                 const std::vector<UnopenedPicture>& unopened) {
    std::string sentences;
    for (const UnopenedPicture& one : unopened) {
      sentences += (sentences.empty() ? "" : " ") + sentence(one);
    }
    if (!unopened.empty()) alerts->notify("Annotate", sentences);
  });
}

bool Program::hasPictures() const {
  return wings_->windows &&
         (wings_->windows->editors.hasWindows() || wings_->windows->pins.hasPins());
}

void Program::show(AppWindow window) { (void)wings_->captures.coordinator.show(window); }

void Program::startedAgain() { wings_->captures.coordinator.startedAgain(); }

void Program::run(const CommandLine& line, CommandRunner::Done done,
                  const CommandRequester& requester) {
  if (line.needsLibrary()) {
    wings_->library.library.open();
    if (!line.onlyVerifies()) wings_->filesStagedAtEnd = true;
  }
  if (const auto* const capture = std::get_if<command::Capture>(&line.command)) {
    wings_->desktop.showsSomething |= capture->what.isAnsweredAtDesktop;
  }
  wings_->commands.runner.run(line, std::move(done), requester);
}

void Program::callOff(const std::string& requester) { wings_->commands.runner.callOff(requester); }

void Program::requesterGone(const std::string& requester) {
  wings_->commands.runner.requesterGone(requester);
}

void Program::finish(std::function<void()> done) {
  std::function<void()> end = [this, done = std::move(done)] {
    // What fails is logged where it is written.
    wings_->desktop.settings.flush([this, done](const Result<void>&) {
      wings_->library.library.deletion().settle([this, done] { wings_->desktop.whenShown(done); });
    });
  };
  Library& library = wings_->library.library;
  if (!library.isOpening()) return end();
  // Nothing is begun in a library that another process has: what is staged is left to the next run.
  library.whenReadyOrHeld([this, &library, end = std::move(end)]() mutable {
    if (!library.isReady() || !wings_->filesStagedAtEnd) return end();
    library.whenReady([this, &library, end = std::move(end)] {
      if (library.store().loadOutcome() == IndexLoad::inUse) return end();
      wings_->captures.captures.recoverStaged([end](int) { end(); });
    });
  });
}

void Program::handOverClipboard() { wings_->desktop.session.clipboard->handOver(); }

void Program::releaseLibrary() {
  const auto released = std::make_shared<std::promise<void>>();
  wings_->library.library.store().release([released] { released->set_value(); });
  (void)released->get_future().wait_for(std::chrono::seconds(1));
}

void Program::rescue() { wings_->scrolling.scrolling.rescue(); }

void Program::quit() { wings_->captures.coordinator.quit(); }

void Program::quitUnasked() { wings_->captures.coordinator.quitUnasked(); }

}  // namespace vantorel
