#include "app/settings_model.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "app/folder_words.hpp"
#include "base/check.hpp"
#include "base/json_writer.hpp"
#include "base/search_words.hpp"
#include "capture/records/export_format.hpp"
#include "library/capture_file_name.hpp"

namespace vantorel {
namespace {

constexpr std::string_view none = "none";

/// The stored form as text: what `setFromText` takes.
std::string typed(const Setting& setting, const SettingsValues& values) {
  if (setting.words) return setting.words(values);
  const std::optional<JSONValue> value = setting.store(values);
  if (!value) return std::string(none);
  const auto* const text = std::get_if<std::string>(&value->value);
  return text != nullptr ? *text : json::toText(*value);
}

double numberIn(const Setting& setting, const SettingsValues& values) {
  const std::optional<JSONValue> value = setting.store(values);
  if (!value) return 0;
  if (const auto* const whole = std::get_if<std::int64_t>(&value->value)) {
    return static_cast<double>(*whole);
  }
  const auto* const number = std::get_if<double>(&value->value);
  return number == nullptr ? 0 : *number;
}

/// As it is shown: without the noise of binary fractions.
double shownNumber(const SettingRow& row, double stored) {
  return std::round(stored * row.shown.scale * 1e6) / 1e6;
}

std::string capitalised(std::string_view text) {
  std::string out(text);
  if (!out.empty() && out[0] >= 'a' && out[0] <= 'z')
    out[0] = static_cast<char>(out[0] - 'a' + 'A');
  return out;
}

const Setting& settingOfRow(const SettingRow& row) {
  const Setting* const setting = findSetting(row.key);
  VT_CHECK(setting != nullptr);
  return *setting;
}

}  // namespace

SettingsModel::SettingsModel(Services services) : services_(std::move(services)) {
  const auto place = [this](std::string_view id) {
    order_.push_back(id);
    const SettingsPane pane = line(id).pane;
    if (panes_.empty() || panes_.back() != pane) panes_.push_back(pane);
  };
  // What is no setting begins or ends its pane.
  place(autostartRow);
  SettingsPane pane = SettingsPane::general;
  const auto endPane = [&] {
    if (pane == SettingsPane::general) place(resetAllRow);
    if (pane == SettingsPane::text) {
      place(languagesRow);
      place(addLanguageRow);
    }
    if (pane == SettingsPane::library) {
      place(sizeRow);
      place(verifyRow);
    }
  };
  for (const SettingRow& row : settingRows()) {
    if (row.pane != pane) endPane();
    pane = row.pane;
    place(row.key);
  }
  endPane();

  observations_.push_back(
      services_.settings.observe([this](std::string_view key) { settingChanged(key); }));
  observations_.push_back(services_.settings.observeUnsaved([this] { changed({}); }));
  observations_.push_back(services_.autostart.observe([this] { changed(autostartRow); }));
  observations_.push_back(services_.library.observe([this] {
    for (const std::string_view id : {std::string_view("storageDirectory"), sizeRow, verifyRow}) {
      changed(id);
    }
  }));
  observations_.push_back(services_.text.observe([this] {
    changed(languagesRow);
    changed(addLanguageRow);
  }));
  observations_.push_back(services_.retention.observe([this] { changed("retentionDays"); }));
  observations_.push_back(
      services_.recorder.observe([this](std::string_view setting) { changed(setting); }));
  observations_.push_back(services_.history.observe([this](const HistoryChange& change) {
    if (change.collections || change.loaded) changed("activeCollectionID");
  }));
}

std::string_view SettingsModel::remarkOn(SettingsPane pane) {
  return pane == SettingsPane::shortcuts
             ? "Rows without a shortcut ship unassigned; record one to use them from the keyboard."
             : std::string_view();
}

std::string SettingsModel::problem() const {
  const std::string& reason = services_.settings.unsaved();
  if (reason.empty()) return {};
  return fmt::format(
      "The settings couldn't be saved: {}. Until they are, changes hold only while Vantorel runs.",
      reason);
}

void SettingsModel::retrySaving() {
  services_.settings.flush(lifetime_.guard([this](const Result<void>&) { changed({}); }));
}

void SettingsModel::select(SettingsPane pane) {
  pane_ = pane;
  changed({});
  if (pane == SettingsPane::library) services_.library.measure();
  lookAgain();
}

void SettingsModel::lookAgain() {
  if (pane_ == SettingsPane::general) services_.autostart.refresh();
  if (pane_ == SettingsPane::text) services_.text.refresh();
  if (pane_ == SettingsPane::shortcuts) services_.recorder.lookAgain();
}

void SettingsModel::pointTo(std::string_view id) {
  pointedTo_ = id;
  select(line(id).pane);
}

std::vector<SettingsLine> SettingsModel::lines(SettingsPane pane) const {
  std::vector<SettingsLine> all;
  for (const std::string_view id : order_) {
    SettingsLine one = line(id);
    if (one.pane == pane) all.push_back(std::move(one));
  }
  return all;
}

std::vector<SettingsLine> SettingsModel::found(std::string_view text) const {
  const SearchWords words(text);
  std::vector<SettingsLine> all;
  if (words.empty()) return all;
  // A search may show rows of panes that nobody has opened.
  services_.text.lookOnce();
  for (const std::string_view id : order_) {
    SettingsLine one = line(id);
    std::string read = fmt::format("{}\n{}\n{}\n{}\n{}\n{}", one.label, one.explanation,
                                   one.meaning, one.group, nameOf(one.pane), one.id);
    for (const SettingsLine::Choice& choice : one.choices) read += "\n" + choice.words;
    if (words.areIn(read)) all.push_back(std::move(one));
  }
  return all;
}

SettingsLine SettingsModel::line(std::string_view id) const {
  const SettingRow* const row = findSettingRow(id);
  return row == nullptr ? ownLine(id) : lineOf(*row);
}

SettingsLine SettingsModel::ownLine(std::string_view id) const {
  SettingsLine line;
  line.id = id;
  if (id == autostartRow) {
    const AutostartSwitch& autostart = services_.autostart;
    line.label = "Start with the session";
    line.explanation = "Vantorel waits in the tray.";
    line.meaning = "Vantorel starts when you log in";
    line.control = SettingControl::toggle;
    line.value = autostart.isOn().value_or(false) ? "true" : "false";
    line.remark = autostart.problem();
    if (!autostart.isOn()) line.obstacle = "Not known yet.";
    if (line.value == "true") line.resetLabel = "Back to off";
  } else if (id == resetAllRow) {
    line.group = "Reset";
    line.label = "Reset all settings";
    line.explanation = "Captures and the library are not touched.";
    line.button = "Reset…";
  } else if (id == sizeRow) {
    line.pane = SettingsPane::library;
    line.group = "Check";
    line.label = "Size";
    line.explanation = services_.library.size();
    if (line.explanation.empty()) line.explanation = "Opening the library";
  } else if (id == verifyRow) {
    const LibraryPane& library = services_.library;
    line.pane = SettingsPane::library;
    line.group = "Check";
    line.label = "Verify";
    line.explanation = "Looks whether every capture has its file, and every file its capture.";
    line.isBusy = library.verifying().has_value();
    if (line.isBusy) line.progress = library.verifying()->words();
    line.button = line.isBusy ? "Stop" : library.canRepair() ? "Repair" : "Verify";
    line.remark = library.verifyReport();
    line.isWarning = false;
  } else if (id == languagesRow) {
    line.pane = SettingsPane::text;
    line.group = "Languages";
    line.label = "Installed";
    line.explanation = services_.text.installed();
    if (line.explanation.empty()) line.explanation = "Looking…";
    line.remark = services_.text.problem();
  } else if (id == addLanguageRow) {
    const TextPane& text = services_.text;
    const bool isKnown = !text.installed().empty();
    const std::string proposed = isKnown ? text.proposed() : std::string();
    line.pane = SettingsPane::text;
    line.group = "Languages";
    line.label = proposed.empty() ? "Add a language" : fmt::format("Add {}", proposed);
    line.explanation = isKnown ? text.command() : "Looking…";
    line.meaning =
        "Each language is a package: tesseract-ocr-deu for German. It is used once it is installed";
    line.button = "Copy";
    line.remark = text.copied();
    line.isWarning = text.hasCopyFailed();
  } else {
    VT_CHECK(false && "a row that is not there");
  }
  return line;
}

SettingsLine SettingsModel::lineOf(const SettingRow& row) const {
  const Setting& setting = settingOfRow(row);
  const SettingsValues& values = services_.settings.values();
  SettingsLine line;
  line.id = row.key;
  line.pane = row.pane;
  line.group = row.group;
  line.label = row.label;
  line.explanation = row.explanation;
  line.meaning = capitalised(row.meaning);
  line.control = row.control;
  line.value = typed(setting, values);
  line.words = wordsOf(row, values);
  line.number = shownNumber(row, numberIn(setting, values));
  line.least = shownNumber(row, setting.least);
  line.most = shownNumber(row, setting.most);
  line.step = row.shown.step;
  line.obstacle = obstacleTo(row);
  if (setting.store(values) != setting.store(services_.settings.defaults()) ||
      refusals_.contains(row.key)) {
    line.resetLabel = "Back to " + wordsOf(row, services_.settings.defaults());
  }
  addChoices(row, line);
  addState(row, line);
  return line;
}

void SettingsModel::addChoices(const SettingRow& row, SettingsLine& line) const {
  for (const ChoiceWords& choice : row.choices) {
    line.choices.push_back({std::string(choice.stored), std::string(choice.words)});
  }
  if (row.control != SettingControl::collection) return;
  line.choices.push_back({std::string(none), "No collection"});
  for (const HistoryCollection& collection : services_.history.collections()) {
    line.choices.push_back({collection.id, collection.name});
  }
}

/// What stands with the row beside its value.
void SettingsModel::addState(const SettingRow& row, SettingsLine& line) const {
  if (const auto refused = refusals_.find(row.key); refused != refusals_.end()) {
    line.remark = refused->second.why;
    line.refused = refused->second.typed;
  }
  if (row.key == "filenameTemplate") {
    const SettingsValues& values = services_.settings.values();
    line.explanation =
        fmt::format("“{}”", captureFileName(values.filenameTemplate, services_.clock.now(),
                                            fileExtension(values.exportFormat)));
  } else if (row.key == "retentionDays") {
    line.isWarning = !line.remark.empty();
    if (line.remark.empty()) line.remark = services_.retention.remark();
  } else if (row.key == "storageDirectory") {
    const LibraryPane& library = services_.library;
    line.explanation = line.words;
    line.isBusy = library.moving().has_value();
    if (line.isBusy) line.progress = library.moving()->words();
    line.button = line.isBusy ? "Stop" : "Move…";
    if (!line.resetLabel.empty()) {
      line.resetLabel = "Move back to " + wordsOf(row, services_.settings.defaults());
    }
    if (line.isBusy) line.resetLabel.clear();
    line.remark = library.moveReport();
    line.isWarning = false;
  } else if (row.control == SettingControl::picture) {
    if (line.value != none) line.explanation = line.words;
  } else if (row.control == SettingControl::shortcut) {
    line.field = services_.recorder.field(row.key);
  }
}

std::string SettingsModel::wordsOf(const SettingRow& row, const SettingsValues& values) const {
  const Setting& setting = settingOfRow(row);
  std::string value = typed(setting, values);
  switch (row.control) {
    case SettingControl::toggle: return value == "true" ? "on" : "off";
    case SettingControl::choice: {
      const auto found = std::ranges::find(row.choices, value, &ChoiceWords::stored);
      return found == row.choices.end() ? value : std::string(found->words);
    }
    case SettingControl::number:
      return fmt::format("{}{}", shownNumber(row, numberIn(setting, values)), row.shown.unit);
    case SettingControl::folder: return folderWords(value, services_.home);
    case SettingControl::picture:
      return value == none ? "no image" : folderWords(value, services_.home);
    case SettingControl::shortcut: return value == none ? "no key" : value;
    case SettingControl::collection: {
      const HistoryCollection* const found = services_.history.findCollection(value);
      return found == nullptr ? "no collection" : found->name;
    }
    case SettingControl::color:
    case SettingControl::text: return value;
  }
  std::unreachable();
}

/// Why the row has no effect now: another one is not set so that it has.
std::string SettingsModel::obstacleTo(const SettingRow& row) const {
  if (row.needs.key.empty()) return {};
  const SettingRow* const needed = findSettingRow(row.needs.key);
  VT_CHECK(needed != nullptr);
  if (std::string farther = obstacleTo(*needed); !farther.empty()) return farther;
  if (typed(settingOfRow(*needed), services_.settings.values()) == row.needs.value) return {};
  const auto choice = std::ranges::find(needed->choices, row.needs.value, &ChoiceWords::stored);
  if (choice == needed->choices.end()) return fmt::format("“{}” is off.", needed->label);
  return fmt::format("Works when “{}” is “{}”.", needed->label, choice->words);
}

void SettingsModel::set(std::string_view id, std::string_view value) {
  if (id == autostartRow) return services_.autostart.set(value == "true");
  const SettingRow* const row = findSettingRow(id);
  VT_CHECK(row != nullptr && row->control != SettingControl::shortcut);
  if (row->control == SettingControl::folder) return services_.library.moveTo(std::string(value));
  const bool wasRefused = refusals_.erase(std::string(id)) > 0;
  if (!services_.settings.setFromText(id, value)) {
    const Setting& setting = settingOfRow(*row);
    std::string why = setting.fault ? setting.fault(value) : std::string();
    if (why.empty()) why = fmt::format("{} must be {}.", row->label, setting.allowed);
    refusals_[std::string(id)] = {.typed = std::string(value), .why = std::move(why)};
    return changed(id);
  }
  if (wasRefused) changed(id);
}

void SettingsModel::setNumber(std::string_view id, double shown) {
  const SettingRow* const row = findSettingRow(id);
  VT_CHECK(row != nullptr && row->control == SettingControl::number);
  set(id, fmt::format("{}", std::round(shown / row->shown.scale * 1e6) / 1e6));
}

void SettingsModel::reset(std::string_view id) {
  if (id == autostartRow) return services_.autostart.set(false);
  const SettingRow* const row = findSettingRow(id);
  VT_CHECK(row != nullptr);
  refusals_.erase(std::string(id));
  // The captures go back with their folder.
  if (row->control == SettingControl::folder) {
    return services_.library.moveTo(typed(settingOfRow(*row), services_.settings.defaults()));
  }
  if (services_.recorder.listening() == id) services_.recorder.stop();
  VT_CHECK(services_.settings.reset(id).has_value());
  changed(id);
}

void SettingsModel::press(std::string_view id) {
  LibraryPane& library = services_.library;
  if (id == resetAllRow) return askResetAll();
  if (id == verifyRow) {
    return library.verifying() ? library.stopVerify() : library.verify(library.canRepair());
  }
  if (id == "storageDirectory") library.stopMove();
  if (id == addLanguageRow) services_.text.copyCommand();
}

void SettingsModel::askResetAll() {
  services_.alerts.ask(
      {Alert::Style::warning,
       "Reset all settings?",
       "Shortcuts, capture, export and history preferences return to their defaults, and starting "
       "with the session is switched off. Captures and the library are not touched.",
       {{"Reset"}, {"Cancel", true, true}},
       true},
      lifetime_.guard([this](std::size_t button) {
        if (button != 0) return;
        refusals_.clear();
        services_.settings.resetAll();
        services_.autostart.refresh();
        changed({});
      }));
}

void SettingsModel::settingChanged(std::string_view key) {
  refusals_.erase(std::string(key));
  changed(key);
  for (const SettingRow& row : settingRows()) {
    if (row.needs.key.empty()) continue;
    const SettingRow* const needed = findSettingRow(row.needs.key);
    if (needed->key == key || needed->needs.key == key) changed(row.key);
  }
  if (key == "exportFormat") changed("filenameTemplate");
}

}  // namespace vantorel
