#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/json_record.hpp"
#include "capture/records/source_app.hpp"

namespace vantorel {

/// What a staged file tells a later launch about itself, so that a capture whose filing was cut
/// short is filed once, as what it was. Every key may be missing.
struct StagedCaptureRecord {
  /// The extended attribute that carries the record, without the system's prefix.
  static constexpr std::string_view attributeName = "com.hollen.vantorel.staged-capture";

  int version = 1;              ///< of the payload
  std::optional<double> scale;  ///< pixels per point
  bool isTallCapture = false;

  /// The id its library entry has or will have.
  std::optional<std::string> entryID;
  std::optional<SourceApp> sourceApp;

  /// Nothing of the picture may be published before it has been looked through for what is
  /// sensitive.
  bool awaitsRedaction = false;

  /// Something in the picture is covered, and its original is kept.
  bool isRedacted = false;

  /// Where filing last meant to put the file, and the inode it would have there: what tells the
  /// file that filing made from a stranger of the same name.
  std::optional<std::string> filedPath;
  std::optional<std::string> filedInode;

  json::Object extra;

  template <class V, class S>
  static void describe(V& v, S& record);
};
VT_JSON_RECORD_DECLARATION(StagedCaptureRecord);

}  // namespace vantorel
