#include "main/program_module.hpp"

#include <dlfcn.h>

#include <filesystem>

#include "base/log.hpp"

namespace vantorel {

void* programModuleEntry(const char* module, const char* entry) {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  const auto path = program.parent_path().parent_path() / "lib/vantorel" / module;
  // Never closed: its code runs until the process ends.
  void* const library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  void* const found = library == nullptr ? nullptr : ::dlsym(library, entry);
  if (found == nullptr) logError("Modules", "{}", ::dlerror());
  return found;
}

}  // namespace vantorel
