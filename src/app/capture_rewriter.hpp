#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <variant>

#include "app/pending_archive_work.hpp"
#include "app/surface_registry.hpp"
#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "capture/capture_transcoder.hpp"
#include "library/entry_failure.hpp"
#include "library/library.hpp"
#include "library/rewrite_journal.hpp"
#include "platform/image_codec.hpp"
#include "settings/settings_store.hpp"

namespace vantorel {

struct RewrittenCapture {
  EntryPointer entry;
  std::string remark;  ///< a sentence on what came of it; may be empty
};

/// Why a capture was not rewritten.
struct RewriteFailure {
  std::variant<EntryFailure, EntryBusy, FileAbsence, TranscodeFailure> cause;
  bool isUnsettled = false;  ///< the disk must answer before it is known what came of it
};

[[nodiscard]] std::string sentence(const RewriteFailure& failure);

using RewriteReply = Result<RewrittenCapture, RewriteFailure>;

/// What of a capture with annotations its file itself covers, "nothing is covered": files hold no
/// annotations, but what is made of a redacted capture is blanked where it is redacted.
[[nodiscard]] std::string_view coveredInFile(const ScreenshotEntry& entry);

/// Converts and compresses captures of the library. The file before the change stays as the entry's
/// original, so that nothing is lost. One rewrite of an entry at a time; a quit waits for it. Lives
/// on the main runner; the work runs on `work`.
class CaptureRewriter {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;
    std::shared_ptr<Files> files;
    std::shared_ptr<const ImageCodec> codec;
    Library* library = nullptr;
    SettingsStore* settings = nullptr;
    PendingArchiveWork* pendingWork = nullptr;
    SurfaceRegistry* surfaces = nullptr;
  };

  explicit CaptureRewriter(Services services);

  using Done = std::function<void(RewriteReply)>;

  /// `name` is an id, the unique start of one, or "latest".
  void convert(const std::string& name, ExportFormat format, Done done);
  /// `downscaleTo1x` also takes the pixels beyond one a point away.
  void compress(const std::string& name, bool downscaleTo1x, Done done);

 private:
  struct Change {
    std::optional<ExportFormat> format = std::nullopt;  ///< none: compress
    bool downscaleTo1x = false;
  };
  void rewrite(const std::string& name, Change change, Done done);
  void transcode(const EntryPointer& entry, Change change, Done finished);
  void begin(const std::string& name, Change change, Done done);
  void fileAway(const ScreenshotEntry& before, const CaptureTranscoder::Source& source,
                const CaptureTranscoder::Result& result, Done finished);

  /// Clears up after a rewrite, and tells `then` what stays of it.
  using Ended = std::move_only_function<void(const RewriteJournal::Ended&)>;
  void endJournal(const std::string& id, Ended then);

  Services services_;
  std::shared_ptr<RewriteJournal> journal_;  ///< lives on `work`
  Lifetime lifetime_;
};

}  // namespace vantorel
