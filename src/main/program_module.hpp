#pragma once

namespace vantorel {

/// Loads a module that lies beside the program in "../lib/vantorel" and answers its function
/// `entry`; null, with a line in the log, when it is not installed. Any thread.
[[nodiscard]] void* programModuleEntry(const char* module, const char* entry);

}  // namespace vantorel
