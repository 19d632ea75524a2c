#include "app/help_model.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <utility>

#include "app/window_keys.hpp"
#include "base/search_words.hpp"

namespace vantorel {
namespace {

/// "Ctrl+Shift+S" by its keys.
std::vector<std::string> parted(std::string_view text, std::string_view by) {
  std::vector<std::string> parts;
  for (std::size_t at = text.find(by, 1); at != std::string_view::npos; at = text.find(by, 1)) {
    parts.emplace_back(text.substr(0, at));
    text.remove_prefix(at + by.size());
  }
  parts.emplace_back(text);
  return parts;
}

std::vector<std::vector<std::string>> keysOf(std::string_view text) {
  std::vector<std::vector<std::string>> ways;
  if (text.empty()) return ways;
  for (const std::string& way : parted(text, " or ")) ways.push_back(parted(way, "+"));
  return ways;
}

bool hasWords(const HelpModel::Row& row, const SearchWords& words) {
  std::string read = row.title;
  for (const auto& way : row.keys) read += fmt::format("\n{}", fmt::join(way, "+"));
  if (row.command != nullptr) read += "\n" + row.command->label;
  return words.areIn(read);
}

}  // namespace

HelpModel::HelpModel(Services services) : services_(std::move(services)) {
  if (services_.keys == nullptr) return;
  keysObservation_ = services_.keys->observe([this] { observers_.notify(); });
}

HelpModel::Row HelpModel::rowOf(const DesktopCommand& command) const {
  Row row;
  row.title = command.shortcut ? title(*command.shortcut) : command.label;
  row.command = &command;
  if (command.shortcut && services_.keys != nullptr) {
    row.keys = keysOf(services_.keys->workingKey(*command.shortcut));
  }
  row.obstacle = services_.obstacle(command).value_or(std::string());
  return row;
}

std::vector<HelpModel::Section> HelpModel::sections(std::string_view text) const {
  Section captures{"Captures", {}};
  Section recent{"Copy recent captures", {}};
  // Those that may carry a key in their order, then the others.
  for (const auto& [id, name] : enumNames<ShortcutID>) {
    const DesktopCommand* const command = findDesktopCommand(id);
    if (command == nullptr) continue;
    (recentNumber(id) ? recent : captures).rows.push_back(rowOf(*command));
  }
  for (const DesktopCommand& command : desktopCommands()) {
    if (!command.shortcut) captures.rows.push_back(rowOf(command));
  }
  std::vector<Section> all{std::move(captures), std::move(recent)};
  for (const WindowKeys& window : windowKeys()) {
    Section& section = all.emplace_back(Section{std::string(window.window), {}});
    for (const WindowKey& key : window.keys) {
      section.rows.push_back({std::string(key.title), keysOf(key.keys)});
    }
  }
  const SearchWords words(text);
  for (Section& section : all) {
    std::erase_if(section.rows, [&](const Row& row) { return !hasWords(row, words); });
  }
  std::erase_if(all, [](const Section& section) { return section.rows.empty(); });
  return all;
}

void HelpModel::run(const Row& row) {
  if (row.command == nullptr || services_.obstacle(*row.command)) return;
  services_.perform(*row.command);
}

}  // namespace vantorel
