#include "platform/linux/program_module.hpp"

#include <dlfcn.h>

#include <filesystem>
#include <string_view>

#include "base/log.hpp"

/// The digest of the core that this program, or a module, was built with.
extern "C" const char vantorelBuildStamp[];

namespace vantorel {

Path modulesFolder() {
  std::error_code error;
  const Path program = std::filesystem::read_symlink("/proc/self/exe", error);
  return program.parent_path().parent_path() / "lib/vantorel";
}

Result<void*> moduleEntry(const Path& module, const std::string& entry) {
  void* const library = ::dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  if (library == nullptr) {
    logWarning("Modules", "{}", ::dlerror());
    std::error_code error;
    if (!std::filesystem::exists(module, error)) {
      return failed(FailureKind::notFound, "is not installed");
    }
  }
  const auto* const stamp = library == nullptr
                                ? nullptr
                                : static_cast<const char*>(::dlsym(library, "vantorelBuildStamp"));
  if (stamp == nullptr || std::string_view(stamp) != std::string_view(vantorelBuildStamp)) {
    return failed(FailureKind::unsupported,
                  "is of another version; quit Vantorel and start it again");
  }
  void* const found = ::dlsym(library, entry.c_str());
  if (found == nullptr) return failed(FailureKind::notFound, "is not installed");
  return found;
}

}  // namespace vantorel
