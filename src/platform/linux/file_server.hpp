#pragma once

#include <string_view>

namespace vantorel {

/// The only argument of a process that `FileServerProcess` starts.
inline constexpr std::string_view fileServerArgument = "--serve-files";

/// Does to files what another process of this program asks for, which must not be held by a file
/// system that never answers: this process may be. Standard input is a socket over which each
/// connection comes; the requests of one are answered in their order, those of several at the same
/// time. An empty message says that a request makes progress. Ends with the last of the sockets, at
/// once and whatever hangs.
[[noreturn]] void serveFiles();

}  // namespace vantorel
