#include "editor/canvas_scene.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <mutex>
#include <new>
#include <utility>

#include "base/round_trip.hpp"
#include "editor/shape_layers.hpp"

namespace vantorel {

/// The pictures of the layers that the document has, read once. Used on the work runner.
struct CanvasScene::LayerPictures {
  ReadLayerPicture read;
  std::unordered_map<std::string, Image> known;

  static std::string keyOf(const LayerSpec& layer) {
    return fmt::format("{} {}", layer.frameIndex, *layer.path);
  }

  Result<Image> pictureOf(const LayerSpec& layer) {
    std::string key = keyOf(layer);
    if (const auto found = known.find(key); found != known.end()) return found->second;
    Image picture = VT_TRY(read(layer));
    known.emplace(std::move(key), picture);
    return picture;
  }

  void forgetAllBut(const std::vector<LayerSpec>& layers) {
    std::erase_if(known, [&](const auto& entry) {
      return std::ranges::none_of(layers, [&](const LayerSpec& layer) {
        return layer.path && keyOf(layer) == entry.first;
      });
    });
  }
};

CanvasScene::CanvasScene(Services services, const EditorModel& model, Image base)
    : services_(std::move(services)),
      model_(model),
      base_(std::move(base)),
      pictures_(std::make_shared<LayerPictures>(LayerPictures{services_.readLayer, {}})),
      builds_(services_.main, services_.work, [this] { drawFirst(); }) {
  update();
}

CanvasScene::Wanted CanvasScene::wanted() const {
  const EditorSnapshot& state = model_.state();
  Wanted wanted{state.layers, state.canvas, {}};
  const CanvasSize canvas = model_.canvasSize();
  wanted.part = {0, 0, static_cast<int>(canvas.width), static_cast<int>(canvas.height)};
  if (model_.tool() != Tool::crop) wanted.part = model_.shownPart();
  return wanted;
}

ShapeList CanvasScene::shapes() const {
  return shownShapes(model_.sceneShapes(), *model_.state().layers, model_.captureSize());
}

void CanvasScene::update() {
  if (Wanted next = wanted(); !asked_ || *asked_ != next) startBuild(std::move(next));
  if (!view_) return;
  Change change;
  change.areas = view_->show(shapes());
  if (!change.areas.empty()) announce(std::move(change));
}

void CanvasScene::startBuild(Wanted next) {
  asked_ = next;
  drawing_.renew();
  EditorDocument document;
  document.layers = *next.layers;
  document.canvas = *next.canvas;
  builds_.start([document = std::move(document), base = base_, part = next.part,
                 pictures = pictures_, drawing = services_.drawing] {
    pictures->forgetAllBut(document.layers);
    const auto read = [&](const LayerSpec& layer) { return pictures->pictureOf(layer); };
    try {
      return drawing->buildLayers(document, base, read, part);
    } catch (const std::bad_alloc&) {
      return LayerComposite();
    }
  });
}

/// The layers are there: what lies on them is drawn.
void CanvasScene::drawFirst() {
  const LayerComposite& layers = builds_.latest();
  if (layers.image.isEmpty()) return;
  const AxisMap toPicture =
      model_.toCanvas().then({1, 1, -double(asked_->part.x), -double(asked_->part.y)});
  SceneGround ground{layers.image, toPicture, layers.bleed, model_.captureScale()};
  drawing_.renew();
  roundTrip(
      *services_.work, services_.main,
      [ground = std::move(ground), shapes = shapes(),
       drawing = services_.drawing]() -> std::unique_ptr<SceneView> {
        try {
          auto view = drawing->makeView(ground);
          view->show(shapes);
          return view;
        } catch (const std::bad_alloc&) {
          return nullptr;
        }
      },
      drawing_.guard([this, part = asked_->part](std::unique_ptr<SceneView> view) {
        if (!view) return;
        shown_ = part;
        install(std::move(view));
      }));
}

void CanvasScene::install(std::unique_ptr<SceneView> view) {
  view_ = std::move(view);
  isOpaque_ = builds_.latest().image.format() == PixelFormat::bgrx;
  view_->show(shapes());  // what changed meanwhile
  announce({true, {}});
}

void CanvasScene::announce(Change change) {
  if (change.isNew) {
    halves_.clear();
  } else if (!halves_.empty()) {
    std::vector<PixelRect> areas = change.areas;
    Picture below = picture();
    for (HalvedPicture& half : halves_) {
      for (PixelRect& area : areas) area = half.follow(below.pixels, below.stride, area);
      below.pixels = half.pixels();
      below.stride = half.stride();
    }
  }
  observers_.notify(change);
}

CanvasScene::Picture CanvasScene::picture() const {
  if (!view_) return {};
  return {view_->pixels(),
          view_->stride(),
          view_->size(),
          {double(shown_.x), double(shown_.y)},
          isOpaque_};
}

CanvasScene::Picture CanvasScene::picture(int halvings) const {
  Picture picture = CanvasScene::picture();
  if (picture.pixels == nullptr) return picture;
  for (std::size_t i = 0; i < static_cast<std::size_t>(halvings); ++i) {
    if (i == halves_.size()) halves_.emplace_back(picture.pixels, picture.stride, picture.size);
    picture.pixels = halves_[i].pixels();
    picture.stride = halves_[i].stride();
    picture.size = halves_[i].size();
  }
  return picture;
}

Box CanvasScene::covered() const {
  const Picture whole = picture();
  return {whole.origin.x, whole.origin.y, double(whole.size.width), double(whole.size.height)};
}

std::optional<std::string> CanvasScene::colorAt(Pt canvas) const {
  const Picture whole = picture();
  const double x = std::floor(canvas.x - whole.origin.x);
  const double y = std::floor(canvas.y - whole.origin.y);
  if (!(x >= 0 && y >= 0 && x < whole.size.width && y < whole.size.height)) return std::nullopt;
  const std::uint8_t* const pixel =
      whole.pixels + static_cast<std::size_t>(y) * whole.stride + static_cast<std::size_t>(x) * 4;
  const int alpha = whole.isOpaque ? 255 : pixel[3];
  if (alpha == 0) return std::nullopt;
  const auto part = [alpha](int value) { return std::min((value * 255 + alpha / 2) / alpha, 255); };
  return fmt::format("#{:02x}{:02x}{:02x}", part(pixel[2]), part(pixel[1]), part(pixel[0]));
}

Image CanvasScene::loupe(Pt canvas, int side) const {
  MutableImage seen({side, side}, PixelFormat::bgraPremultiplied);
  const Picture whole = picture();
  const auto start = [side](double at) {
    return static_cast<int>(std::clamp(std::floor(at), -1e8, 1e8)) - side / 2;
  };
  const int left = start(canvas.x - whole.origin.x);
  const int top = start(canvas.y - whole.origin.y);
  const PixelRect part =
      intersection({left, top, side, side}, {0, 0, whole.size.width, whole.size.height});
  for (int y = part.y; y < part.bottom(); ++y) {
    std::uint8_t* const row = seen.row(y - top).data() + std::ptrdiff_t{4} * (part.x - left);
    std::memcpy(row,
                whole.pixels + static_cast<std::size_t>(y) * whole.stride +
                    static_cast<std::size_t>(part.x) * 4,
                static_cast<std::size_t>(part.width) * 4);
  }
  return std::move(seen).finish();
}

}  // namespace vantorel
