#include "base/log.hpp"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace vantorel {
namespace {

LogLevel threshold() {
  static const LogLevel level = [] {
    const char* text = std::getenv("VANTOREL_LOG");
    const std::string_view name = text == nullptr ? "" : text;
    if (name == "debug") return LogLevel::debug;
    if (name == "info") return LogLevel::info;
    if (name == "error") return LogLevel::error;
    return LogLevel::warning;
  }();
  return level;
}

LogSink& sink() {
  static LogSink current = [](LogLevel level, std::string_view category, std::string_view text) {
    if (level < threshold()) return;
    const std::string line = fmt::format("vantorel [{}] {}\n", category, text);
    std::fwrite(line.data(), 1, line.size(), stderr);
  };
  return current;
}

}  // namespace

LogSink setLogSink(LogSink replacement) { return std::exchange(sink(), std::move(replacement)); }

void logLine(LogLevel level, std::string_view category, std::string_view text) {
  sink()(level, category, text);
}

}  // namespace vantorel
