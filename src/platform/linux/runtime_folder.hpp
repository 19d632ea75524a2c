#pragma once

#include "platform/files.hpp"

namespace vantorel {

/// Libraries use the session's runtime folder, and the session bus whose socket lies there, in our
/// process, where a mount that never answers would hold the thread, and the process at its end.
/// Where they are on such a mount, asks `files` first; without an answer takes them out of the
/// environment. Waits for as long as `files` does. Call before threads of ours start.
void leaveSilentRuntimeFolder(const Files& files);

}  // namespace vantorel
