#include "app/command_table.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "app/app_coordinator.hpp"
#include "app/capture_editors.hpp"
#include "app/capture_pins.hpp"
#include "app/scrolling_capture.hpp"
#include "app/text_capture.hpp"

namespace vantorel {
namespace {

using Kind = StillCaptureCommand::Kind;

std::function<void(AppCoordinator&)> captures(StillCaptureCommand what) {
  return [what = std::move(what)](AppCoordinator& app) { app.captureForUser(what); };
}

std::function<void(AppCoordinator&)> shows(AppWindow window) {
  return [window](AppCoordinator& app) { (void)app.show(window); };
}

std::vector<std::string> captureArguments(Kind kind) {
  return {"capture", std::string(nameOf(kind)), "--notify"};
}

std::optional<std::string> noPreviousArea(AppCoordinator& app) {
  const auto refusal = refusalOf(app.previousArea().availability());
  return refusal ? std::optional(sentence(*refusal)) : std::nullopt;
}

void takesText(AppCoordinator& app) {
  if (app.texts != nullptr) app.texts->takeForUser();
}

void takesWhatScrolls(AppCoordinator& app) {
  if (app.scrolling != nullptr) app.scrolling->takeForUser();
}

void cancelsScrolling(AppCoordinator& app) {
  if (app.scrolling != nullptr) app.scrolling->cancel();
}

void focusesScrolling(AppCoordinator& app) {
  if (app.scrolling != nullptr) (void)app.scrolling->focusPanel();
}

std::optional<std::string> noScrolling(AppCoordinator& app) {
  if (app.isScrolling()) return std::nullopt;
  return "No Scrolling Capture runs.";
}

std::optional<std::string> noDeletion(AppCoordinator& app) {
  if (app.library().deletion().pendingUndo()) return std::nullopt;
  return "There is nothing to undo: a deletion can be undone for 8 seconds.";
}

std::optional<std::string> noCard(AppCoordinator& app) {
  if (!app.copying().recentPictures(1).empty()) return std::nullopt;
  return "There is no capture to show on a card yet.";
}

void opensClipboard(AppCoordinator& app) {
  if (app.editors != nullptr) app.editors->openClipboard(app.editors->reported());
}

void opensDrafts(AppCoordinator& app) {
  if (app.editors != nullptr) app.editors->openDrafts(app.editors->reported());
}

std::optional<std::string> noDrafts(AppCoordinator& app) {
  if (app.editors != nullptr && app.editors->hasDrafts()) return std::nullopt;
  return "No annotations were left unsaved.";
}

void makesPinsClickable(AppCoordinator& app) {
  if (app.pins != nullptr) app.pins->makeClickable();
}

std::optional<std::string> noPinThrough(AppCoordinator& app) {
  if (app.pins != nullptr && app.pins->letClicksThrough()) return std::nullopt;
  return "No pin lets clicks through.";
}

void focusesPin(AppCoordinator& app) {
  if (app.pins != nullptr) app.pins->focusNext();
}

std::optional<std::string> noPin(AppCoordinator& app) {
  if (app.pins != nullptr && app.pins->hasPins()) return std::nullopt;
  return "Nothing is pinned.";
}

std::vector<DesktopCommand> build() {
  std::vector<DesktopCommand> all{
      {.name = "CaptureArea",
       .label = "Capture Area",
       .shortcut = ShortcutID::capture,
       .run = captures({.kind = Kind::area}),
       .arguments = captureArguments(Kind::area)},
      {.name = "CaptureWindow",
       .label = "Capture Window",
       .shortcut = ShortcutID::window,
       .run = captures({.kind = Kind::window}),
       .arguments = captureArguments(Kind::window)},
      {.name = "CaptureDisplay",
       .label = "Capture Main Display",
       .shortcut = ShortcutID::fullscreen,
       .run = captures({.kind = Kind::display}),
       .arguments = captureArguments(Kind::display)},
      {.name = "CapturePreviousArea",
       .label = "Capture Previous Area",
       .shortcut = ShortcutID::previousArea,
       .run = captures({.kind = Kind::previous}),
       .obstacle = noPreviousArea},
      {.name = "CaptureText",
       .label = "Capture Text",
       .shortcut = ShortcutID::captureText,
       .run = takesText,
       .arguments = {"capture", "text", "--notify"}},
      {.name = "ScrollingCapture",
       .label = "Scrolling Capture",
       .shortcut = ShortcutID::scroll,
       .run = takesWhatScrolls,
       .arguments = captureArguments(Kind::scroll)},
      {.name = "FocusScrollingPanel",
       .label = "Focus Scrolling Panel",
       .run = focusesScrolling,
       .obstacle = noScrolling},
      {.name = "CancelScrollingCapture",
       .label = "Cancel Scrolling Capture",
       .run = cancelsScrolling,
       .obstacle = noScrolling},
      {.name = "CaptureAllDisplays",
       .label = "Capture All Displays",
       .run = captures({.kind = Kind::display, .allDisplays = true})},
      {.name = "CaptureAfterDelay",
       .label = "Capture Area after the Delay Used Last",
       .shortcut = ShortcutID::timedCapture,
       .run = captures({.kind = Kind::area, .isTimed = true})},
      {.name = "UndoRecentDelete",
       .label = "Undo Recent Delete",
       .run = [](AppCoordinator& app) { app.undoRecentDelete(); },
       .obstacle = noDeletion},
      {.name = "OpenHistory",
       .label = "Open History",
       .shortcut = ShortcutID::history,
       .run = shows(AppWindow::history),
       .arguments = {"show", "history"}},
      {.name = "OpenClipboard",
       .label = "Open Clipboard Image",
       .shortcut = ShortcutID::openClipboard,
       .run = opensClipboard,
       .arguments = {"edit", "--clipboard"}},
      {.name = "OpenUnsavedAnnotations",
       .label = "Unsaved Annotations",
       .run = opensDrafts,
       .obstacle = noDrafts},
      {.name = "FocusPin", .label = "Focus Pin", .run = focusesPin, .obstacle = noPin},
      {.name = "MakePinsClickable",
       .label = "Make Pins Clickable",
       .run = makesPinsClickable,
       .obstacle = noPinThrough},
      {.name = "OpenSettings",
       .label = "Settings…",
       .run = shows(AppWindow::settings),
       .arguments = {"show", "settings"}},
      {.name = "OpenHelp",
       .label = "Help",
       .run = shows(AppWindow::help),
       .arguments = {"show", "help"}},
      {.name = "FocusCard",
       .label = "Focus Capture Card",
       .run = [](AppCoordinator& app) { app.focusCard(); },
       .obstacle = noCard},
      {.name = "Quit", .label = "Quit Vantorel", .run = [](AppCoordinator& app) { app.quit(); }},
  };
  for (const auto& entry : enumNames<ShortcutID>) {
    const auto number = recentNumber(entry.value);
    if (!number) continue;
    all.push_back({.name = fmt::format("CopyRecentCapture{}", *number),
                   .label = title(entry.value),
                   .shortcut = entry.value,
                   .run = [n = *number](AppCoordinator& app) { app.copyRecent(n); }});
  }
  return all;
}

const DesktopCommand* pointerTo(std::vector<DesktopCommand>::const_iterator found) {
  return found == desktopCommands().end() ? nullptr : &*found;
}

}  // namespace

const std::vector<DesktopCommand>& desktopCommands() {
  static const std::vector<DesktopCommand> all = build();
  return all;
}

const DesktopCommand* findDesktopCommand(std::string_view name) {
  return pointerTo(std::ranges::find(desktopCommands(), name, &DesktopCommand::name));
}

const DesktopCommand* findDesktopCommand(ShortcutID shortcut) {
  return pointerTo(
      std::ranges::find(desktopCommands(), std::optional(shortcut), &DesktopCommand::shortcut));
}

}  // namespace vantorel
