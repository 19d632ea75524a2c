#pragma once

#include <string_view>
#include <utility>

#include "base/log.hpp"

namespace vantorel {

/// Nothing is logged while it lives: a test that lets things fail has nothing to say about it.
class QuietLog {
 public:
  QuietLog() : former_(setLogSink([](LogLevel, std::string_view, std::string_view) {})) {}
  QuietLog(const QuietLog&) = delete;
  QuietLog& operator=(const QuietLog&) = delete;
  ~QuietLog() { setLogSink(std::move(former_)); }

 private:
  LogSink former_;
};

}  // namespace vantorel
