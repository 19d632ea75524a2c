#include "editor/canvas_scene.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <mutex>
#include <new>
#include <utility>

#include "base/round_trip.hpp"
#include "editor/export_gate.hpp"
#include "editor/layer_layout.hpp"
#include "editor/shape_geometry.hpp"
#include "editor/shape_layers.hpp"

namespace vantorel {
namespace {

/// The pixels of a view as they are now, not kept.
Image borrowed(const SceneView& view, bool isOpaque) {
  return {view.size(), view.stride(), isOpaque ? PixelFormat::bgrx : PixelFormat::bgraPremultiplied,
          std::shared_ptr<const std::uint8_t>(std::shared_ptr<void>(), view.pixels())};
}

/// The picture halved twice, when it is so large that it is likely to be shown small.
std::vector<HalvedPicture> halvesOf(const std::uint8_t* pixels, std::size_t stride,
                                    PixelSize size) {
  constexpr double large = 3e6;  // pixels
  std::vector<HalvedPicture> halves;
  if (double(size.width) * size.height < large) return halves;
  halves.emplace_back(pixels, stride, size);
  halves.emplace_back(halves[0].pixels(), halves[0].stride(), halves[0].size());
  return halves;
}

Image copied(const Image& image) {
  MutableImage copy(image.size(), image.format());
  for (int y = 0; y < image.height(); ++y) std::ranges::copy(image.row(y), copy.row(y).begin());
  return std::move(copy).finish();
}

}  // namespace

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

/// Whether a build needs the same pictures, laid out differently.
bool CanvasScene::Wanted::hasSameFiles(const Wanted& other) const {
  return std::ranges::equal(*layers, *other.layers, [](const LayerSpec& a, const LayerSpec& b) {
    return a.id == b.id && a.path == b.path && a.visible == b.visible;
  });
}

/// Where layers look different, when that is all that changed and the capture stays in its place.
std::optional<PixelRect> CanvasScene::Wanted::changesTo(const Wanted& next,
                                                        PixelSize capture) const {
  constexpr double reach = 2;  // of the filter that scales
  const bool isSame = part == next.part && *canvas == *next.canvas && hasSameFiles(next) &&
                      captureToCanvas(*layers, capture) == captureToCanvas(*next.layers, capture);
  if (!isSame) return std::nullopt;
  std::vector<Pt> corners;
  for (std::size_t i = 0; i < layers->size(); ++i) {
    const LayerSpec& before = (*layers)[i];
    const LayerSpec& after = (*next.layers)[i];
    if (before == after || !after.visible) continue;
    for (const Box& frame : {before.frame, after.frame}) {
      if (!hasArea(frame)) return std::nullopt;
      corners.push_back({frame.x - reach, frame.y - reach});
      corners.push_back({frame.right() + reach, frame.bottom() + reach});
    }
  }
  const Box all = boundsOf(corners);
  const auto whole = [](double value) { return static_cast<int>(std::clamp(value, -1e8, 1e8)); };
  const int left = whole(std::floor(all.x));
  const int top = whole(std::floor(all.y));
  return PixelRect{left, top, whole(std::ceil(all.right())) - left,
                   whole(std::ceil(all.bottom())) - top};
}

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
  const bool isWhole = model_.tool() == Tool::crop;
  wanted.part = isWhole ? vantorel::shownPart({}, model_.canvasSize()) : model_.shownPart();
  return wanted;
}

ShapeList CanvasScene::shapes() const {
  return shownShapes(model_.sceneShapes(), *model_.state().layers, model_.captureSize());
}

/// The background that a picture of this size gets; none for none, while the crop is chosen, and
/// when the result would be too large.
std::shared_ptr<const BackgroundSpec> CanvasScene::wantedFrame(PixelSize picture) const {
  const auto& background = model_.state().background;
  if (model_.tool() == Tool::crop ||
      std::holds_alternative<BackgroundFill::None>(background->fill.value)) {
    return nullptr;
  }
  const CanvasSize bare{double(picture.width), double(picture.height)};
  const double padding = paddingPixels(*background, bare);
  const bool isPossible =
      isPossibleCanvas({bare.width + 2 * padding, bare.height + 2 * padding}, bare);
  return isPossible ? background : nullptr;
}

void CanvasScene::update() {
  const Wanted next = wanted();
  // One at a time, so that a layer being dragged is seen on its way.
  const bool isBusy =
      builds_.state() == LayerBuildState::building || isDrawingFirst_ || isPatching_;
  const bool isOther = !asked_ || *asked_ != next;
  const bool canWait = isBusy && asked_->hasSameFiles(next);
  if (isOther) {
    if (!canWait && !startPatch(next)) startBuild(next);
  } else if (isPatched_ && !isBusy && !model_.isInStep()) {
    startBuild(next);
  }
  if (!view_) return;
  updateFrame(view_->show(shapes()));
}

