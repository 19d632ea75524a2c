#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "editor/export_gate.hpp"
#include "editor/layer_composite.hpp"
#include "editor/records/editor_document.hpp"

namespace vantorel {

/// Builds layered images in the background. Only the latest build asked for is installed; an older
/// one that has not begun is skipped. Lives on the main runner.
class LayerBuilds {
 public:
  /// Draws the layers of a document; called on the background runner.
  using Build = std::function<LayerComposite(const EditorDocument&)>;

  /// `installed` is called on the main runner after each change of `latest`.
  LayerBuilds(std::shared_ptr<TaskRunner> main, std::shared_ptr<TaskRunner> background, Build build,
              std::function<void()> installed);

  void start(EditorDocument document);

  [[nodiscard]] LayerBuildState state() const { return state_; }

  /// The last build installed, which stays while a newer one is under way.
  [[nodiscard]] const LayerComposite& latest() const { return latest_; }

 private:
  std::shared_ptr<TaskRunner> main_;
  std::shared_ptr<TaskRunner> background_;
  std::shared_ptr<const Build> build_;
  std::function<void()> installed_;
  std::shared_ptr<std::atomic<int>> generation_ = std::make_shared<std::atomic<int>>(0);
  LayerBuildState state_ = LayerBuildState::none;
  LayerComposite latest_;
  Lifetime newest_;
};

}  // namespace vantorel
