#include "app/tray_menu.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <utility>

#include "app/capture_copying.hpp"
#include "app/command_keys.hpp"
#include "app/command_table.hpp"
#include "app/scrolling_capture.hpp"

namespace vantorel {
namespace {

// Of a burst of changes the menu shows what came of it.
constexpr std::chrono::milliseconds updatePause{250};

constexpr std::size_t recentCaptures = 10;

StatusMenuItem separator() { return {.kind = StatusMenuItem::Kind::separator}; }

StatusMenuItem action(std::string label, std::function<void()> perform) {
  StatusMenuItem item{.label = std::move(label)};
  item.perform = std::move(perform);
  return item;
}

StatusMenuItem choice(std::string label, bool isChecked, std::function<void()> choose) {
  StatusMenuItem item = action(std::move(label), std::move(choose));
  item.isChoice = true;
  item.isChecked = isChecked;
  return item;
}

StatusMenuItem submenu(std::string label, std::vector<StatusMenuItem> items) {
  StatusMenuItem item{.kind = StatusMenuItem::Kind::submenu, .label = std::move(label)};
  item.isEnabled = !items.empty();
  item.items = std::move(items);
  return item;
}

/// What a capture is called in the menu: short enough for one.
std::string nameOf(const ScreenshotEntry& entry) {
  constexpr std::size_t longest = 44;
  std::string name = entry.title.value_or(Path(entry.path).stem().string());
  std::size_t letters = 0;
  for (std::size_t i = 0; i < name.size(); ++i) {
    const bool begins = (static_cast<unsigned char>(name[i]) & 0xC0U) != 0x80;
    if (begins && ++letters > longest) return name.substr(0, i) + "…";
  }
  return name;
}

std::string delayLabel(CaptureDelay delay) {
  if (delay == CaptureDelay::none) return "None";
  return std::to_string(lengthOf(delay).count()) + " seconds";
}

std::string timedLabel(CaptureDelay delay) { return "Capture Area after " + delayLabel(delay); }

}  // namespace

TrayMenu::TrayMenu(AppCoordinator& app, std::shared_ptr<TaskRunner> main, StatusItem& item)
    : app_(app), main_(std::move(main)), item_(item) {}

void TrayMenu::follow() {
  settingsObservation_ = app_.settings().observe([this](std::string_view) { updateSoon(); });
  libraryObservation_ =
      app_.library().store().observe([this](const HistoryChange&) { updateSoon(); });
  undoObservation_ = app_.library().deletion().observeUndo([this] { countUndoDown(); });
  update();
}

void TrayMenu::updateSoon() {
  update_.renew();
  main_->postAfter(updatePause, update_.guard([this] { update(); }));
}

void TrayMenu::update() {
  item_.setMark(mark());
  item_.menuChanged();
}

StatusMark TrayMenu::mark() const {
  if (app_.arbiter().isRunning(CaptureActivity::recording)) return StatusMark::recording;
  if (app_.isScrolling()) return StatusMark::filing;
  const auto& active = app_.settings().values().activeCollectionID;
  const auto& all = app_.library().store().collections();
  const bool isFiling =
      active && std::ranges::find(all, *active, &HistoryCollection::id) != all.end();
  return isFiling || app_.redactions().underWay() > 0 ? StatusMark::filing : StatusMark::none;
}

/// The line says how long there is.
void TrayMenu::countUndoDown() {
  item_.menuChanged();
  undoCount_.renew();
  if (!app_.library().deletion().pendingUndo()) return;
  main_->postAfter(std::chrono::seconds(1), undoCount_.guard([this] { countUndoDown(); }));
}

StatusMenuItem TrayMenu::line(std::string_view name) {
  const DesktopCommand* const command = findDesktopCommand(name);
  VT_CHECK(command != nullptr);
  StatusMenuItem item = action(command->label, [this, command] { app_.perform(*command); });
  item.isEnabled = !command->obstacle || !command->obstacle(app_);
  if (command->shortcut && app_.keys()) item.shortcut = app_.keys()->workingKey(*command->shortcut);
  return item;
}

/// What can be done with the one that runs; nothing while there is none.
std::vector<StatusMenuItem> TrayMenu::scrollingLines() {
  if (!app_.isScrolling()) return {};
  StatusMenuItem finish = line("ScrollingCapture");
  const ScrollingCapture::Phase phase = app_.scrolling->phase();
  const bool isSaving = phase == ScrollingCapture::Phase::saving;
  finish.label = isSaving                                    ? "Saving Scrolling Capture"
                 : phase == ScrollingCapture::Phase::unsaved ? "Save Scrolling Capture Again"
                                                             : "Finish Scrolling Capture";
  finish.isEnabled = !isSaving;
  StatusMenuItem cancel = line("CancelScrollingCapture");
  cancel.isEnabled = !isSaving;
  return {std::move(finish), line("FocusScrollingPanel"), std::move(cancel), separator()};
}

StatusMenuItem TrayMenu::moreCaptures() {
  std::vector<StatusMenuItem> more;
  more.push_back(line("ScrollingCapture"));
  more.back().isEnabled = !app_.isScrolling();
  if (app_.previousArea().displays().size() > 1) {
    more.push_back(line("CaptureAllDisplays"));
    more.push_back(separator());
  }
  const CaptureDelay lastUsed = app_.settings().values().timedCaptureLastDelaySeconds;
  more.push_back(line("CaptureAfterDelay"));
  more.back().label = timedLabel(lastUsed) + " (last used)";
  for (const auto& [delay, name] : enumNames<CaptureDelay>) {
    if (delay == CaptureDelay::none || delay == lastUsed) continue;
    more.push_back(action(timedLabel(delay), [this, length = lengthOf(delay)] {
      app_.captureForUser(
          {.kind = StillCaptureCommand::Kind::area, .delay = length, .isTimed = true});
    }));
  }
  return submenu("More Captures", std::move(more));
}

StatusMenuItem TrayMenu::captureDelay() {
  std::vector<StatusMenuItem> delays;
  SettingsStore& settings = app_.settings();
  for (const auto& entry : enumNames<CaptureDelay>) {
    const CaptureDelay delay = entry.value;
    delays.push_back(
        choice(delayLabel(delay), settings.values().captureDelaySeconds == delay,
               [&settings, delay] { settings.set(&SettingsValues::captureDelaySeconds, delay); }));
  }
  return submenu("Capture Delay", std::move(delays));
}

StatusMenuItem TrayMenu::open() {
  std::vector<StatusMenuItem> lines;
  for (const auto* const name :
       {"FocusCard", "FocusPin", "OpenClipboard", "OpenUnsavedAnnotations", "MakePinsClickable"}) {
    lines.push_back(line(name));
  }
  return submenu("Open", std::move(lines));
}

StatusMenuItem TrayMenu::fileIntoCollection() {
  std::vector<StatusMenuItem> lines;
  SettingsStore& settings = app_.settings();
  const auto& active = settings.values().activeCollectionID;
  for (const auto& collection : app_.library().store().collections()) {
    lines.push_back(
        choice(collection.name, active == collection.id, [&settings, id = collection.id] {
          settings.set(&SettingsValues::activeCollectionID, std::optional(id));
        }));
  }
  if (!lines.empty()) lines.push_back(separator());
  lines.push_back(action("New Collection", [this] { app_.newCollection(); }));
  lines.push_back(action("Stop Filing", [&settings] {
    settings.set(&SettingsValues::activeCollectionID, std::nullopt);
  }));
  lines.back().isEnabled = active.has_value();
  return submenu("File into Collection", std::move(lines));
}

/// The newest captures by name: a click copies the one that was read there, whatever came since.
StatusMenuItem TrayMenu::copyRecentCapture() {
  std::vector<StatusMenuItem> lines;
  for (const EntryPointer& capture : app_.copying().recentPictures(recentCaptures)) {
    lines.push_back(line(fmt::format("CopyRecentCapture{}", lines.size() + 1)));
    lines.back().label = nameOf(*capture);
    lines.back().perform = [this, id = capture->id] { app_.copying().copyForUser(id); };
  }
  return submenu("Copy Recent Capture", std::move(lines));
}

StatusMenuItem TrayMenu::undoRecentDelete() {
  StatusMenuItem undo = line("UndoRecentDelete");
  const HistoryDeletion& deletion = app_.library().deletion();
  const auto left = std::chrono::ceil<std::chrono::seconds>(deletion.undoEnds() -
                                                            app_.library().clock().monotonic());
  if (deletion.pendingUndo() && left.count() > 0)
    undo.label += fmt::format(" ({} s)", left.count());
  return undo;
}

std::vector<StatusMenuItem> TrayMenu::lines() {
  std::vector<StatusMenuItem> menu;
  if (const std::string scanning = scanningWords(app_.redactions().underWay()); !scanning.empty()) {
    menu.push_back({.label = scanning, .isEnabled = false});
    menu.push_back(separator());
  }
  std::ranges::move(scrollingLines(), std::back_inserter(menu));
  for (const auto* const name :
       {"CaptureArea", "CaptureWindow", "CaptureDisplay", "CapturePreviousArea", "CaptureText"}) {
    menu.push_back(line(name));
  }
  menu.push_back(moreCaptures());
  menu.push_back(captureDelay());
  menu.push_back(separator());
  menu.push_back(line("OpenHistory"));
  menu.push_back(open());
  menu.push_back(fileIntoCollection());
  menu.push_back(copyRecentCapture());
  menu.push_back(undoRecentDelete());
  menu.push_back(separator());
  menu.push_back(line("OpenSettings"));
  menu.push_back(line("OpenHelp"));
  menu.push_back(line("Quit"));
  return menu;
}

}  // namespace vantorel
