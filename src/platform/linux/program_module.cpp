#include "platform/linux/program_module.hpp"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
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

namespace {

/// Whether some of what is mapped of a module is missing from its file: the program would end when
/// it touches that.
bool isCutShort(const Path& module) {
  std::ifstream file(module, std::ios::binary | std::ios::ate);
  const auto size = static_cast<std::uint64_t>(std::max<std::streamoff>(file.tellg(), 0));
  file.seekg(0);
  ElfW(Ehdr) header{};
  if (!file.read(reinterpret_cast<char*>(&header), sizeof(header))) return size > 0;
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) return false;
  file.seekg(static_cast<std::streamoff>(header.e_phoff));
  for (int i = 0; i < header.e_phnum; ++i) {
    ElfW(Phdr) segment{};
    if (!file.read(reinterpret_cast<char*>(&segment), sizeof(segment))) return true;
    if (segment.p_filesz > size || segment.p_offset > size - segment.p_filesz) return true;
  }
  return false;
}

}  // namespace

Result<void*> moduleEntry(const Path& module, const std::string& entry) {
  if (isCutShort(module)) {
    return failed(FailureKind::malformed, "is damaged; install Vantorel again");
  }
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
