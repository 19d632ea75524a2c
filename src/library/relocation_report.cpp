#include "library/relocation_report.hpp"

#include <fmt/format.h>

#include <utility>

namespace vantorel {
namespace {

std::string_view sentence(RelocationRefusal refusal) {
  switch (refusal) {
    case RelocationRefusal::indexUnreadable:
      return "History couldn't read its index, so nothing was moved. New captures will still be "
             "saved to the new folder.";
    case RelocationRefusal::journalUnreadable:
      return "History found a record of an earlier move that it can't read, so nothing was moved. "
             "New captures will still be saved to the new folder.";
  }
  std::unreachable();
}

}  // namespace

std::string captureCount(std::size_t count) {
  return fmt::format("{} {}", count, count == 1 ? "capture" : "captures");
}

std::string stillThere(int count) {
  return captureCount(count) + (count == 1 ? " is" : " are") + " still in the previous folder.";
}

std::string copiesLeftSentence(const RelocationOutcome& outcome) {
  if (outcome.copiesLeft == 0) return {};
  const bool isOne = outcome.copiesLeft == 1;
  return fmt::format(
      "{} copied to the new folder and could not be removed from the previous one ({}). {} there "
      "until \"vantorel library verify --repair\" can remove {}.",
      isOne ? "1 file was" : fmt::format("{} files were", outcome.copiesLeft),
      outcome.reasonOfCopiesLeft, isOne ? "It stays" : "They stay", isOne ? "it" : "them");
}

std::optional<RelocationReport::Alert> RelocationReport::alert(const RelocationOutcome& outcome) {
  constexpr std::string_view none = notMovedTitle;
  constexpr std::string_view stopped = "Moving captures stopped";
  constexpr std::string_view some = "Some captures didn't move";
  const auto say = [](std::string_view title, std::string text) {
    return Alert{std::string(title), std::move(text)};
  };
  if (outcome.refusal) return say(none, std::string(sentence(*outcome.refusal)));
  if (outcome.indexNotSaved) {
    return say(stopped, "History couldn't save its index (" + *outcome.indexNotSaved +
                            "), so Vantorel stopped moving captures. "
                            "Every capture is still in History: the ones that moved are in the new "
                            "folder, and the rest are where they were.");
  }
  if (outcome.stoppedForQuit) {
    return say(stopped, "Moving your captures stopped when Vantorel began to quit. " +
                            stillThere(outcome.failed + outcome.notMoved));
  }
  if (outcome.failed == 0) {
    if (outcome.copiesLeft == 0) return std::nullopt;
    return say("Files stayed in the previous folder", copiesLeftSentence(outcome));
  }
  std::string text = stillThere(outcome.failed);
  if (!outcome.reason.empty()) {
    text = fmt::format("{} The reason given: {}.", text, outcome.reason);
  }
  return say(outcome.moved == 0 ? none : some, std::move(text));
}

}  // namespace vantorel
