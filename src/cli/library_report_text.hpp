#pragma once

#include <string>

#include "cli/command_reply.hpp"
#include "library/deletion_outcome.hpp"
#include "library/entry_changes.hpp"
#include "library/library_prune.hpp"
#include "library/relocation_report.hpp"
#include "library/verify_report.hpp"

namespace vantorel {

// Any thread, but where a store is given.

/// A line for each finding, then how large the library is. It fails when something stays that does
/// not fit together.
[[nodiscard]] CommandReply replyTo(const VerifyReport& report, bool json);

/// A line for each capture that was changed.
[[nodiscard]] CommandReply replyTo(const ChangeReport& report, bool json);

/// How many captures went; as JSON the captures themselves are to follow.
[[nodiscard]] CommandReply replyTo(const ForgetReport& report, bool json);

/// What is to be known beside what went: sentences, one a line.
[[nodiscard]] std::string remarksOn(const PruneReport& report);

/// How many captures went; as JSON the captures themselves are to follow.
[[nodiscard]] CommandReply replyTo(const TrashSweep& sweep, const HistoryStore& store, bool json);

/// What went wrong; the captures that are back are to follow.
[[nodiscard]] CommandReply replyTo(const UndoOutcome& outcome, const HistoryStore& store);

/// `isCalledOff`: by who asked for the move, rather than by a quit.
[[nodiscard]] CommandReply replyTo(const RelocationOutcome& outcome, const Path& folder, bool json,
                                   bool isCalledOff);

}  // namespace vantorel
