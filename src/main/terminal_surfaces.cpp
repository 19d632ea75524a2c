#include "main/terminal_surfaces.hpp"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <utility>

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

AlertID TerminalAlerts::ask(Alert alert, std::function<void(std::size_t)> answered) {
  logWarning("Alert", "{} {}", alert.message, alert.informative);
  answered(alert.buttons.size() - 1);
  return 0;
}

void TerminalAlerts::notify(std::string title, std::string body) {
  logInfo("Alert", "{}: {}", title, body);
}

/// The log may be read by nobody: it is told again where there are windows.
void TerminalAlerts::tell(std::string title, std::string body, std::function<void()>) {
  notify(std::move(title), std::move(body));
}

void TerminalProgress::show(std::uint64_t done, std::uint64_t total, std::string_view words) {
  const std::lock_guard lock(mutex_);
  if (total == 0) {
    fmt::print(stderr, "{}{}\n", std::exchange(isInLine_, false) ? "\n" : "", words);
    return;
  }
  if (isatty(STDERR_FILENO) == 0) return;
  isInLine_ = done != total;
  const std::string line =
      fmt::format("\r{} of {} {}{}", done, total, words, isInLine_ ? "" : "\n");
  std::fputs(line.c_str(), stderr);
}

void TerminalProgress::end() {
  const std::lock_guard lock(mutex_);
  if (isInLine_) std::fputs("\n", stderr);
  isInLine_ = false;
}

}  // namespace vantorel
