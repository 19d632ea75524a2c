#include <algorithm>
#include <map>

#include "app/app_coordinator.hpp"
#include "app/records/hot_key_text.hpp"

namespace vantorel {
namespace {

StatusMenuItem separator() { return {.kind = StatusMenuItem::Kind::separator}; }

StatusMenuItem action(std::string label, std::function<void()> perform) {
  StatusMenuItem item{.label = std::move(label)};
  item.isEnabled = perform != nullptr;
  item.perform = std::move(perform);
  return item;
}

StatusMenuItem submenu(std::string label, std::vector<StatusMenuItem> items) {
  StatusMenuItem item{.kind = StatusMenuItem::Kind::submenu, .label = std::move(label)};
  item.items = std::move(items);
  return item;
}

/// What a capture is called in the menu: short enough for one.
std::string nameOf(const ScreenshotEntry& entry) {
  constexpr std::size_t longest = 44;
  const std::string name = entry.title.value_or(Path(entry.path).stem().string());
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

}  // namespace

StatusMenuItem AppCoordinator::menuLine(std::string label, ShortcutID id) {
  StatusMenuItem item = action(std::move(label), actionOf(id));
  // A key that another program holds would be a promise that is not kept.
  const bool works = shortcuts_ && shortcuts_->works(id);
  if (const auto spec = works ? bindingOf(id) : std::nullopt) item.shortcut = displayText(*spec);
  return item;
}

/// The newest captures by name: a click copies the one that was read there, whatever came since.
StatusMenuItem AppCoordinator::copyRecentMenu() {
  std::map<int, ShortcutID> commands;
  for (const auto& entry : enumNames<ShortcutID>) {
    if (const auto number = recentNumber(entry.value)) commands.emplace(*number, entry.value);
  }
  std::vector<StatusMenuItem> lines;
  for (const EntryPointer& capture : recentImages(commands.size())) {
    const int number = static_cast<int>(lines.size()) + 1;
    lines.push_back(menuLine(nameOf(*capture), commands[number]));
    lines.back().perform = [this, id = capture->id] { copyCapture(id); };
  }
  StatusMenuItem menu = submenu("Copy Recent Capture", std::move(lines));
  menu.isEnabled = !menu.items.empty();
  return menu;
}

std::vector<StatusMenuItem> AppCoordinator::statusMenu() {
  using Kind = StillCaptureCommand::Kind;
  const SettingsValues& settings = services_.settings->values();

  StatusMenuItem previous = menuLine("Capture Previous Area", ShortcutID::previousArea);
  previous.isEnabled =
      std::holds_alternative<RegionAvailability::Available>(previousArea_.availability().value);

  std::vector<StatusMenuItem> more;
  if (previousArea_.displays().size() > 1) {
    more.push_back(action("Capture All Displays", [this] {
      captureForUser({.kind = Kind::display, .allDisplays = true});
    }));
    more.push_back(separator());
  }
  const auto timedLabel = [](CaptureDelay delay) {
    return "Capture Area after " + delayLabel(delay);
  };
  more.push_back(menuLine(timedLabel(settings.timedCaptureLastDelaySeconds) + " (last used)",
                          ShortcutID::timedCapture));
  std::vector<StatusMenuItem> delays;
  for (const auto& entry : enumNames<CaptureDelay>) {
    const CaptureDelay delay = entry.value;
    StatusMenuItem choice = action(delayLabel(delay), [this, delay] {
      services_.settings->set(&SettingsValues::captureDelaySeconds, delay);
    });
    choice.isChoice = true;
    choice.isChecked = settings.captureDelaySeconds == delay;
    delays.push_back(std::move(choice));
    if (delay == CaptureDelay::none || delay == settings.timedCaptureLastDelaySeconds) continue;
    more.push_back(action(timedLabel(delay), [this, delay] {
      captureForUser({.kind = Kind::area, .delay = lengthOf(delay), .isTimed = true});
    }));
  }

  std::vector<StatusMenuItem> filing;
  const bool isFiling = settings.activeCollectionID.has_value();
  for (const auto& collection : services_.library->store().collections()) {
    const std::string id = collection.id;
    StatusMenuItem choice = action(collection.name, [this, id] {
      services_.settings->set(&SettingsValues::activeCollectionID, std::optional(id));
    });
    choice.isChoice = true;
    choice.isChecked = settings.activeCollectionID == id;
    filing.push_back(std::move(choice));
  }
  if (!filing.empty()) filing.push_back(separator());
  StatusMenuItem stop = action("Stop Filing", [this] {
    services_.settings->set(&SettingsValues::activeCollectionID, std::nullopt);
  });
  stop.isEnabled = isFiling;
  filing.push_back(std::move(stop));

  StatusMenuItem undo = action("Undo Recent Delete", [this] { undoRecentDelete(); });
  undo.isEnabled = services_.library->deletion().pendingUndo().has_value();

  std::vector<StatusMenuItem> menu;
  menu.push_back(menuLine("Capture Area", ShortcutID::capture));
  menu.push_back(menuLine("Capture Window", ShortcutID::window));
  menu.push_back(menuLine("Capture Main Display", ShortcutID::fullscreen));
  menu.push_back(std::move(previous));
  menu.push_back(submenu("More Captures", std::move(more)));
  menu.push_back(submenu("Capture Delay", std::move(delays)));
  menu.push_back(separator());
  if (!services_.library->store().collections().empty()) {
    menu.push_back(submenu("File into Collection", std::move(filing)));
  }
  menu.push_back(copyRecentMenu());
  menu.push_back(std::move(undo));
  menu.push_back(separator());
  menu.push_back(action("Quit Vantorel", [this] { quit(); }));
  return menu;
}

void AppCoordinator::undoRecentDelete() {
  services_.library->deletion().undo(alive_.guard([this](const UndoOutcome& outcome) {
    if (outcome.indexNotSaved) {
      services_.alerts->notify("History couldn't be saved", *outcome.indexNotSaved);
    }
    if (outcome.failures.empty()) return;
    services_.alerts->notify("Some captures weren't restored", outcome.failures.front().reason);
  }));
}

}  // namespace vantorel
