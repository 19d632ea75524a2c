#include "main/ui_module.hpp"

#include "main/program_module.hpp"

namespace vantorel {

Result<std::unique_ptr<DesktopUi>> loadDesktopUi() {
  void* const factory = programModuleEntry("libvantorel_ui.so", desktopUiFactoryName);
  if (factory == nullptr) {
    return failed(FailureKind::notFound,
                  "the part of Vantorel that shows windows is not installed");
  }
  std::unique_ptr<DesktopUi> ui(reinterpret_cast<DesktopUiFactory>(factory)());
  if (!ui) return failed(FailureKind::unreachable, "there is no display to show windows on");
  return ui;
}

}  // namespace vantorel
