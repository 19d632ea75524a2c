#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/boxed_optional.hpp"
#include "base/enum_names.hpp"
#include "base/json_record.hpp"
#include "base/json_unread.hpp"
#include "capture/records/source_app.hpp"
#include "editor/records/background_spec.hpp"
#include "editor/records/box.hpp"
#include "editor/records/combine_spec.hpp"
#include "editor/records/edited_text.hpp"
#include "editor/records/layer_spec.hpp"
#include "editor/records/shape.hpp"
#include "library/records/file_identity.hpp"
#include "library/records/redaction_change.hpp"
#include "recording/records/gif_export.hpp"
#include "recording/records/recording_zoom_event.hpp"
#include "studio/records/studio_entry_record.hpp"
#include "text/records/capture_translation.hpp"
#include "text/records/detected_code.hpp"
#include "text/records/ocr_block.hpp"
#include "text/records/text_shape.hpp"

namespace vantorel {

/// The kind of file an entry stands for.
enum class CaptureMedium { image, recording, gif, text, project };

template <>
inline constexpr auto enumNames<CaptureMedium> = std::to_array<EnumName<CaptureMedium>>({
    {CaptureMedium::image, "image"},
    {CaptureMedium::recording, "recording"},
    {CaptureMedium::gif, "gif"},
    {CaptureMedium::text, "text"},
    {CaptureMedium::project, "project"},
});

/// One thing the user made, as the library remembers it. Times are seconds since 1970-01-01 UTC.
struct ScreenshotEntry {
  std::string id;  ///< never used for another entry
  double capturedAt = 0;
  std::string path;                         ///< absolute, of the file shown
  std::optional<std::string> originalPath;  ///< of the untouched file when `path` was rewritten
  std::vector<Shape> shapes;
  json::Unread unreadShapes;  ///< of kinds that a newer build draws
  std::optional<StoredBox> crop;
  BoxedOptional<BackgroundSpec> background;
  BoxedOptional<CombineSpec> combine;
  std::optional<std::vector<LayerSpec>> layers;
  json::Unread unreadLayers;
  BoxedOptional<CanvasSpec> canvas;
  std::optional<std::string> ocrText;  ///< the recognised text, joined
  std::optional<std::vector<OCRBlock>> ocrBlocks;
  int ocrVersion = 0;  ///< of the recognition that made the blocks; 0 without blocks
  bool ocrTruncated = false;
  BoxedOptional<std::map<std::string, CaptureTranslation>> translations;  ///< by target language
  BoxedOptional<std::vector<DetectedCode>> codes;
  /// Kept only as long as the blocks it was found in stay as they are and the rules are the same.
  std::optional<TextShape> textShape;
  std::optional<int> pixelWidth;
  std::optional<int> pixelHeight;
  bool isTallCapture = false;
  CaptureMedium medium = CaptureMedium::image;
  std::optional<double> durationSeconds;
  std::optional<double> trimmedAt;
  std::optional<double> editedAt;
  std::optional<double> captureScale;  ///< pixels per point when it was taken
  bool starred = false;                ///< never removed by age
  BoxedOptional<std::vector<RecordingZoomEvent>> zoomEvents;
  std::vector<std::string> collectionIDs;
  std::optional<std::string> sourceEntryID;  ///< the entry this one was made from
  BoxedOptional<GifExportRecord> gifExport;
  BoxedOptional<StudioEntryRecord> studio;
  BoxedOptional<EditedText> editedText;
  std::optional<SourceApp> sourceApp;
  std::optional<std::string> title;
  /// Of the file at `path` when it was last seen there; empty until it was.
  BoxedOptional<FileIdentity> fileIdentity;
  /// Of the original, likewise; empty of one in the library's own folders, where nobody renames it.
  BoxedOptional<FileIdentity> originalIdentity;
  /// What Smart Redact covered in the file itself before it was filed, in its pixels. The original
  /// is at `originalPath` for as long as it is covered; afterwards they can be applied again.
  BoxedOptional<std::vector<Shape>> autoRedactions;
  /// Of the covered file in bytes, by which one is told that another program has changed.
  std::optional<std::int64_t> coveredFileSize;
  BoxedOptional<RedactionChange> redactionChange;  ///< under way, or cut short
  json::Extra extra;                               ///< what this build does not know

  bool operator==(const ScreenshotEntry&) const = default;
  template <class V, class S>
  static void describe(V& v, S& entry);
};

/// Reading fails without "id", "capturedAt" or "path", and on a "medium" that is not known: such an
/// entry is left to the builds that understand it.
VT_JSON_RECORD_DECLARATION(ScreenshotEntry);

/// Entries are shared and never changed in place: a change puts another one in the list.
using EntryPointer = std::shared_ptr<const ScreenshotEntry>;
using EntryList = std::vector<EntryPointer>;

}  // namespace vantorel
