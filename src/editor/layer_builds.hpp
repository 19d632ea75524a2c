#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "editor/export_gate.hpp"
#include "editor/records/layer_composite.hpp"

namespace vantorel {

/// What the latest build says of the layers.
struct LayersReport {
  LayerBuildState state = LayerBuildState::none;
  std::vector<std::string> missingLayerIDs;
  std::vector<std::string> oversizedLayerIDs;
};

/// Builds layered images in the background. Only the latest build asked for is installed; an older
/// one that has not begun is skipped. Lives on the main runner.
class LayerBuilds {
 public:
  /// Draws layers; called on the background runner. An empty image is a failure.
  using Build = std::function<LayerComposite()>;

  /// `installed` is called on the main runner after each change of `latest`.
  LayerBuilds(std::shared_ptr<TaskRunner> main, std::shared_ptr<TaskRunner> background,
              std::function<void()> installed);

  void start(Build build);

  [[nodiscard]] LayerBuildState state() const { return state_; }

  /// The last build installed, which stays while a newer one is under way.
  [[nodiscard]] const LayerComposite& latest() const { return latest_; }

  [[nodiscard]] LayersReport report() const {
    return {state_, latest_.missingLayerIDs, latest_.oversizedLayerIDs};
  }

 private:
  std::shared_ptr<TaskRunner> main_;
  std::shared_ptr<TaskRunner> background_;
  std::function<void()> installed_;
  std::shared_ptr<std::atomic<int>> generation_ = std::make_shared<std::atomic<int>>(0);
  LayerBuildState state_ = LayerBuildState::none;
  LayerComposite latest_;
  Lifetime newest_;
};

}  // namespace vantorel
