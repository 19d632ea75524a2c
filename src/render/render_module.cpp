#include "render/scene_drawing.hpp"

extern "C" __attribute__((visibility("default"))) vantorel::SceneDrawing* vantorelSceneDrawing() {
  return &vantorel::sceneDrawing();
}
