#include "platform/linux/program_module.hpp"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <set>
#include <string_view>
#include <vector>

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

/// What is mapped of a library and never written.
struct LibraryCode {
  ElfW(Addr) base = 0;
  std::vector<std::pair<ElfW(Addr), std::size_t>> pages{};  // where from, and how many bytes
};

std::vector<LibraryCode> loadedCode() {
  std::vector<LibraryCode> all;
  const auto add = [](dl_phdr_info* info, std::size_t, void* out) {
    const auto page = static_cast<ElfW(Addr)>(::sysconf(_SC_PAGESIZE));
    LibraryCode library{.base = info->dlpi_addr};
    for (int i = 0; i < info->dlpi_phnum; ++i) {
      const ElfW(Phdr)& segment = info->dlpi_phdr[i];
      if (segment.p_type != PT_LOAD || (segment.p_flags & PF_W) != 0) continue;
      const ElfW(Addr) start = (info->dlpi_addr + segment.p_vaddr) / page * page;
      const ElfW(Addr) end =
          (info->dlpi_addr + segment.p_vaddr + segment.p_filesz + page - 1) / page * page;
      library.pages.emplace_back(start, end - start);
    }
    static_cast<std::vector<LibraryCode>*>(out)->push_back(std::move(library));
    return 0;
  };
  ::dl_iterate_phdr(add, &all);
  return all;
}

/// What came with which module.
struct ModuleCode {
  std::mutex mutex;
  std::map<Path, std::vector<LibraryCode>> modules;
};

ModuleCode& moduleCode() {
  static ModuleCode all;
  return all;
}

void* openModule(const Path& module) {
  ModuleCode& code = moduleCode();
  const std::scoped_lock lock(code.mutex);
  std::set<ElfW(Addr)> before;
  for (const LibraryCode& library : loadedCode()) before.insert(library.base);
  void* const library = ::dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  if (library == nullptr || code.modules.contains(module)) return library;
  std::vector<LibraryCode> own = loadedCode();
  std::erase_if(own, [&](const LibraryCode& one) { return before.contains(one.base); });
  code.modules.emplace(module, std::move(own));
  return library;
}

}  // namespace

void restModule(const Path& module) {
  ModuleCode& code = moduleCode();
  const std::scoped_lock lock(code.mutex);
  const auto found = code.modules.find(module);
  if (found == code.modules.end()) return;
  for (const LibraryCode& library : found->second) {
    for (const auto& [start, bytes] : library.pages) {
      (void)::madvise(reinterpret_cast<void*>(start), bytes, MADV_DONTNEED);
    }
  }
}

Result<void*> moduleEntry(const Path& module, const std::string& entry) {
  if (isCutShort(module)) {
    return failed(FailureKind::malformed, "is damaged; install Vantorel again");
  }
  void* const library = openModule(module);
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
