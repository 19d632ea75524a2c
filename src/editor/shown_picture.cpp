#include "editor/shown_picture.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "editor/entry_document.hpp"

namespace vantorel {
namespace {

/// Whether it was a layer's picture that could not be had.
bool hideBlockingLayer(const SceneFailure& failure, EditorDocument& document) {
  if (failure.what != SceneFailure::Case::blocked) return false;
  const auto found = std::ranges::find_if(document.layers, [&](const LayerSpec& layer) {
    return layer.visible && layer.path && layer.id == failure.block.layerID;
  });
  if (found == document.layers.end()) return false;
  found->visible = false;
  return true;
}

}  // namespace

PictureFinish withAnnotations(DrawPicture draw) {
  return [draw = std::move(draw)](const ScreenshotEntry& entry, Image picture) -> Result<Image> {
    const auto refused = [](FailureKind kind, std::string_view reason) {
      return failed(kind, fmt::format("The capture can't be shown: {}.", reason));
    };
    if (hasUnreadAnnotations(entry)) {
      return refused(FailureKind::unsupported, unreadAnnotationsReason);
    }
    if (!isAnnotated(entry)) return picture;
    EditorDocument document = documentOf(entry, picture.size());
    auto drawn = draw(document, picture, entry.captureScale);
    // The rest is shown, as the editor shows it.
    while (!drawn && hideBlockingLayer(drawn.error(), document)) {
      drawn = draw(document, picture, entry.captureScale);
    }
    if (!drawn) return refused(FailureKind::other, "its annotations couldn't be drawn");
    return *std::move(drawn);
  };
}

}  // namespace vantorel