/// Brings what is seen up to the view, in which these areas have changed.
void CanvasScene::updateFrame(const std::vector<PixelRect>& areas) {
  const auto wanted = wantedFrame(view_->size());
  if (!wanted) {
    framing_.renew();
    isFraming_ = false;
    framed_.reset();
    if (std::exchange(frame_, nullptr)) {
      halves_.clear();
      return announce({true, {}});
    }
    if (!areas.empty()) announce({false, areas});
    return;
  }
  if (isFraming_) sinceFraming_.insert(sinceFraming_.end(), areas.begin(), areas.end());
  const bool isSame = frame_ && (wanted == framed_ || *wanted == *framed_);
  if (!isSame && !isFraming_) startFrame(wanted);
  if (areas.empty()) return;
  announce({false, frame_ ? frame_->follow(viewed(), areas) : areas});
}

void CanvasScene::startBuild(const Wanted& next) {
  asked_ = next;
  isDrawingFirst_ = false;
  isPatching_ = false;
  drawing_.renew();
  EditorDocument document;
  document.layers = *next.layers;
  document.canvas = *next.canvas;
  Look look = lookOf(next, {next.part.width, next.part.height});
  first_ = std::make_shared<std::optional<First>>();
  builds_.start([document = std::move(document), base = base_, part = next.part,
                 pictures = pictures_, drawing = services_.drawing, look = std::move(look),
                 isAwaited = view_ == nullptr, first = first_] {
    pictures->forgetAllBut(document.layers);
    const auto read = [&](const LayerSpec& layer) { return pictures->pictureOf(layer); };
    try {
      LayerComposite built = drawing->buildLayers(document, base, read, part);
      // Where nothing is seen yet it is drawn in the same go.
      if (isAwaited && !built.image.isEmpty()) {
        first->emplace(First{look, drawn(*drawing, built, look)});
      }
      return built;
    } catch (const std::bad_alloc&) {
      return LayerComposite();
    }
  });
}

/// While layers are dragged, or a slider changes them, only their places are built anew: close to
/// what a whole build gives, which follows when the gesture has ended.
bool CanvasScene::startPatch(const Wanted& next) {
  if (!view_ || !model_.isInStep() || builds_.state() != LayerBuildState::ready ||
      isDrawingFirst_) {
    return false;
  }
  const std::optional<PixelRect> changed = asked_->changesTo(next, model_.captureSize());
  if (!changed) return false;
  asked_ = next;
  isPatching_ = true;
  const PixelRect area = intersection(*changed, next.part);
  EditorDocument document;
  document.layers = *next.layers;
  document.canvas = *next.canvas;
  drawing_.renew();
  roundTrip(
      *services_.work, services_.main,
      [document = std::move(document), base = base_, area, pictures = pictures_,
       drawing = services_.drawing] {
        const auto read = [&](const LayerSpec& layer) { return pictures->pictureOf(layer); };
        try {
          if (area.isEmpty()) return LayerComposite();
          return drawing->buildLayers(document, base, read, area);
        } catch (const std::bad_alloc&) {
          return LayerComposite();
        }
      },
      drawing_.guard([this, area](const LayerComposite& built) {
        isPatching_ = false;
        isPatched_ = true;
        if (built.bleed > builds_.latest().bleed) {  // redactions have to cover more
          startBuild(wanted());
        } else if (!built.image.isEmpty()) {
          updateFrame(
              view_->patchGround(built.image, area.x - shown_.x, area.y - shown_.y, shapes()));
        }
        update();
      }));
  return true;
}

/// What is drawn on the layers that are asked for.
CanvasScene::Look CanvasScene::lookOf(const Wanted& next, PixelSize picture) const {
  const AxisMap toPicture = captureToCanvas(*next.layers, model_.captureSize())
                                .then({1, 1, -double(next.part.x), -double(next.part.y)});
  return {toPicture, model_.captureScale(), shapes(), wantedFrame(picture)};
}

/// Draws on layers what lies on them. Any thread; without a view where there is no memory for it.
CanvasScene::Drawn CanvasScene::drawn(SceneDrawing& drawing, const LayerComposite& layers,
                                      const Look& look) {
  try {
    const bool isOpaque = layers.image.format() == PixelFormat::bgrx;
    const SceneGround ground{layers.image, look.toPicture, layers.bleed, look.scale};
    Drawn drawn{drawing.makeView(ground), nullptr, look.background, {}};
    drawn.view->show(look.shapes);
    if (!look.background) {
      drawn.halves = halvesOf(drawn.view->pixels(), drawn.view->stride(), drawn.view->size());
      return drawn;
    }
    drawn.frame = drawing.makeFrame(*look.background, drawn.view->size());
    drawn.frame->follow(borrowed(*drawn.view, isOpaque), {});
    drawn.halves = halvesOf(drawn.frame->pixels(), drawn.frame->stride(), drawn.frame->size());
    return drawn;
  } catch (const std::bad_alloc&) {
    return {};
  }
}

