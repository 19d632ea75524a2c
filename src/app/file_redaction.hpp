#pragma once

#include <functional>
#include <memory>
#include <string>

#include "app/capture_auto_redact.hpp"
#include "app/redaction_failure.hpp"
#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "capture/redacted_originals.hpp"
#include "library/library.hpp"
#include "platform/image_codec.hpp"
#include "settings/settings_store.hpp"

namespace vantorel {

/// Uncovers and covers again what Smart Redact covered in the files of captures. The entry says
/// what is under way before any file changes (`ScreenshotEntry::redactionChange`); what was cut
/// short is done to its end when it is begun once more, whichever way. Lives on the main runner;
/// files are read and written on `work`.
class FileRedaction {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;
    std::shared_ptr<Files> files;
    std::shared_ptr<const ImageCodec> codec;
    Library& library;
    SettingsStore& settings;
    CaptureAutoRedact& autoRedact;
  };

  explicit FileRedaction(Services services);

  using Done = std::function<void(Result<EntryPointer, RedactionFailure>)>;

  // The capture is claimed by whoever asks, until `done` comes.

  /// Puts the untouched original in the place of the capture's file. A file of another format than
  /// PNG is made of it, and it stays the entry's original, for nothing else has all of it.
  void uncover(const EntryPointer& entry, Done done);

  /// Covers what was covered. What the file shows goes among the originals that only their owner
  /// reads, or the original that the capture had meanwhile does.
  void cover(const EntryPointer& entry, Done done);

 private:
  struct Change;
  struct NewFile;
  class Disk;
  using ChangePointer = std::shared_ptr<Change>;

  void begin(const EntryPointer& entry, bool covers, Done done);
  void write(const ChangePointer& change);
  void bake(const ChangePointer& change);
  void replaced(const ChangePointer& change, Result<NewFile> file);
  void clearUp(const ChangePointer& change);

  Services services_;
  std::shared_ptr<Disk> disk_;
  Lifetime lifetime_;
};

}  // namespace vantorel
