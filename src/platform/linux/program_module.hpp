#pragma once

#include <string>

#include "base/result.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Where the parts of the program lie that are loaded when they are needed: "../lib/vantorel" from
/// the program.
[[nodiscard]] Path modulesFolder();

/// Loads a module, for as long as the process runs, and answers its function `entry`. `notFound`
/// when it is not installed, `unsupported` when it is of another build than this program, as an
/// update leaves one beside a program that runs, and `malformed` when its file was cut short. The
/// reason stands behind the part's name. Any thread.
[[nodiscard]] Result<void*> moduleEntry(const Path& module, const std::string& entry);

/// Takes what is not used of a module, and of the libraries that came with it, out of the program's
/// memory: their code as it stands in their files, which whoever uses it again finds in the system's
/// cache. Nothing for one that was not loaded. Any thread, also while others use it.
void restModule(const Path& module);

}  // namespace vantorel
