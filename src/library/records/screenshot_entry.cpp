#include "library/records/screenshot_entry.hpp"

#include "base/path_text.hpp"

namespace vantorel {
namespace {

// Three keys stand for one field: the shape, the rules that found it and the text it was found in.
// A shape of other rules or of another text is dropped, and then found again.
void readTextShape(json::RecordReader& v, ScreenshotEntry& entry) {
  const auto shape = v.raw("textShape");
  const auto version = v.raw("textShapeVersion");
  const auto fingerprint = v.raw("textShapeFingerprint");
  if (!shape || !version || !fingerprint) return;
  if (version->kind() != json::Kind::integer || version->asInt() != textShapeVersion) return;
  const auto stored = fingerprint->asString();
  TextShape found{};
  json::Problem dropped;
  if (!stored || !read(*shape, found, dropped)) return;
  static const std::vector<OCRBlock> none;
  if (textFingerprint(entry.ocrBlocks ? *entry.ocrBlocks : none) == *stored) {
    entry.textShape = found;
  }
}

void writeTextShape(json::RecordWriter& v, const ScreenshotEntry& entry) {
  if (!entry.textShape) return;
  v.required("textShape", *entry.textShape);
  v.required("textShapeVersion", textShapeVersion);
  static const std::vector<OCRBlock> none;
  v.required("textShapeFingerprint", textFingerprint(entry.ocrBlocks ? *entry.ocrBlocks : none));
}

/// Absent layers stay absent.
template <class V, class S>
void describeLayers(V& v, S& entry) {
  if constexpr (V::reading) {
    std::optional<json::WholeList<LayerSpec>> list;
    v.field("layers", list);
    if (!list) return;
    entry.layers = std::move(list->items);
    entry.unreadLayers = std::move(list->unread);
  } else if (entry.layers || !entry.unreadLayers.isEmpty()) {
    static const std::vector<LayerSpec> none;
    v.field("layers", json::WholeListView<LayerSpec>{entry.layers ? *entry.layers : none,
                                                     entry.unreadLayers});
  }
}

}  // namespace

template <class V, class S>
void ScreenshotEntry::describe(V& v, S& entry) {
  v.required("id", entry.id);
  v.required("capturedAt", entry.capturedAt);
  v.required("path", entry.path, json::asPath);
  v.field("originalPath", entry.originalPath, json::asPath);
  json::fieldWithUnread(v, "shapes", entry.shapes, entry.unreadShapes);
  v.field("crop", entry.crop);
  v.field("background", entry.background);
  v.field("combine", entry.combine);
  describeLayers(v, entry);
  v.field("canvas", entry.canvas);
  v.field("ocrText", entry.ocrText);
  v.field("ocrBlocks", entry.ocrBlocks);
  v.field("ocrVersion", entry.ocrVersion);
  // Text without its blocks is recognised again.
  if constexpr (V::reading) {
    if (!entry.ocrBlocks) entry.ocrVersion = 0;
  }
  v.field("ocrTruncated", entry.ocrTruncated);
  v.field("translations", entry.translations);
  v.field("codes", entry.codes);
  if constexpr (V::reading) {
    readTextShape(v, entry);
  } else {
    writeTextShape(v, entry);
  }
  v.field("pixelWidth", entry.pixelWidth);
  v.field("pixelHeight", entry.pixelHeight);
  v.field("isTallCapture", entry.isTallCapture);
  v.requiredIfPresent("medium", entry.medium);
  v.field("durationSeconds", entry.durationSeconds);
  v.field("trimmedAt", entry.trimmedAt);
  v.field("editedAt", entry.editedAt);
  v.field("captureScale", entry.captureScale);
  v.field("starred", entry.starred);
  v.field("zoomEvents", entry.zoomEvents);
  v.field("collectionIDs", entry.collectionIDs);
  v.field("sourceEntryID", entry.sourceEntryID);
  v.field("gifExport", entry.gifExport);
  v.field("studio", entry.studio);
  v.field("editedText", entry.editedText);
  v.field("sourceApp", entry.sourceApp);
  v.field("title", entry.title);
  v.field("fileIdentity", entry.fileIdentity);
  v.field("originalIdentity", entry.originalIdentity);
  v.field("autoRedactions", entry.autoRedactions);
  v.field("coveredFileSize", entry.coveredFileSize);
  v.field("redactionChange", entry.redactionChange);
  v.rest(entry.extra);
}
VT_JSON_RECORD(ScreenshotEntry)

}  // namespace vantorel
