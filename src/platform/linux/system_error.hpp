#pragma once

#include <expected>

#include "base/result.hpp"

namespace vantorel {

/// The failure an `errno` value stands for, worded for people.
[[nodiscard]] std::unexpected<Failure> systemFailure(int error);

/// Whether a server whose reply was lost may have made what failed with this `errno` value, or may
/// still make it.
[[nodiscard]] bool mayBeLostReply(int error);

/// While it lives, what fails on this thread in such a way fails with `unreachable`: for changes of
/// what another machine or program serves.
class LostRepliesAreSilence {
 public:
  LostRepliesAreSilence();
  LostRepliesAreSilence(const LostRepliesAreSilence&) = delete;
  LostRepliesAreSilence& operator=(const LostRepliesAreSilence&) = delete;
  ~LostRepliesAreSilence();
};

/// The failure of the system call that has just answered -1.
[[nodiscard]] std::unexpected<Failure> lastSystemFailure();

}  // namespace vantorel