void CanvasScene::setBase(Image base) {
  VT_CHECK(base.size() == base_.size());
  base_ = std::move(base);
  startBuild(wanted());
}

void CanvasScene::readAgain() {
  services_.work->post([pictures = pictures_] { pictures->known.clear(); });
  startBuild(wanted());
}

/// A hidden layer is not looked at, and what it lacked it goes on lacking.
void CanvasScene::takeFaults() {
  const auto follow = [&](std::vector<std::string>& known, const std::vector<std::string>& built) {
    std::vector<std::string> now = built;
    for (const LayerSpec& layer : *asked_->layers) {
      if (!layer.visible && std::ranges::find(known, layer.id) != known.end()) {
        now.push_back(layer.id);
      }
    }
    known = std::move(now);
  };
  follow(faults_.missingLayerIDs, builds_.latest().missingLayerIDs);
  follow(faults_.oversizedLayerIDs, builds_.latest().oversizedLayerIDs);
}

/// The layers are there: what lies on them is drawn.
void CanvasScene::drawFirst() {
  takeFaults();
  const LayerComposite& layers = builds_.latest();
  if (layers.image.isEmpty()) return announce({});
  Look look = lookOf(*asked_, layers.image.size());
  const auto first = std::exchange(first_, nullptr);
  if (first && *first && (*first)->look == look) {
    return takeDrawn(std::move((*first)->drawn), asked_->part);
  }
  isDrawingFirst_ = true;
  drawing_.renew();
  roundTrip(
      *services_.work, services_.main,
      [layers, look = std::move(look), drawing = services_.drawing] {
        return drawn(*drawing, layers, look);
      },
      drawing_.guard([this, part = asked_->part](Drawn drawn) {
        isDrawingFirst_ = false;
        takeDrawn(std::move(drawn), part);
      }));
}

void CanvasScene::takeDrawn(Drawn drawn, const PixelRect& part) {
  hasNoMemory_ = !drawn.view;
  if (drawn.view) install(std::move(drawn), part);
  update();
  if (hasNoMemory_) announce({});
}

void CanvasScene::install(Drawn drawn, const PixelRect& part) {
  framing_.renew();
  isFraming_ = false;
  view_ = std::move(drawn.view);
  frame_ = std::move(drawn.frame);
  framed_ = std::move(drawn.background);
  halves_ = std::move(drawn.halves);
  shown_ = part;
  isPatched_ = false;
  isOpaque_ = builds_.latest().image.format() == PixelFormat::bgrx;
  announce({true, {}});
}

/// Makes another background for the picture there is.
void CanvasScene::startFrame(const std::shared_ptr<const BackgroundSpec>& background) {
  isFraming_ = true;
  sinceFraming_.clear();
  // Only what is transparent in the picture shows in its shadow.
  Image picture = isOpaque_ ? builds_.latest().image : copied(viewed());
  if (isOpaque_) sinceFraming_ = {{0, 0, picture.width(), picture.height()}};
  framing_.renew();
  roundTrip(
      *services_.work, services_.main,
      [picture = std::move(picture), background, drawing = services_.drawing]() {
        std::unique_ptr<FramedView> frame;
        try {
          frame = drawing->makeFrame(*background, picture.size());
          frame->follow(picture, {});
        } catch (const std::bad_alloc&) {
          frame.reset();
        }
        return frame;
      },
      framing_.guard([this, background](std::unique_ptr<FramedView> frame) {
        isFraming_ = false;
        if (!frame) return;
        frame_ = std::move(frame);
        framed_ = background;
        frame_->follow(viewed(), std::exchange(sinceFraming_, {}));
        halves_.clear();
        announce({true, {}});
        update();
      }));
}

void CanvasScene::announce(const Change& change) {
  if (!change.isNew) {
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

LayersReport CanvasScene::report() const {
  LayersReport report = faults_;
  report.state = builds_.state();
  if (hasNoMemory_) report.state = LayerBuildState::failed;
  return report;
}

Image CanvasScene::viewed() const { return borrowed(*view_, isOpaque_); }

CanvasScene::Picture CanvasScene::picture() const {
  if (!view_) return {};
  const Pt corner{double(shown_.x), double(shown_.y)};
  if (frame_) {
    const double margin = frame_->margin();
    return {frame_->pixels(),
            frame_->stride(),
            frame_->size(),
            {corner.x - margin, corner.y - margin},
            true};
  }
  return {view_->pixels(), view_->stride(), view_->size(), corner, isOpaque_};
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
