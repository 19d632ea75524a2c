#pragma once

#include "platform/scene_view.hpp"

namespace vantorel {

/// The one drawing of scenes, which lives as long as the process.
[[nodiscard]] SceneDrawing& sceneDrawing();

/// The name under which the module exports it, as a function of type `SceneDrawingEntry`.
inline constexpr const char* sceneDrawingEntryName = "vantorelSceneDrawing";
using SceneDrawingEntry = SceneDrawing* (*)();

}  // namespace vantorel
