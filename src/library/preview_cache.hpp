#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/image.hpp"
#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "library/entry_look.hpp"
#include "platform/clock.hpp"
#include "platform/files.hpp"
#include "platform/image_codec.hpp"

namespace vantorel {

/// How large previews are at most, in pixels.
inline constexpr PixelSize previewSize{400, 250};

/// How much of a picture its preview shows: from the top, and the middle of a wide one.
[[nodiscard]] PixelSize previewedPart(PixelSize picture);

/// A picture as its preview shows it: from the top, as wide as it is, at most `previewSize`. One
/// more than twice as wide as high is shown whole. Never enlarged.
[[nodiscard]] Image previewOf(const Image& picture);

/// The previews of captures as they are shown, kept in a folder of files that may go at any time.
/// A picture that changed has another preview, for its file's name is made of the picture's path,
/// size and time and of what is drawn on it (`PreviewName`); `PreviewCleanup` removes the other
/// one. Lives on the main runner; reads and makes them on `work`, one after the other.
class PreviewCache {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;  ///< a serial queue that may block
    std::shared_ptr<Files> files;
    std::shared_ptr<const ImageCodec> codec;
    std::shared_ptr<const Clock> clock;
    PictureFinish finish;
    std::function<bool(const EntryPointer&)> isCurrent;  ///< whether the library has it just so
    Path folder;
    std::uint64_t maximumBytes = 256ULL << 20;  ///< on disk; what was used longest ago goes first
  };

  explicit PreviewCache(Services services);
  ~PreviewCache();

  /// Told of each preview that was asked for; an empty picture when there is none.
  std::function<void(const EntryPointer& entry, const Image& preview)> onPreview;

  /// From now on these are wanted, in this order, and no others: what was asked for before and is
  /// not among them is not made any more. Those that have come are not to be asked for again.
  void want(const EntryList& entries);

  /// How many are still to come.
  [[nodiscard]] std::size_t waiting() const { return wanted_.size(); }

 private:
  class Shelf;
  void next();

  Services services_;
  std::shared_ptr<Shelf> shelf_;  // lives on `work`
  std::deque<EntryPointer> wanted_;
  bool isMaking_ = false;
  Lifetime lifetime_;
};

}  // namespace vantorel
