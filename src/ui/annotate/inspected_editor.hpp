#pragma once

#include <QImage>
#include <QSize>
#include <QString>
#include <QWidget>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/observers.hpp"
#include "editor/editor_model.hpp"

namespace vantorel {

/// What the inspector and the popovers work on: an editor, and what its window does for them. All
/// is called on the main thread.
struct InspectedEditor {
  std::shared_ptr<EditorModel> model;

  /// Of whatever can be seen.
  std::function<Observation(std::function<void()> changed)> observe = [](auto) {
    return Observation();
  };

  /// What the capture itself is called.
  std::function<std::string()> captureName = [] { return std::string(); };

  /// Asks for files and adds them.
  std::function<void()> addLayers = [] {};

  /// Gives a small picture of what a layer shows, at least `pixels` one way, at once or later; none
  /// when there is none.
  using Thumbnail = std::function<void(const QImage& picture)>;
  std::function<void(const LayerSpec& layer, QSize pixels, Thumbnail given)> thumbnail =
      [](const LayerSpec&, QSize, const Thumbnail&) {};

  /// The layers that cannot be shown, as far as is known; `lookAtLayers` looks for their files.
  std::function<std::vector<std::string>()> missingLayers = [] {
    return std::vector<std::string>();
  };
  std::function<std::vector<std::string>()> oversizedLayers = [] {
    return std::vector<std::string>();
  };

  std::function<void()> lookAtLayers = [] {};

  std::function<void(const std::string& text)> copyText = [](const std::string&) {};
};

/// What a layer is called on the screen; the capture's has the capture's title until it is given a
/// name.
[[nodiscard]] QString shownLayerName(const InspectedEditor& editor, const LayerSpec& layer);

class AnnotateModel;

/// Of a model that is ready, for widgets of `window`.
[[nodiscard]] InspectedEditor inspected(const std::shared_ptr<AnnotateModel>& model,
                                        QWidget* window);

/// Calls `begin` with it, at once or when the model is ready; `waiting` ends the wait, and may be
/// another observation by then.
void whenReady(const std::shared_ptr<AnnotateModel>& model, QWidget* window, Observation& waiting,
               std::function<void(InspectedEditor editor)> begin);

}  // namespace vantorel
