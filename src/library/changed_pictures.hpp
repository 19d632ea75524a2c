#pragma once

#include <functional>
#include <memory>
#include <string>

#include "base/lifetime.hpp"
#include "library/history_store.hpp"
#include "platform/image_codec.hpp"

namespace vantorel {

/// Keeps the sizes of pictures in the library true when another program writes their files anew.
/// Lives on the main runner.
class ChangedPictures {
 public:
  struct Services {
    HistoryStore& store;
    const Files& files;
    std::shared_ptr<const ImageCodec> codec;
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;  ///< blocks on files
    /// Notes in the entry that its picture has another size now.
    std::function<void(ScreenshotEntry&, PixelSize)> pictureHasSize;
  };

  explicit ChangedPictures(Services services) : services_(std::move(services)) {}

  /// Somebody wrote the file. One that is no picture any more leaves the entry as it is.
  void fileChanged(const std::string& path);

 private:
  void found(const std::string& path, PixelSize size);

  Services services_;
  Lifetime lifetime_;
};

}  // namespace vantorel
