#pragma once

#include <functional>
#include <memory>
#include <string>
#include <variant>

#include "app/capture_annotator.hpp"
#include "app/output_guard.hpp"
#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "capture/records/export_format.hpp"
#include "library/history_store.hpp"
#include "platform/files.hpp"
#include "platform/image_codec.hpp"
#include "settings/settings_store.hpp"

namespace vantorel {

/// Why a picture was not handed out: it could not be made, or not be written.
using ExportFailure = std::variant<Failure, OutputFileFailure>;

[[nodiscard]] std::string sentence(const ExportFailure& failure);

/// Hands the picture of a capture out of the library, with everything drawn and covered, in the
/// format that is asked for. Lives on the main runner; the disk work runs on `work`.
class CaptureExport {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;
    std::shared_ptr<Files> files;
    std::shared_ptr<const ImageCodec> codec;
    HistoryStore* store = nullptr;
    SettingsStore* settings = nullptr;
    CaptureAnnotator::Draw draw;  ///< called on `work`
    Path settingsFile{};
  };

  explicit CaptureExport(Services services)
      : services_(std::make_shared<const Services>(std::move(services))) {}

  template <class Value>
  using Done = std::function<void(Result<Value, ExportFailure>)>;

  /// The bytes of the picture's file.
  void read(const EntryPointer& entry, ExportFormat format, Done<std::string> done);

  /// Writes the picture to `output`, which it replaces in one step; never a file of the library.
  void write(const EntryPointer& entry, ExportFormat format, const Path& output, Done<void> done);

  /// The same in the format that the name's extension says, or else the capture's own, whose
  /// extension the name gets. Answers the file.
  void saveAs(const EntryPointer& entry, const Path& file, Done<Path> done);

 private:
  std::shared_ptr<const Services> services_;
  Lifetime lifetime_;
};

}  // namespace vantorel
