#include "app/termination_handshake.hpp"

#include <fmt/format.h>

#include <algorithm>

#include "base/log.hpp"

namespace vantorel {

std::shared_ptr<QuitFilingDeadline::Latch> QuitFilingDeadline::first(
    PendingArchiveWork& work, TaskRunner& main, std::function<void(Outcome)> ended) {
  auto latch = std::make_shared<Latch>(std::move(ended));
  main.postAfter(length, [latch] { latch->release(Outcome::expired); });
  work.whenEmpty([latch] { latch->release(Outcome::landed); });
  return latch;
}

void TerminationHandshake::request(bool forRelaunch) {
  if (isInProgress_) return;
  isInProgress_ = true;
  hasAsked_ = false;
  forRelaunch_ = forRelaunch;
  if (services_.work->isEmpty()) {
    services_.terminate();
    return;
  }
  wait();
}

void TerminationHandshake::wait() {
  latch_ = QuitFilingDeadline::first(*services_.work, *services_.main,
                                     lifetime_.guard([this](QuitFilingDeadline::Outcome outcome) {
                                       if (outcome == QuitFilingDeadline::Outcome::landed) {
                                         services_.terminate();
                                       } else {
                                         expired();
                                       }
                                     }));
}

void TerminationHandshake::expired() {
  const std::vector<QuitFilingNote::Item> unfinished = services_.work->items();
  logWarning("Quit", "the quit's filing wait reached its deadline: {}",
             QuitFilingNote::phrases(unfinished));
  const bool savesAnnotations =
      std::ranges::find(unfinished, QuitFilingNote::Item::editorSave) != unfinished.end();
  // Asked once, the user chose to keep waiting, and it does not end: what was drawn is worth more
  // than the quit.
  if (savesAnnotations && std::exchange(hasAsked_, true)) {
    abandon(
        fmt::format("Your changes in Annotate did not finish saving within {} seconds, so "
                    "Vantorel did not quit.",
                    QuitFilingDeadline::length.count()));
    return;
  }
  Alert alert{.style = Alert::Style::warning,
              .message = QuitFilingNote::stillSaving(unfinished),
              .informative = QuitFilingNote::consequence(unfinished),
              .buttons = {{"Quit Anyway"}, {"Keep Waiting", true, true}}};
  // The work may land while the question stands; then there is nothing left to ask.
  services_.work->whenEmpty(lifetime_.guard([this] {
    services_.alerts->dismiss(question_);
    services_.terminate();
  }));
  question_ = services_.alerts->ask(std::move(alert), lifetime_.guard([this](std::size_t button) {
    lifetime_.renew();
    if (services_.work->isEmpty()) {
      services_.terminate();
    } else if (button == 0) {
      quitAnyway(services_.work->items());
    } else {
      wait();
    }
  }));
}

void TerminationHandshake::quitAnyway(const std::vector<QuitFilingNote::Item>& unfinished) {
  services_.recordUnfinished(QuitFilingNote::toStored(unfinished));
  services_.terminate();
}

void TerminationHandshake::scrollingCaptureNotSaved() {
  const std::string start =
      forRelaunch_ ? "Vantorel stayed open and didn't relaunch" : "Vantorel stayed open";
  abandon(start + ": your Scrolling Capture couldn't be saved, and quitting would lose it.");
}

void TerminationHandshake::callOff() {
  isInProgress_ = false;
  if (latch_) latch_->cancel();
  lifetime_.renew();
}

void TerminationHandshake::abandon(std::string sentence) {
  callOff();
  services_.alerts->notify("Vantorel did not quit", std::move(sentence));
}

}  // namespace vantorel
