#pragma once

#include <optional>
#include <string>

#include "base/geometry.hpp"
#include "base/json_record.hpp"
#include "editor/records/editor_document.hpp"

namespace vantorel {

/// Annotations that were not saved, and what they were drawn on: a capture of the library, a
/// picture file, or a picture that came from the clipboard. Just one of the three is named.
struct AnnotationDraft {
  /// Of the record; a newer build's is not read.
  static constexpr int currentVersion = 1;

  int version = currentVersion;
  std::string entryID;
  std::string file;     ///< absolute
  std::string picture;  ///< the name of the picture's file beside the draft's own

  /// The key of the draft it was before it was to be filed; mostly empty.
  std::string from;

  std::string title;
  double keptAt = 0;  ///< seconds since 1970-01-01 UTC
  int width = 0;      ///< of the capture, in pixels: what the annotations are made for
  int height = 0;
  EditorDocument document;
  EditorDocument stored;  ///< what was saved when the editor was opened

  json::Object extra;

  [[nodiscard]] PixelSize capture() const { return {width, height}; }
  bool operator==(const AnnotationDraft&) const = default;
  template <class V, class S>
  static void describe(V& v, S& draft);
};
VT_JSON_RECORD_DECLARATION(AnnotationDraft);

/// The document to go on with when a draft is opened again on what is stored now, for a capture of
/// `capture` pixels: the draft's, with what was changed in the stored one since. Where both changed
/// the same thing the draft's is taken, but of redactions both are: nobody who saves a draft
/// uncovers what was covered meanwhile.
[[nodiscard]] EditorDocument reopenedDraft(const AnnotationDraft& draft,
                                           const EditorDocument& stored, PixelSize capture);

}  // namespace vantorel
