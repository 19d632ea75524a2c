#pragma once

#include <memory>

#include "base/result.hpp"
#include "ui/desktop_ui.hpp"

namespace vantorel {

/// Loads the module with the windows, which lies beside the program in "../lib/vantorel", and makes
/// its one object. `unreachable` when there is nothing to show windows on, `notFound` when the
/// module is not installed.
[[nodiscard]] Result<std::unique_ptr<DesktopUi>> loadDesktopUi();

}  // namespace vantorel
