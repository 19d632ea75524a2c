#include "editor/shown_picture.hpp"

#include <fmt/format.h>

#include <utility>

#include "editor/entry_document.hpp"

namespace vantorel {

PictureFinish withAnnotations(DrawPicture draw) {
  return [draw = std::move(draw)](const ScreenshotEntry& entry, Image picture) -> Result<Image> {
    const auto refused = [](FailureKind kind, std::string_view reason) {
      return failed(kind, fmt::format("The capture can't be shown: {}.", reason));
    };
    if (hasUnreadAnnotations(entry)) {
      return refused(FailureKind::unsupported, unreadAnnotationsReason);
    }
    if (!isAnnotated(entry)) return picture;
    const EditorDocument document = documentOf(entry, picture.size());
    auto drawn = draw(document, std::move(picture), entry.captureScale);
    if (!drawn) return refused(FailureKind::other, "its annotations couldn't be drawn");
    return *std::move(drawn);
  };
}

}  // namespace vantorel
