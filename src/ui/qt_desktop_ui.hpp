#pragma once

#include <memory>

#include "ui/desktop_ui.hpp"

namespace vantorel {

/// Null when no window system answers. `server` is used only meanwhile.
[[nodiscard]] std::unique_ptr<DesktopUi> makeQtDesktopUi(DisplayServer& server);

}  // namespace vantorel
