#pragma once

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "app/annotate_model.hpp"
#include "editor/canvas_scene.hpp"

namespace vantorel {

/// What an Annotate window has from the moment on that its picture is read. Its parts know each
/// other, and go together. Lives on the main runner.
struct AnnotateModel::Editing {
  Editing(Image picture, SceneDrawing& theDrawing, EditorOpening opening, EditorEvents events,
          CanvasScene::Services scenes, CanvasServices canvas,
          const std::function<EditorSessionServices(CanvasScene&)>& sessions,
          const EditedCapture& capture)
      : base(std::move(picture)),
        drawing(theDrawing),
        model(std::move(opening), std::move(events)),
        scene(std::move(scenes), model, base),
        input(model, std::move(canvas)),
        session(capture.entryID(), capture.file().string(), model, sessions(scene)),
        drawn(scene.observe([this](const CanvasScene::Change&) {
          if (scene.picture().pixels == nullptr) return;
          for (const auto& job : std::exchange(whenDrawn, {})) job();
        })) {}

  Image base;
  SceneDrawing& drawing;
  EditorModel model;
  CanvasScene scene;
  CanvasInput input;
  EditorSession session;
  std::vector<std::function<void()>> whenDrawn{};
  Observation drawn;
  std::unique_ptr<SmartRedactSession> smartRedact{};
};

}  // namespace vantorel
