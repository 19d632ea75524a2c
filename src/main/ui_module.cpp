#include "main/ui_module.hpp"

#include <dlfcn.h>

#include <filesystem>

#include "base/log.hpp"

namespace vantorel {

Result<std::unique_ptr<DesktopUi>> loadDesktopUi() {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  const auto module = program.parent_path().parent_path() / "lib/vantorel/libvantorel_ui.so";
  // Never closed: its code runs until the process ends.
  void* const library = dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    logError("Windows", "{}", dlerror());
    return failed(FailureKind::notFound,
                  "the part of Vantorel that shows windows is not installed");
  }
  const auto make = reinterpret_cast<DesktopUiFactory>(dlsym(library, desktopUiFactoryName));
  std::unique_ptr<DesktopUi> ui(make == nullptr ? nullptr : make());
  if (!ui) return failed(FailureKind::unreachable, "there is no display to show windows on");
  return ui;
}

}  // namespace vantorel
