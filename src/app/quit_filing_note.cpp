#include "app/quit_filing_note.hpp"

#include <algorithm>
#include <utility>

namespace vantorel::QuitFilingNote {
namespace {

std::vector<Item> unique(const std::vector<Item>& items) {
  std::vector<Item> found;
  for (const Item item : items) {
    if (std::ranges::find(found, item) == found.end()) found.push_back(item);
  }
  return found;
}

}  // namespace

std::string_view phrase(Item item) {
  switch (item) {
    case Item::recording: return "a Recording";
    case Item::studioProject: return "a Studio project";
    case Item::redactedCapture: return "a capture Smart Redact was checking";
    case Item::recordingLength: return "a Recording's length";
    case Item::scrollingCapture: return "a Scrolling Capture";
    case Item::rewrite: return "a Convert, Compress or Redact change";
    case Item::editorSave: return "your changes in Annotate";
    case Item::stillCapture: return "a screenshot";
  }
  std::unreachable();
}

std::string phrases(const std::vector<Item>& items) {
  const std::vector<Item> named = unique(items);
  std::string text;
  for (std::size_t i = 0; i < named.size(); ++i) {
    if (i > 0) text += i + 1 == named.size() ? " and " : ", ";
    text += phrase(named[i]);
  }
  return text;
}

std::string stillSaving(const std::vector<Item>& items) {
  return "Vantorel is still saving " + phrases(items) + ".";
}

std::string consequence(const std::vector<Item>& items) {
  const std::vector<Item> named = unique(items);
  // "your changes" are many even alone.
  const bool one = named.size() == 1 && named.front() != Item::editorSave;
  return one ? "If you quit now, it will be lost." : "If you quit now, they will be lost.";
}

std::string unfinishedAtLastQuit(const std::vector<Item>& items) {
  return "Vantorel quit before it finished saving " + phrases(items) + ".";
}

std::vector<Item> fromStored(const std::vector<std::string>& names) {
  std::vector<Item> items;
  for (const std::string& name : names) {
    if (const auto item = enumFromName<Item>(name)) items.push_back(*item);
  }
  return unique(items);
}

std::vector<std::string> toStored(const std::vector<Item>& items) {
  std::vector<std::string> names;
  for (const Item item : unique(items)) names.emplace_back(nameOf(item));
  return names;
}

}  // namespace vantorel::QuitFilingNote
