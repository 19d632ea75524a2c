#include "library/entry_failure.hpp"

#include <fmt/format.h>

#include <utility>

namespace vantorel {
namespace {

std::string closed(const std::string& text) { return text.ends_with('.') ? text : text + "."; }

}  // namespace

std::string sentence(const EntryFailure& failure) {
  using enum EntryFailure::Case;
  switch (failure.what) {
    case unnamed: return failure.reason;
    case libraryClosed: return "The library can't be used now: " + failure.reason + ".";
    case unchangeable: return closed("The capture can't be changed: " + failure.reason);
    case left: return "The capture has left History.";
    case unsettled:
      return "The capture can't be used now: a capture whose file has its name is being changed.";
    case notSaved:
      return "The change is made, but History couldn't be saved: " + failure.reason + ".";
  }
  std::unreachable();
}

std::string sentence(const FileAbsence& absence) {
  const std::string_view away = sentence(absence.reach);
  if (away.empty()) return fmt::format("The capture's file is gone: {}.", absence.path);
  return closed(fmt::format("{}: {}", absence.path, away));
}

std::optional<FileAbsence> absenceOf(const Files& files, const ScreenshotEntry& entry) {
  const FileReach reach = reachOf(files, entry);
  if (reach == FileReach::there) return std::nullopt;
  return FileAbsence{reach, entry.path};
}

}  // namespace vantorel
