#pragma once

#include <fmt/format.h>

#include <functional>
#include <string_view>

namespace vantorel {

enum class LogLevel { debug, info, warning, error };

/// Where log lines go. The default writes warnings and errors to standard error as
/// "vantorel [category] text". The environment variable VANTOREL_LOG (debug, info, warning,
/// error) moves the threshold.
using LogSink = std::function<void(LogLevel, std::string_view category, std::string_view text)>;

/// Replaces the sink and returns the one before. Not while other threads log.
LogSink setLogSink(LogSink sink);

void logLine(LogLevel level, std::string_view category, std::string_view text);

template <class... Arguments>
void logInfo(std::string_view category, fmt::format_string<Arguments...> format,
             Arguments&&... arguments) {
  logLine(LogLevel::info, category, fmt::format(format, std::forward<Arguments>(arguments)...));
}

template <class... Arguments>
void logWarning(std::string_view category, fmt::format_string<Arguments...> format,
                Arguments&&... arguments) {
  logLine(LogLevel::warning, category, fmt::format(format, std::forward<Arguments>(arguments)...));
}

template <class... Arguments>
void logError(std::string_view category, fmt::format_string<Arguments...> format,
              Arguments&&... arguments) {
  logLine(LogLevel::error, category, fmt::format(format, std::forward<Arguments>(arguments)...));
}

}  // namespace vantorel
