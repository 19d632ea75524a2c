#include "main/ui_module.hpp"

#include "platform/linux/desktop_session.hpp"
#include "platform/linux/program_module.hpp"

namespace vantorel {

Result<std::unique_ptr<DesktopUi>> loadDesktopUi() {
  const auto factory = moduleEntry(modulesFolder() / "libvantorel_ui.so", desktopUiFactoryName);
  if (!factory) {
    return failed(factory.error().kind,
                  "the part of Vantorel that shows windows " + factory.error().reason);
  }
  const auto server = makeDisplayServer();
  std::unique_ptr<DesktopUi> ui(reinterpret_cast<DesktopUiFactory>(*factory)(*server));
  if (!ui) return failed(FailureKind::unreachable, "there is no display to show windows on");
  return ui;
}

}  // namespace vantorel
