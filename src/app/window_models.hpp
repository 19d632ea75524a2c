#pragma once

namespace vantorel {

/// What the windows show and decide, made when a window opens. Used on the main runner.
struct WindowModels {};

}  // namespace vantorel
