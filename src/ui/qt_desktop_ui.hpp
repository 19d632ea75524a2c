#pragma once

#include <memory>

#include "ui/desktop_ui.hpp"

namespace vantorel {

/// Null when no window system answers.
[[nodiscard]] std::unique_ptr<DesktopUi> makeQtDesktopUi();

}  // namespace vantorel
