#pragma once

#include <expected>
#include <functional>
#include <memory>
#include <string>

#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "capture/records/export_format.hpp"
#include "library/history_store.hpp"
#include "platform/files.hpp"
#include "platform/image_codec.hpp"
#include "settings/settings_store.hpp"

namespace vantorel {

/// Hands the picture of a capture out of the library, in the format that is asked for. Lives on the
/// main runner; the disk work runs on `work`.
class CaptureExport {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;
    std::shared_ptr<Files> files;
    std::shared_ptr<const ImageCodec> codec;
    HistoryStore* store = nullptr;
    SettingsStore* settings = nullptr;
    Path settingsFile{};
  };

  explicit CaptureExport(Services services)
      : services_(std::make_shared<const Services>(std::move(services))) {}

  /// The value, or a sentence that says what is wrong.
  template <class Value>
  using Done = std::function<void(std::expected<Value, std::string>)>;

  /// The bytes of the picture's file.
  void read(const EntryPointer& entry, ExportFormat format, Done<std::string> done);

  /// Writes the picture to `output`, which it replaces in one step; never a file of the library.
  void write(const EntryPointer& entry, ExportFormat format, const Path& output, Done<void> done);

 private:
  std::shared_ptr<const Services> services_;
  Lifetime lifetime_;
};

}  // namespace vantorel
