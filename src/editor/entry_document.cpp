#include "editor/entry_document.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <utility>

#include "editor/background_gradient.hpp"
#include "editor/canvas_size.hpp"
#include "editor/document_scaling.hpp"
#include "editor/export_gate.hpp"
#include "editor/layer_layout.hpp"

namespace vantorel {
namespace {

constexpr std::uint64_t maximumFileBytes = 1'000'000'000;

/// The index, and the record of what can be undone, hold the document some levels deep.
constexpr int deepestNesting = json::Document::maximumDepth - 16;

int nestingOf(json::Cursor value) {
  int deepest = 0;
  json::Cursor inner;
  for (auto items = value.items(); items.next(inner);) {
    deepest = std::max(deepest, nestingOf(inner));
  }
  std::string_view key;
  for (auto members = value.members(); members.next(key, inner);) {
    deepest = std::max(deepest, nestingOf(inner));
  }
  const bool nests = value.kind() == json::Kind::array || value.kind() == json::Kind::object;
  return nests ? deepest + 1 : 0;
}

/// Of a repeated key one value would be dropped. False where there is one, with its place.
bool hasEachKeyOnce(json::Cursor value, json::Problem& problem) {
  json::Cursor inner;
  std::size_t index = 0;
  for (auto items = value.items(); items.next(inner); ++index) {
    if (!hasEachKeyOnce(inner, problem)) return problem.inItem(index);
  }
  std::vector<std::string_view> keys;
  std::string_view key;
  for (auto members = value.members(); members.next(key, inner);) {
    if (!hasEachKeyOnce(inner, problem)) {
      problem.in(key);
      return false;
    }
    keys.push_back(key);
  }
  std::ranges::sort(keys);
  const auto repeated = std::ranges::adjacent_find(keys);
  if (repeated == keys.end()) return true;
  problem.description = "stands there more than once";
  problem.in(*repeated);
  return false;
}

/// Null under a known key is read as if the key were absent, and so is not written again. False
/// where there is one, with its place.
bool hasNoLostNull(json::Cursor given, json::Cursor kept, json::Problem& problem) {
  json::Cursor inner;
  json::Cursor keptInner;
  std::size_t index = 0;
  auto keptItems = kept.items();
  for (auto items = given.items(); items.next(inner) && keptItems.next(keptInner); ++index) {
    if (!hasNoLostNull(inner, keptInner, problem)) return problem.inItem(index);
  }
  std::map<std::string_view, json::Cursor> keptMembers;
  std::string_view key;
  for (auto members = kept.members(); members.next(key, keptInner);) keptMembers[key] = keptInner;
  for (auto members = given.members(); members.next(key, inner);) {
    const auto found = keptMembers.find(key);
    const bool isNull = inner.kind() == json::Kind::null;
    if (found == keptMembers.end() ? isNull : isNull && found->second.kind() != inner.kind()) {
      problem.description = "must not be null; leave the key out";
    } else if (found == keptMembers.end() || hasNoLostNull(inner, found->second, problem)) {
      continue;
    }
    problem.in(key);
    return false;
  }
  return true;
}

/// A corner that is missing is read as 0, and the redaction then lies somewhere else. False where
/// there is one, with its place.
bool haveRedactionsCorners(json::Cursor document, json::Problem& problem) {
  const auto member = [](json::Cursor of, std::string_view name) {
    std::string_view key;
    json::Cursor value;
    for (auto members = of.members(); members.next(key, value);) {
      if (key == name) return std::optional(value);
    }
    return std::optional<json::Cursor>();
  };
  const auto shapes = member(document, "shapes");
  if (!shapes) return true;
  json::Cursor shape;
  std::size_t index = 0;
  for (auto items = shapes->items(); items.next(shape); ++index) {
    const auto type = member(shape, "type");
    if (!type || type->asString() != nameOf(ShapeType::redact)) continue;
    for (const char* const corner : {"x1", "y1", "x2", "y2"}) {
      if (member(shape, corner)) continue;
      problem.description = "is missing";
      problem.in(corner);
      problem.inItem(index);
      problem.in("shapes");
      return false;
    }
  }
  return true;
}

using DocumentCheck = Result<void, DocumentFault>;

Result<EditorDocument, DocumentFault> readStrictly(std::string_view text) {
  using Case = DocumentFault::Case;
  const auto json = json::Document::parse(text);
  if (!json) return std::unexpected(DocumentFault{Case::notJSON, json.error().reason});
  const json::Cursor root = json->root();
  if (root.kind() != json::Kind::object) return std::unexpected(DocumentFault{Case::noObject});
  if (nestingOf(root) > deepestNesting) return std::unexpected(DocumentFault{Case::tooDeep});
  EditorDocument document;
  json::Problem problem{.isStrict = true};
  const auto isRead = [&] {
    if (!hasEachKeyOnce(root, problem) || !read(root, document, problem)) return false;
    if (!haveRedactionsCorners(root, problem)) return false;
    const auto again = json::Document::parse(json::toText(document));
    return !again || hasNoLostNull(root, again->root(), problem);
  };
  if (!isRead()) return std::unexpected(DocumentFault{Case::unusable, problem.sentence()});
  return document;
}

std::unexpected<DocumentFault> refused(const std::string& place, std::string_view why) {
  return std::unexpected(
      DocumentFault{DocumentFault::Case::unusable, fmt::format("{}: {}", place, why)});
}

/// A key that nothing is made of is a key spelt wrong.
DocumentCheck checkKeys(const EditorDocument& document) {
  const json::Object& unknown = document.extra.members();
  if (unknown.empty()) return {};
  return refused(unknown.front().key,
                 "there is no such key; there are shapes, crop, background, "
                 "layers and canvas");
}

/// A colour that cannot be read would be drawn in the standard one.
DocumentCheck checkColors(const EditorDocument& document) {
  const auto check = [](const std::string& color, const std::string& place) -> DocumentCheck {
    const bool isColor = color.size() == 7 && color[0] == '#' &&
                         color.find_first_not_of("0123456789abcdefABCDEF", 1) == std::string::npos;
    if (isColor) return {};
    return refused(place, "must be \"#\" and six hexadecimal digits");
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

/// One that nobody knows would be left out.
DocumentCheck checkGradient(const BackgroundSpec& background) {
  const auto* const fill = std::get_if<BackgroundFill::Gradient>(&background.fill.value);
  if (fill == nullptr || findGradient(fill->id) != nullptr) return {};
  std::string known;
  for (const BackgroundGradient& gradient : backgroundGradients()) {
    known += known.empty() ? "" : ", ";
    known += gradient.id;
  }
  return refused("background.fill.gradient", "must be one of " + known);
}

DocumentCheck checkLayers(const std::vector<LayerSpec>& layers) {
  std::optional<std::size_t> capture;
  std::set<std::string_view> seen;
  for (std::size_t i = 0; i < layers.size(); ++i) {
    const std::string place = fmt::format("layers[{}]", i);
    if (!seen.insert(layers[i].id).second) {
      return refused(place + ".id", "another layer has the id " + layers[i].id);
    }
    if (!hasArea(layers[i].frame)) return refused(place + ".frame", "has no area");
    if (layers[i].path) continue;
    if (capture) {
      return refused(
          place, fmt::format("has no path; layers[{}] stands for the capture already", *capture));
    }
    capture = i;
  }
  return {};
}

/// Whether there is anything below a redaction, on the canvas or on an image that reaches beyond
/// it, shown or not.
bool liesOverSomething(const Shape& redaction, const EditorDocument& document, PixelSize capture) {
  const AxisMap map = captureToCanvas(document.layers, capture);
  const Box box = map(frameOf(redaction));
  if (!(box.w > 0) || !(box.h > 0)) return false;  // one without end has an area
  const auto isOver = [&](const Box& other) {
    return box.right() > other.x && box.bottom() > other.y && box.x < other.right() &&
           box.y < other.bottom();
  };
  const CanvasSize canvas = canvasSizeOf(document.canvas, capture);
  return isOver({0, 0, canvas.width, canvas.height}) ||
         isOver(map(Box{0, 0, double(capture.width), double(capture.height)})) ||
         std::ranges::any_of(document.layers, isOver, &LayerSpec::frame);
}

/// A redaction that hides nothing is a mistake that shows too late.
DocumentCheck checkShapes(const EditorDocument& document, PixelSize capture) {
  std::set<std::string_view> seen;
  for (std::size_t i = 0; i < document.shapes.size(); ++i) {
    const Shape& shape = document.shapes[i];
    const std::string place = fmt::format("shapes[{}]", i);
    if (!seen.insert(shape.id).second) {
      return refused(place + ".id", "another shape has the id " + shape.id);
    }
    if (shape.type != ShapeType::redact) continue;
    const Box box = frameOf(shape);
    if (!(box.w > 0) || !(box.h > 0)) {
      return refused(place, "hides nothing: x1, y1, x2 and y2 must be opposite corners of an area");
    }
    if (!liesOverSomething(shape, document, capture)) {
      return refused(place, "hides nothing: it lies outside the picture");
    }
  }
  return {};
}

/// Without it the whole picture would be seen.
DocumentCheck checkCrop(const EditorDocument& document, PixelSize capture) {
  if (!document.crop) return {};
  const Box crop = captureToCanvas(document.layers, capture)(*document.crop);
  if (!hasArea(crop)) return refused("crop", "w and h must be above 0");
  const auto shown = [&](double from, double to, double side) {
    return std::round(std::clamp(to, 0.0, side)) > std::round(std::clamp(from, 0.0, side));
  };
  if (shown(crop.x, crop.right(), document.canvas.width) &&
      shown(crop.y, crop.bottom(), document.canvas.height)) {
    return {};
  }
  return refused("crop", "holds no pixel of the picture");
}

void checkLayer(LayerSpec& layer, const Path& folder, const Files& files, const ImageCodec& codec,
                ExportSituation& situation) {
  if (!layer.path) return;
  layer.path = (folder / *layer.path).lexically_normal().string();
  if (layer.name.empty()) layer.name = Path(*layer.path).stem().string();
  const auto size = codec.pixelSize(files, *layer.path, layer.frameIndex);
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
  std::erase_if(entry.shapes, [&](const Shape& shape) {
    return shape.type == ShapeType::redact && !liesOverSomething(shape, document, capture);
  });
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

bool isAnnotated(const ScreenshotEntry& entry) {
  return !entry.shapes.empty() || entry.crop || entry.background || entry.combine || entry.layers ||
         entry.canvas;
}

bool isRedacted(const ScreenshotEntry& entry) {
  return std::ranges::find(entry.shapes, ShapeType::redact, &Shape::type) != entry.shapes.end();
}

void followPictureSize(ScreenshotEntry& entry, PixelSize size) {
  if (const auto before = scaledFrom(entry, size)) {
    if (entry.captureScale) *entry.captureScale *= double(size.width) / before->width;
    if (isAnnotated(entry)) putDocument(documentOf(entry, size), size, entry);
    if (entry.autoRedactions) {
      ScreenshotEntry covered;
      covered.shapes = std::move(*entry.autoRedactions);
      entry.autoRedactions = scaledDocument(documentOf(covered, *before), *before, size).shapes;
    }
  }
  entry.pixelWidth = size.width;
  entry.pixelHeight = size.height;
}

std::string sentence(const DocumentFault& fault) {
  switch (fault.what) {
    case DocumentFault::Case::notJSON: return "The document isn't JSON: " + fault.reason + ".";
    case DocumentFault::Case::noObject: return "The document must be a JSON object.";
    case DocumentFault::Case::tooDeep:
      return fmt::format("The document is nested more than {} deep.", deepestNesting);
    case DocumentFault::Case::unusable: return "The document can't be used: " + fault.reason + ".";
  }
  std::unreachable();
}

std::string sentence(const DocumentFailure& failure) {
  return std::visit([](const auto& one) { return sentence(one); }, failure);
}

Result<EditorDocument, DocumentFailure> checkedDocument(std::string_view text, PixelSize capture,
                                                        const Path& folder, const Files& files,
                                                        const ImageCodec& codec) {
  EditorDocument document = VT_TRY(readStrictly(text));
  VT_TRY(checkKeys(document));
  VT_TRY(checkColors(document));
  VT_TRY(checkGradient(document.background));
  VT_TRY(checkLayers(document.layers));
  const bool hasOwnCanvas =
      (document.canvas.width != 0 || document.canvas.height != 0) &&
      (document.canvas.width != capture.width || document.canvas.height != capture.height);
  if (hasOwnCanvas) {
    const auto size = checkedCanvasSize(document.canvas.width, document.canvas.height, {});
    if (!size) return std::unexpected(size.error());
  }
  const CanvasSize canvas = canvasSizeOf(document.canvas, capture);
  document.canvas.width = canvas.width;
  document.canvas.height = canvas.height;
  VT_TRY(checkShapes(document, capture));
  VT_TRY(checkCrop(document, capture));
  ExportSituation situation;
  situation.base = BaseImageState::ready;
  situation.build = LayerBuildState::ready;
  situation.capture = capture;
  for (LayerSpec& layer : document.layers) checkLayer(layer, folder, files, codec, situation);
  if (auto block = exportBlock(document, situation)) return std::unexpected(*std::move(block));
  return document;
}

Result<Image> readPictureFile(const Path& path, int frameIndex, const Files& files,
                              const ImageCodec& codec) {
  const PixelSize size = VT_TRY(codec.pixelSize(files, path, frameIndex));
  if (!isPossibleSize(size.width, size.height)) {
    return failed(FailureKind::tooLarge, "more than 134 million pixels");
  }
  return codec.decode(VT_TRY(files.read(path, maximumFileBytes)), frameIndex);
}

bool hasUnreadAnnotations(const ScreenshotEntry& entry) {
  return !entry.unreadShapes.isEmpty() || !entry.unreadLayers.isEmpty();
}

}  // namespace vantorel
