#pragma once

#include <source_location>

namespace vantorel {

/// Reports a broken promise of our own code on standard error and aborts.
[[noreturn]] void checkFailed(const char* condition, std::source_location where);

}  // namespace vantorel

/// For our own mistakes; stays on in release builds. Never judges input from outside.
#define VT_CHECK(condition)                                                 \
  do {                                                                      \
    if (!(condition)) [[unlikely]]                                          \
      ::vantorel::checkFailed(#condition, std::source_location::current()); \
  } while (false)
