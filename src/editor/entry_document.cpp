#include "editor/entry_document.hpp"

#include <fmt/format.h>

#include <set>

#include "editor/canvas_size.hpp"
#include "editor/document_scaling.hpp"
#include "editor/export_gate.hpp"
#include "editor/layer_layout.hpp"

namespace vantorel {
namespace {

constexpr std::uint64_t mostFileBytes = 1'000'000'000;

Result<EditorDocument> readStrictly(std::string_view text) {
  const auto json = json::Document::parse(text);
  if (!json) {
    return failed(FailureKind::malformed, "The document isn't JSON: " + json.error().reason + ".");
  }
  const json::Cursor root = json->root();
  if (root.kind() != json::Kind::object) {
    return failed(FailureKind::malformed, "The document must be a JSON object.");
  }
  EditorDocument document;
  json::Problem problem{.isStrict = true};
  if (!read(root, document, problem)) {
    return failed(FailureKind::malformed,
                  "The document can't be used: " + problem.sentence() + ".");
  }
  return document;
}

/// A colour that cannot be read would be drawn in the standard one.
Result<void> checkColors(const EditorDocument& document) {
  const auto check = [](const std::string& color, const std::string& place) -> Result<void> {
    const bool isColor = color.size() == 7 && color[0] == '#' &&
                         color.find_first_not_of("0123456789abcdefABCDEF", 1) == std::string::npos;
    if (isColor) return {};
    return failed(FailureKind::malformed, "The document can't be used: " + place +
                                              ": must be \"#\" and six hexadecimal digits.");
  };
  for (std::size_t i = 0; i < document.shapes.size(); ++i) {
    VT_TRY(check(document.shapes[i].color, fmt::format("shapes[{}].color", i)));
  }
  for (std::size_t i = 0; i < document.layers.size(); ++i) {
    const auto& border = document.layers[i].border;
    if (border) VT_TRY(check(border->color, fmt::format("layers[{}].border.color", i)));
  }
  const auto* const fill = std::get_if<BackgroundFill::Solid>(&document.background.fill.value);
  if (fill != nullptr) VT_TRY(check(fill->color, "background.fill.solid"));
  return check(document.canvas.backdropHex, "canvas.backdropHex");
}

Result<void> checkIDs(const EditorDocument& document) {
  std::set<std::string_view> seen;
  for (const Shape& shape : document.shapes) {
    if (seen.insert(shape.id).second) continue;
    return failed(FailureKind::malformed,
                  "The document can't be used: two shapes have the id " + shape.id + ".");
  }
  seen.clear();
  for (const LayerSpec& layer : document.layers) {
    if (seen.insert(layer.id).second) continue;
    return failed(FailureKind::malformed,
                  "The document can't be used: two layers have the id " + layer.id + ".");
  }
  return {};
}

void checkLayer(LayerSpec& layer, const Path& folder, const Files& files, const ImageCodec& codec,
                ExportSituation& situation) {
  if (!layer.path) return;
  layer.path = (folder / *layer.path).lexically_normal().string();
  if (layer.name.empty()) layer.name = Path(*layer.path).stem().string();
  const auto bytes = files.read(*layer.path, mostFileBytes);
  const auto size = bytes ? codec.pixelSize(*bytes, layer.frameIndex)
                          : Result<PixelSize>(std::unexpected(bytes.error()));
  if (!size) {
    const bool large = size.error().kind == FailureKind::tooLarge;
    (large ? situation.oversizedLayerIDs : situation.missingLayerIDs).push_back(layer.id);
    return;
  }
  if (!isPossibleSize(size->width, size->height)) situation.oversizedLayerIDs.push_back(layer.id);
  if (layer.pixelWidth < 1 || layer.pixelHeight < 1) {
    layer.pixelWidth = size->width;
    layer.pixelHeight = size->height;
  }
}

/// The size of the image that the annotations of `entry` are made for, if it is another than
/// `capture` and `capture` is that image scaled.
std::optional<PixelSize> scaledFrom(const ScreenshotEntry& entry, PixelSize capture) {
  const PixelSize noted{entry.pixelWidth.value_or(0), entry.pixelHeight.value_or(0)};
  if (noted == capture || !haveSameProportions(noted, capture)) return std::nullopt;
  return noted;
}

}  // namespace

EditorDocument documentOf(const ScreenshotEntry& entry, PixelSize capture) {
  if (const auto before = scaledFrom(entry, capture)) {
    return scaledDocument(documentOf(entry, *before), *before, capture);
  }
  EditorDocument document;
  document.shapes = entry.shapes;
  document.crop = entry.crop;
  if (entry.background) document.background = *entry.background;
  if (entry.layers) document.layers = *entry.layers;
  if (entry.canvas) document.canvas = *entry.canvas;
  if (entry.combine && document.layers.empty()) addAsLayers(*entry.combine, capture, document);
  const CanvasSize canvas = canvasSizeOf(document.canvas, capture);
  document.canvas.width = canvas.width;
  document.canvas.height = canvas.height;
  return document;
}

void putDocument(const EditorDocument& document, PixelSize capture, ScreenshotEntry& entry) {
  entry.shapes = document.shapes;
  entry.crop = document.crop;
  entry.background.reset();
  if (document.background != BackgroundSpec{}) entry.background = document.background;
  entry.combine.reset();
  entry.layers.reset();
  if (!document.layers.empty()) entry.layers = document.layers;
  CanvasSpec plain;
  plain.width = capture.width;
  plain.height = capture.height;
  entry.canvas.reset();
  if (document.canvas != plain && document.canvas != CanvasSpec{}) entry.canvas = document.canvas;
  entry.pixelWidth = capture.width;
  entry.pixelHeight = capture.height;
}

void followPictureSize(ScreenshotEntry& entry, PixelSize size) {
  if (const auto before = scaledFrom(entry, size)) {
    if (entry.captureScale) *entry.captureScale *= double(size.width) / before->width;
    const bool isAnnotated = !entry.shapes.empty() || entry.crop || entry.background ||
                             entry.combine || entry.layers || entry.canvas;
    if (isAnnotated) putDocument(documentOf(entry, size), size, entry);
  }
  entry.pixelWidth = size.width;
  entry.pixelHeight = size.height;
}

Result<EditorDocument> checkedDocument(std::string_view text, PixelSize capture, const Path& folder,
                                       const Files& files, const ImageCodec& codec) {
  EditorDocument document = VT_TRY(readStrictly(text));
  VT_TRY(checkColors(document));
  VT_TRY(checkIDs(document));
  if (document.canvas.width != 0 || document.canvas.height != 0) {
    const auto size = checkedCanvasSize(document.canvas.width, document.canvas.height, {});
    if (!size) return failed(FailureKind::tooLarge, sentence(size.error()));
  }
  const CanvasSize canvas = canvasSizeOf(document.canvas, capture);
  document.canvas.width = canvas.width;
  document.canvas.height = canvas.height;
  ExportSituation situation;
  situation.base = BaseImageState::ready;
  situation.build = LayerBuildState::ready;
  situation.capture = capture;
  for (LayerSpec& layer : document.layers) checkLayer(layer, folder, files, codec, situation);
  if (const auto block = exportBlock(document, situation)) {
    return failed(FailureKind::unsupported, sentence(*block));
  }
  return document;
}

Result<Image> readPictureFile(const Path& path, int frameIndex, const Files& files,
                              const ImageCodec& codec) {
  const std::string bytes = VT_TRY(files.read(path, mostFileBytes));
  const PixelSize size = VT_TRY(codec.pixelSize(bytes, frameIndex));
  if (!isPossibleSize(size.width, size.height)) {
    return failed(FailureKind::tooLarge, "more than 64 million pixels");
  }
  return codec.decode(bytes, frameIndex);
}

}  // namespace vantorel
