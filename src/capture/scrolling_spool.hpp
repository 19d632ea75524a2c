#pragma once

#include <map>
#include <memory>
#include <string>

#include "capture/scrolling_spool_index.hpp"
#include "platform/image_codec.hpp"
#include "scrolling/tall_changes.hpp"

namespace vantorel {

/// What a running scrolling session has joined, kept on disk against a crash: a folder of the
/// session's own that its user alone may read, with strips of rows as PNG files and an index. The
/// index is replaced as a whole once all it names is on the disk, and strips are never changed, so
/// that at any moment the folder holds one state of the picture. While this object lives it holds
/// the folder's lock; without it the folder is what `recoverScrollingSpools` looks for.
///
/// Blocks; one thread at a time.
class ScrollingSpool {
 public:
  struct Session {
    double capturedAt = 0;       ///< seconds since 1970-01-01 UTC
    StagedCaptureRecord record;  ///< with the id that the entry will have: the folder's name
  };

  ScrollingSpool(std::shared_ptr<Files> files, std::shared_ptr<const ImageCodec> codec,
                 const Path& sessions, Session session);

  /// Adds them to what is on the disk. After a failure that is as it was, and they may be written
  /// again.
  [[nodiscard]] Result<void> write(const TallChanges& changes);

  /// The picture is safe elsewhere, or nobody wants it. Nothing is written any more.
  void remove();

  /// It is given up as it is, for the next launch to find. Nothing is written any more.
  void release();

 private:
  using Names = std::map<int, std::string>;  // by piece

  [[nodiscard]] Result<void> open();
  [[nodiscard]] Result<std::string> put(const TallStrip& strip);
  [[nodiscard]] Result<void> publish(const TallChanges& changes, const Names& pieces,
                                     const Names& ends);

  std::shared_ptr<Files> files_;
  std::shared_ptr<const ImageCodec> codec_;
  Path folder_;
  Session session_;
  std::unique_ptr<FileLock> lock_;
  bool isOpen_ = false;
  bool isOver_ = false;
  int serial_ = 0;
  int width_ = 0;
  bool hasAlpha_ = false;
  Names pieces_;
  Names ends_;
};

}  // namespace vantorel
