#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "capture/redacted_originals.hpp"
#include "capture/staged_capture_record.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// A picture that was grabbed and is safe on disk, but not yet filed.
struct StagedCapture {
  Path path;
  double capturedAt = 0;  ///< seconds since 1970-01-01 UTC, to the millisecond
  StagedCaptureRecord record;
};

/// Whether a capture may have been taken since `begun` (seconds since 1970, a moment ago). One
/// further in the future is from a time when the clock was wrong.
[[nodiscard]] bool mayBeOfThisRun(double capturedAt, double begun);

/// The folder where captures wait for filing, each a whole PNG file with its record as an extended
/// attribute, or in a file of the same name plus ".json" where the file system keeps none.
///
/// A file is made under a temporary name and gets its final one, "vantorel-<milliseconds>.png",
/// when it is complete with its record. Meanwhile its maker holds a lock of that name, which tells
/// what is being made from what was left. Blocks; any runner that may wait for the disk.
class StagingFolder {
 public:
  StagingFolder(std::shared_ptr<Files> files, Path folder);

  [[nodiscard]] const Path& folder() const { return folder_; }

  /// Makes a picture safe. When two share a millisecond, the later one is moved on by one.
  [[nodiscard]] Result<StagedCapture> stage(std::string_view png, double capturedAt,
                                            StagedCaptureRecord record);

  /// The picture: a PNG file.
  [[nodiscard]] Result<std::string> read(const StagedCapture& staged) const;

  /// What the staged file says of itself now.
  [[nodiscard]] Result<StagedCaptureRecord> record(const Path& path) const;

  /// Writes a changed record.
  [[nodiscard]] Result<void> update(const StagedCapture& staged);

  /// Every staged capture, oldest first: every picture with a record, whatever it is called. What
  /// its name does not tell of the time its file does.
  [[nodiscard]] Result<std::vector<StagedCapture>> staged() const;

  /// The files that staged captures have elsewhere: where they are being filed, or were when that
  /// was cut short, and what is kept of them among the originals.
  [[nodiscard]] std::vector<Path> filesElsewhere(const RedactedOriginals& originals) const;

  /// Takes the record off `path` (a second name of the staged file, or the file itself), so that no
  /// launch takes it for a staged capture.
  [[nodiscard]] Result<void> removeRecord(const Path& path);

  /// Removes the staged file and its record.
  [[nodiscard]] Result<void> discard(const StagedCapture& staged);

  /// Removes temporaries and records without a picture that processes left which ended while
  /// staging. What belongs to one that lives stays.
  void removeLeftovers();

 private:
  [[nodiscard]] Path pathAt(std::int64_t milliseconds) const;
  [[nodiscard]] Result<std::unique_ptr<FileLock>> lock(const Path& path);
  [[nodiscard]] Result<void> stageAs(const Path& path, std::string_view png,
                                     std::string_view record);
  void removeSpare(const Path& path);
  [[nodiscard]] Result<void> putRecord(const Path& path, const StagedCaptureRecord& record);

  std::shared_ptr<Files> files_;
  Path folder_;
};

}  // namespace vantorel
