#include "editor/layer_builds.hpp"

#include <utility>

#include "base/round_trip.hpp"

namespace vantorel {

LayerBuilds::LayerBuilds(std::shared_ptr<TaskRunner> main, std::shared_ptr<TaskRunner> background,
                         Build build, std::function<void()> installed)
    : main_(std::move(main)),
      background_(std::move(background)),
      build_(std::make_shared<const Build>(std::move(build))),
      installed_(std::move(installed)) {}

void LayerBuilds::start(EditorDocument document) {
  newest_.renew();
  state_ = LayerBuildState::building;
  const int generation = ++*generation_;
  roundTrip(
      *background_, main_,
      [build = build_, counter = generation_, generation, document = std::move(document)] {
        return *counter == generation ? (*build)(document) : LayerComposite();
      },
      newest_.guard([this](LayerComposite composite) {
        state_ = composite.image.isEmpty() ? LayerBuildState::failed : LayerBuildState::ready;
        latest_ = std::move(composite);
        installed_();
      }));
}

}  // namespace vantorel
