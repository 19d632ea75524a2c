// The part of the editor model that deals with layers, canvas, crop and background.

#include <algorithm>
#include <cmath>
#include <utility>

#include "editor/editor_model.hpp"
#include "editor/export_gate.hpp"
#include "editor/hint_line.hpp"
#include "editor/shape_layers.hpp"

namespace vantorel {
namespace {

constexpr double arrangeGutter = 24;
constexpr double cascade = 24;  // how far each added layer lies from the one before

/// `pixels` at its own size, or smaller so that it fits the canvas.
Box fitted(PixelSize pixels, CanvasSize canvas, Pt corner) {
  const double factor = std::min({1.0, canvas.width / pixels.width, canvas.height / pixels.height});
  return {corner.x, corner.y, std::max(std::round(pixels.width * factor), 1.0),
          std::max(std::round(pixels.height * factor), 1.0)};
}

/// `frame` with its middle there, or as near as it stays on the canvas, and then `further` off.
Box aroundMiddle(Box frame, CanvasSize canvas, Pt middle, double further) {
  const auto within = [&](double at, double length, double room) {
    return std::clamp(std::round(at - length / 2), 0.0, std::max(room - length, 0.0)) + further;
  };
  frame.x = within(middle.x, frame.w, canvas.width);
  frame.y = within(middle.y, frame.h, canvas.height);
  return frame;
}

bool isUsable(const Box& frame) {
  return std::isfinite(frame.x) && std::isfinite(frame.y) && std::isfinite(frame.w) &&
         std::isfinite(frame.h) && frame.w >= 1 && frame.h >= 1;
}

}  // namespace

void EditorModel::ensureCaptureLayer(EditorSnapshot& state) const {
  if (captureLayer(*state.layers) != nullptr) return;
  std::vector<LayerSpec> layers = *state.layers;
  layers.insert(layers.begin(), newCaptureLayer(capture_));
  state.setLayers(std::move(layers));
}

/// Shifts all layers alike. Shapes and crop follow the capture's layer by themselves.
void EditorModel::moveContent(EditorSnapshot& state, Pt shift) const {
  if (shift == Pt{}) return;
  ensureCaptureLayer(state);
  std::vector<LayerSpec> layers = *state.layers;
  for (LayerSpec& layer : layers) {
    layer.frame.x += shift.x;
    layer.frame.y += shift.y;
  }
  state.setLayers(std::move(layers));
}

/// Gives layers other frames. What lies on a layer goes with it, all else and the crop stay where
/// they are on the canvas.
void EditorModel::placeLayers(EditorSnapshot& state,
                              const std::vector<std::pair<std::string, Box>>& frames) const {
  std::vector<LayerSpec> layers = *state.layers;
  for (const auto& [id, frame] : frames) {
    std::ranges::find(layers, id, &LayerSpec::id)->frame = frame;
  }
  const AxisMap before = captureToCanvas(*state.layers, capture_);
  const AxisMap now = captureToCanvas(layers, capture_);
  if (state.crop && before != now) state.crop = before.then(now.inverse())(*state.crop);
  state.setShapes(carriedAlong(*state.shapes, *state.layers, layers, capture_));
  state.setLayers(std::move(layers));
}

bool EditorModel::editLayer(const std::string& layerID, std::string_view name,
                            const std::function<void(LayerSpec&)>& change) {
  return edit(name, [&](EditorSnapshot& state) {
    std::vector<LayerSpec> layers = *state.layers;
    const auto layer = std::ranges::find(layers, layerID, &LayerSpec::id);
    if (layer == layers.end()) return;
    change(*layer);
    state.setLayers(std::move(layers));
  });
}

bool EditorModel::addLayers(const std::vector<LayerFile>& files, std::optional<Pt> middle) {
  std::optional<std::string> last;
  const bool added =
      edit(files.size() == 1 ? "Add Layer" : "Add Layers", [&](EditorSnapshot& state) {
        ensureCaptureLayer(state);
        std::vector<LayerSpec> layers = *state.layers;
        double further = 0;
        for (const LayerFile& file : files) {
          if (file.pixels.width < 1 || file.pixels.height < 1) continue;
          const double offset = cascade * double(layers.size() - 1);
          LayerSpec layer = newImageLayer(file.path, file.pixels, {});
          if (!file.name.empty()) layer.name = file.name;
          layer.frame = fitted(file.pixels, canvasSize(), {offset, offset});
          if (middle) layer.frame = aroundMiddle(layer.frame, canvasSize(), *middle, further);
          further += cascade;
          last = layer.id;
          layers.push_back(std::move(layer));
        }
        if (last) state.setLayers(std::move(layers));
      });
  if (last) selectLayer(last);
  return added;
}

bool EditorModel::setLayerFrame(const std::string& layerID, const Box& frame) {
  const LayerSpec* const layer = state_.findLayer(layerID);
  if (layer == nullptr || !isUsable(frame)) return false;
  if (layer->locked) return refuse(lockedHint(layer->name));
  const bool sameSize = layer->frame.w == frame.w && layer->frame.h == frame.h;
  return edit(sameSize ? "Move Layer" : "Resize Layer",
              [&](EditorSnapshot& state) { placeLayers(state, {{std::string(layerID), frame}}); });
}

bool EditorModel::pasteLayer(const LayerFile& file, Pt middle) {
  if (file.pixels.width < 1 || file.pixels.height < 1) return false;
  std::string id;
  const bool isAdded = edit("Paste Layer", [&](EditorSnapshot& state) {
    ensureCaptureLayer(state);
    std::vector<LayerSpec> layers = *state.layers;
    LayerSpec layer = newImageLayer(file.path, file.pixels, {});
    if (!file.name.empty()) layer.name = file.name;
    layer.frame = fitted(file.pixels, canvasSize(), {});
    layer.frame.x = std::round(middle.x - layer.frame.w / 2);
    layer.frame.y = std::round(middle.y - layer.frame.h / 2);
    id = layer.id;
    layers.push_back(std::move(layer));
    state.setLayers(std::move(layers));
  });
  if (isAdded) selectLayer(id);
  return isAdded;
}

bool EditorModel::moveLayerTo(const std::string& layerID, std::size_t position) {
  return moveLayerTo(layerID, position, "Reorder Layers");
}

bool EditorModel::moveLayerTo(const std::string& layerID, std::size_t position,
                              std::string_view name) {
  return edit(name, [&](EditorSnapshot& state) {
    std::vector<LayerSpec> layers = *state.layers;
    const auto found = std::ranges::find(layers, layerID, &LayerSpec::id);
    if (found == layers.end()) return;
    LayerSpec layer = std::move(*found);
    layers.erase(found);
    const auto at = static_cast<std::ptrdiff_t>(std::min(position, layers.size()));
    layers.insert(layers.begin() + at, std::move(layer));
    state.setLayers(std::move(layers));
  });
}

bool EditorModel::deleteLayer(const std::string& layerID) {
  const LayerSpec* const layer = state_.findLayer(layerID);
  if (layer == nullptr || !layer->path) return false;
  return edit("Delete Layer", [&](EditorSnapshot& state) {
    std::vector<LayerSpec> layers = *state.layers;
    std::erase_if(layers, [&](const LayerSpec& other) { return other.id == layerID; });
    state.setShapes(carriedAlong(*state.shapes, *state.layers, layers, capture_));
    state.setLayers(std::move(layers));
  });
}

bool EditorModel::renameLayer(const std::string& layerID, const std::string& name) {
  if (!editLayer(layerID, "Rename Layer", [&](LayerSpec& layer) { layer.name = name; })) {
    return false;
  }
  events_.report("Layer renamed to " + name);
  return true;
}

bool EditorModel::setLayerVisible(const std::string& layerID, bool visible) {
  return editLayer(layerID, visible ? "Show Layer" : "Hide Layer",
                   [&](LayerSpec& layer) { layer.visible = visible; });
}

bool EditorModel::setLayerLocked(const std::string& layerID, bool locked) {
  return editLayer(layerID, locked ? "Lock Layer" : "Unlock Layer",
                   [&](LayerSpec& layer) { layer.locked = locked; });
}

bool EditorModel::setLayerOpacity(const std::string& layerID, std::optional<double> opacity) {
  if (opacity) opacity = std::clamp(*opacity, 0.0, 1.0);
  return editLayer(layerID, "Layer Opacity", [&](LayerSpec& layer) { layer.opacity = opacity; });
}

bool EditorModel::setLayerBorder(const std::string& layerID, std::optional<LayerBorder> border) {
  if (border) border = normalised(std::move(*border));
  const LayerSpec* const layer = state_.findLayer(layerID);
  if (layer == nullptr) return false;
  const bool sameWidth = layer->border && border && layer->border->width == border->width;
  const std::string_view name = !border     ? "Remove Layer Border"
                                : sameWidth ? "Layer Border Color"
                                            : "Layer Border Width";
  return editLayer(layerID, name, [&](LayerSpec& changed) { changed.border = border; });
}

bool EditorModel::arrangeLayers(CombineLayout layout) {
  const auto giveUp = [this](std::string_view why) {
    cancelStep();
    return refuse(why);
  };
  beginStep("Arrange Layers");
  edit("Arrange Layers", [this](EditorSnapshot& state) { ensureCaptureLayer(state); });
  std::vector<std::pair<std::string, Box>> placed;
  std::vector<Box> frames;
  CanvasSize canvas;  // with room for the locked layers, which stay where they are
  for (const LayerSpec& layer : *state_.layers) {
    if (!isUsable(layer.frame)) continue;
    if (layer.locked) {
      canvas.width = std::max(canvas.width, std::ceil(layer.frame.right()));
      canvas.height = std::max(canvas.height, std::ceil(layer.frame.bottom()));
      continue;
    }
    placed.emplace_back(layer.id, Box{});
    frames.push_back(layer.frame);
  }
  if (placed.size() < 2) return giveUp("Arrange needs two or more layers");
  const Arrangement result = arranged(frames, layout, arrangeGutter);
  canvas.width = std::max(canvas.width, result.canvas.width);
  canvas.height = std::max(canvas.height, result.canvas.height);
  if (!isPossibleCanvas(canvas, canvasSize())) {
    return giveUp(sentence(CanvasSizeFault::tooLarge));
  }
  for (std::size_t i = 0; i < placed.size(); ++i) placed[i].second = result.frames[i];
  edit("Arrange Layers", [&](EditorSnapshot& state) {
    placeLayers(state, placed);
    CanvasSpec spec = *state.canvas;
    spec.width = canvas.width;
    spec.height = canvas.height;
    state.setCanvas(std::move(spec));
  });
  endStep();
  return true;
}

bool EditorModel::applySize(CanvasSize size, CanvasAnchor anchor, std::string_view name) {
  const auto checked = checkedCanvasSize(size.width, size.height, canvasSize());
  if (!checked) return refuse(sentence(checked.error()));
  return edit(name, [&](EditorSnapshot& state) {
    moveContent(state, anchorShift(anchor, canvasSize(), *checked));
    CanvasSpec canvas = *state.canvas;
    canvas.width = checked->width;
    canvas.height = checked->height;
    state.setCanvas(std::move(canvas));
  });
}

bool EditorModel::resizeCanvas(CanvasSize size, CanvasAnchor anchor) {
  return applySize(size, anchor, "Change Canvas Size");
}

bool EditorModel::resizeCanvas(std::string_view width, std::string_view height,
                               CanvasAnchor anchor) {
  const auto checked = checkedCanvasSize(width, height, canvasSize());
  if (!checked) return refuse(sentence(checked.error()));
  return applySize(*checked, anchor, "Custom Canvas Size");
}

bool EditorModel::setCanvasColor(const std::string& color) {
  return edit("Canvas Color", [&](EditorSnapshot& state) {
    CanvasSpec canvas = *state.canvas;
    canvas.backdropHex = color;
    state.setCanvas(std::move(canvas));
  });
}

bool EditorModel::setBackground(const BackgroundSpec& background) {
  return edit("Background", [&](EditorSnapshot& state) { state.setBackground(background); });
}

PixelRect EditorModel::shownPart() const {
  return vantorel::shownPart(cropOnCanvas(), canvasSize());
}

std::optional<Box> EditorModel::cropOnCanvas() const {
  if (!state_.crop) return std::nullopt;
  return toCanvas()(*state_.crop);
}

void EditorModel::setPendingCrop(std::optional<Box> crop) {
  pendingCrop_ = crop;
  events_.changed();
}

void EditorModel::setCropAspect(CropAspect aspect) {
  cropAspect_ = aspect;
  events_.changed();
}

bool EditorModel::applyCrop() {
  if (!pendingCrop_) return false;
  ++interruptions_;
  const Box pending = *std::exchange(pendingCrop_, std::nullopt);
  if (pending == cropOnCanvas()) {
    events_.changed();
    return false;
  }
  const CanvasSize old = canvasSize();
  const double left = std::round(pending.x);
  const double top = std::round(pending.y);
  const double right = std::round(pending.right());
  const double bottom = std::round(pending.bottom());
  if (!(right > left && bottom > top)) {
    events_.changed();
    return false;
  }
  const Pt shift{std::max(-left, 0.0), std::max(-top, 0.0)};
  const CanvasSize size{std::max(right, old.width) + shift.x,
                        std::max(bottom, old.height) + shift.y};
  if (!isPossibleCanvas(size, old)) {
    return refuse(sentence(CanvasSizeFault::tooLarge));
  }
  return edit("Crop", [&](EditorSnapshot& state) {
    moveContent(state, shift);
    if (size != old) {
      CanvasSpec canvas = *state.canvas;
      canvas.width = size.width;
      canvas.height = size.height;
      state.setCanvas(std::move(canvas));
    }
    const Box shown{left + shift.x, top + shift.y, right - left, bottom - top};
    if (shown == Box{0, 0, size.width, size.height}) {
      state.crop.reset();
    } else {
      state.crop = captureToCanvas(*state.layers, capture_).inverse()(shown);
    }
  });
}

bool EditorModel::removeCrop() {
  ++interruptions_;
  pendingCrop_.reset();
  return edit("Remove Crop", [](EditorSnapshot& state) { state.crop.reset(); });
}

}  // namespace vantorel
