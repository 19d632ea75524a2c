#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/capture_annotator.hpp"
#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "library/entry_failure.hpp"
#include "library/library.hpp"
#include "platform/alerts.hpp"
#include "platform/clipboard.hpp"
#include "platform/files.hpp"
#include "platform/image_codec.hpp"

namespace vantorel {

/// Why a picture did not come to the clipboard.
struct CopyFailure {
  enum class Case {
    noClipboard,        ///< there is none
    silent,             ///< it does not answer
    refused,            ///< it would not take the picture
    unreadable,         ///< the capture's file
    fileAway,           ///< `absence`
    unreadAnnotations,  ///< without them what they cover would show
    notDrawn,           ///< the annotations
    notEncoded,         ///< `reason` says why
  };
  Case what = Case::unreadable;
  std::string reason{};
  FileAbsence absence{};
};

/// Mostly a clause.
[[nodiscard]] std::string sentence(const CopyFailure& failure);

/// Copies the pictures of captures to the clipboard, with everything drawn and covered. Lives on
/// the main runner.
class CaptureCopying {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;  ///< reads and converts pictures; may block
    std::shared_ptr<Files> files;
    std::shared_ptr<const ImageCodec> codec;
    Library& library;
    Alerts& alerts;
    std::function<Clipboard*()> clipboard;                    ///< null when there is none
    CaptureAnnotator::Draw draw;                              ///< called on `work`
    std::function<bool(const PictureBytes&)> isWholePicture;  ///< likewise
  };

  explicit CaptureCopying(Services services) : services_(std::move(services)) {}

  using Done = std::function<void(const Result<void, CopyFailure>&)>;

  /// Answers when it is there.
  void copy(const ScreenshotEntry& entry, Done done);

  /// Where the clipboard has the picture of `before`, it gets that of `now`: what has been covered
  /// since is not to be pasted. A clipboard that does not answer keeps what it has.
  void renew(const ScreenshotEntry& before, const ScreenshotEntry& now);

  /// The picture as a PNG file, as it would be copied.
  void picture(const ScreenshotEntry& entry,
               std::function<void(Result<std::string, CopyFailure>)> done);

  /// The capture of that id, for a user who is told when it fails.
  void copyForUser(const std::string& id);

  /// The `number`-th newest picture, from 1, likewise.
  void copyRecent(int number);

  /// The newest pictures, `count` at most.
  [[nodiscard]] std::vector<EntryPointer> recentPictures(std::size_t count) const;

 private:
  Services services_;
  Lifetime lifetime_;
};

}  // namespace vantorel
