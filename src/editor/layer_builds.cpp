#include "editor/layer_builds.hpp"

#include <utility>

#include "base/round_trip.hpp"

namespace vantorel {

LayerBuilds::LayerBuilds(std::shared_ptr<TaskRunner> main, std::shared_ptr<TaskRunner> background,
                         std::function<void()> installed)
    : main_(std::move(main)),
      background_(std::move(background)),
      installed_(std::move(installed)) {}

void LayerBuilds::start(Build build) {
  newest_.renew();
  state_ = LayerBuildState::building;
  const int generation = ++*generation_;
  roundTrip(
      *background_, main_,
      [build = std::move(build), counter = generation_, generation] {
        return *counter == generation ? build() : LayerComposite();
      },
      newest_.guard([this](LayerComposite composite) {
        state_ = composite.image.isEmpty() ? LayerBuildState::failed : LayerBuildState::ready;
        latest_ = std::move(composite);
        installed_();
      }));
}

}  // namespace vantorel
