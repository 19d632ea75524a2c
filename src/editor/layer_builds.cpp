#include "editor/layer_builds.hpp"

#include <utility>

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
  auto install = newest_.guard([this](LayerComposite composite) {
    state_ = composite.image.isEmpty() ? LayerBuildState::failed : LayerBuildState::ready;
    latest_ = std::move(composite);
    installed_();
  });
  background_->post([main = main_, build = build_, counter = generation_, generation,
                     document = std::move(document), install = std::move(install)]() mutable {
    if (*counter != generation) return;
    LayerComposite composite = (*build)(document);
    main->post([install = std::move(install), composite = std::move(composite)]() mutable {
      install(std::move(composite));
    });
  });
}

}  // namespace vantorel
