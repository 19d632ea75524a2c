#pragma once

#include <expected>

#include "base/result.hpp"

namespace vantorel {

/// The failure an `errno` value stands for, worded for people.
[[nodiscard]] std::unexpected<Failure> systemFailure(int error);

/// The failure of the system call that has just answered -1.
[[nodiscard]] std::unexpected<Failure> lastSystemFailure();

}  // namespace vantorel
