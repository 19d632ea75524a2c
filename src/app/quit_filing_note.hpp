#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/enum_names.hpp"

namespace vantorel {

/// What may still be filing when the user quits, and the words for it.
namespace QuitFilingNote {

enum class Item {
  recording,
  studioProject,
  redactedCapture,
  recordingLength,
  scrollingCapture,
  rewrite,
  editorSave,
  stillCapture,
};

/// The phrase that names the item in messages: "a Recording".
[[nodiscard]] std::string_view phrase(Item item);

/// "a Recording, a Studio project and your changes in Annotate"; each item once, in order of first
/// appearance.
[[nodiscard]] std::string phrases(const std::vector<Item>& items);

/// The alert's message text.
[[nodiscard]] std::string stillSaving(const std::vector<Item>& items);

/// The alert's informative text.
[[nodiscard]] std::string consequence(const std::vector<Item>& items);

/// What the next launch tells about items that were lost.
[[nodiscard]] std::string unfinishedAtLastQuit(const std::vector<Item>& items);

/// Stored names back to items; unknown names are skipped, repeated ones count once.
[[nodiscard]] std::vector<Item> fromStored(const std::vector<std::string>& names);
[[nodiscard]] std::vector<std::string> toStored(const std::vector<Item>& items);

}  // namespace QuitFilingNote

template <>
inline constexpr auto enumNames<QuitFilingNote::Item> =
    std::to_array<EnumName<QuitFilingNote::Item>>({
        {QuitFilingNote::Item::recording, "recording"},
        {QuitFilingNote::Item::studioProject, "studioProject"},
        {QuitFilingNote::Item::redactedCapture, "redactedCapture"},
        {QuitFilingNote::Item::recordingLength, "recordingLength"},
        {QuitFilingNote::Item::scrollingCapture, "scrollingCapture"},
        {QuitFilingNote::Item::rewrite, "rewrite"},
        {QuitFilingNote::Item::editorSave, "editorSave"},
        {QuitFilingNote::Item::stillCapture, "stillCapture"},
    });

}  // namespace vantorel
