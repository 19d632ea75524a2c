#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "app/capture_auto_redact.hpp"
#include "app/file_redaction.hpp"
#include "app/pending_archive_work.hpp"
#include "app/redaction_failure.hpp"
#include "app/sensitive_scans.hpp"
#include "app/surface_registry.hpp"
#include "library/library.hpp"
#include "platform/image_codec.hpp"
#include "settings/settings_store.hpp"

namespace vantorel {

/// Looks through captures for what is sensitive, covers it, and takes away and brings back what was
/// covered in their files. Lives on the main runner; files are read and written on `work`.
class CaptureRedactor {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;
    std::shared_ptr<Files> files;
    std::shared_ptr<const ImageCodec> codec;
    Library& library;
    SettingsStore& settings;
    PendingArchiveWork& pendingWork;
    SurfaceRegistry& surfaces;
    SensitiveScans& scans;
    CaptureAutoRedact& autoRedact;
  };

  explicit CaptureRedactor(Services services);

  template <class Value>
  using Answer = Result<Value, RedactionFailure>;
  template <class Value>
  using Done = std::function<void(Answer<Value>)>;

  /// What was found in a picture. Proposals are in its pixels.
  struct Scan {
    PixelSize size;
    SmartRedact::Outcome found;
  };

  /// Looks through the capture of that name (an id, the unique start of one, or "latest"), without
  /// what its redactions cover already.
  void scanCapture(const std::string& name, Done<Scan> done);

  /// Looks through a picture file.
  void scanPicture(const Path& path, Done<Scan> done);

  /// What `apply` covers.
  struct Wanted {
    std::set<SensitiveMatchKind> kinds{};  ///< empty: all
    std::optional<RedactStyle> style{};    ///< none: as the settings say
  };
  struct Applied {
    EntryPointer entry;
    std::vector<SmartRedact::Proposal> covered;
    VisualDetectors unavailable;
  };

  /// Looks through the capture and adds redactions over what was found to its annotations. `done`
  /// comes when they are safe on disk.
  void apply(const std::string& name, Wanted wanted, Done<Applied> done);

  /// Takes away what Smart Redact covered in the capture's file before it was filed: the untouched
  /// original is in its place again. Whoever has the capture open in Annotate holds its claim until
  /// `done` comes, and takes over the other picture.
  void remove(const std::string& name, Done<EntryPointer> done,
              Library::Claimed claimed = Library::Claimed::no);

  /// Covers again what `remove` has uncovered.
  void reapply(const std::string& name, Done<EntryPointer> done,
               Library::Claimed claimed = Library::Claimed::no);

  /// Either of them.
  void switchTo(bool covers, const std::string& id, Library::Claimed claimed,
                std::function<void(Result<void, std::string>)> done);

  /// Ends what of the two was cut short, by a crash or a full disk. After `Library::whenReady`.
  void finishCutShort();

 private:
  struct Held;
  using Go = std::function<void(const std::shared_ptr<Held>& held, const EntryPointer& entry)>;

  template <class Value>
  void withCapture(const std::string& name, EntryWork work, const Done<Value>& done, Go go,
                   Library::Claimed claimed = Library::Claimed::no);
  [[nodiscard]] static Done<EntryPointer> answerOf(const std::shared_ptr<Held>& held,
                                                   Done<EntryPointer> done);
  void readAndScan(const Path& path, double pixelsPerPoint, Done<Scan> done);

  Services services_;
  FileRedaction fileRedaction_;
  std::set<std::shared_ptr<SensitiveScans::Scan>> scans_;  // under way
  Lifetime lifetime_;
};

}  // namespace vantorel
