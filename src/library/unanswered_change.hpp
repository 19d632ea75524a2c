#pragma once

#include <optional>
#include <string>

#include "base/result.hpp"

namespace vantorel {

/// Whether what came of a change that failed is not known: the server of its disk was silent, and
/// may have made it, or make it when it comes back. Whoever noted what he was about to do leaves
/// the note where it is, as a program does that is killed at this moment, and looks again when the
/// disk answers.
[[nodiscard]] inline bool isUnanswered(const Failure& failure) {
  return failure.kind == FailureKind::unreachable;
}

/// What people are told instead of the reason; a clause.
[[nodiscard]] std::string unansweredReason(const Failure& failure);

/// At most one step of a change, the one that the server had been asked for, can still be made
/// after we gave up. Where we cannot make it come to nothing, a look that finds it not made is
/// believed when the disk has been answering for this long.
inline constexpr double landingSeconds = 60;

/// Whether a change that a look has just found not made may yet be. `until` is kept with its note:
/// 0 before the first such look, then the moment at which it is believed. Both are seconds since
/// 1970-01-01 UTC.
[[nodiscard]] bool mayStillLand(double& until, double now);

}  // namespace vantorel
