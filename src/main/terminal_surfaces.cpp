#include "main/terminal_surfaces.hpp"

#include <unistd.h>

#include <cstdio>

#include "base/log.hpp"

namespace vantorel {

void TerminalCountdown::show(int secondsLeft) {
  if (isatty(STDERR_FILENO) == 0) return;
  isShown_ = true;
  std::fprintf(stderr, "\rCapturing in %d s ", secondsLeft);
}

void TerminalCountdown::hide(std::function<void()> hidden) {
  if (isShown_) std::fprintf(stderr, "\r                    \r");
  isShown_ = false;
  hidden();
}

void TerminalAlerts::ask(Alert alert, std::function<void(std::size_t)> answered) {
  logWarning("Alert", "{} {}", alert.message, alert.informative);
  answered(alert.buttons.size() - 1);
}

void TerminalAlerts::notify(std::string title, std::string body) {
  logInfo("Alert", "{}: {}", title, body);
}

namespace {

std::function<void(std::size_t, std::size_t)> showProgress(const char* words) {
  if (isatty(STDERR_FILENO) == 0) return nullptr;
  return [words](std::size_t done, std::size_t total) {
    std::fprintf(stderr, "\r%zu of %zu %s%s", done, total, words, done == total ? "\n" : "");
  };
}

}  // namespace

std::function<void(std::size_t, std::size_t)> showCheckProgress() {
  return showProgress("captures");
}

std::function<void(std::size_t, std::size_t)> showMoveProgress() {
  return showProgress("files moved");
}

}  // namespace vantorel
