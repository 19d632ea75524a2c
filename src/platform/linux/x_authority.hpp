#pragma once

#include "platform/files.hpp"

namespace vantorel {

/// Puts the name of the X authority file into the environment where it is missing. Without it
/// libXau makes the name in one buffer for all threads, and connections are made on several. Call
/// before the first thread starts.
void nameXAuthority();

/// The libraries that connect to the display read that file by themselves, in our process. Where it
/// is on a mount that may never answer, reads it through `files` once, and has the
/// libraries read the copy: in memory, for as long as this process lives. Without an answer they
/// find an empty file. Waits for as long as `files` does. Call before threads of ours start.
void keepXAuthority(const Files& files);

}  // namespace vantorel
