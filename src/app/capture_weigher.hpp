#pragma once

#include <functional>
#include <memory>

#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "capture/capture_transcoder.hpp"
#include "library/records/screenshot_entry.hpp"
#include "platform/files.hpp"
#include "platform/image_codec.hpp"
#include "settings/settings_store.hpp"

namespace vantorel {

/// Finds how large captures would be in each format and compressed, by making them in memory. Lives
/// on the main runner; the work runs on `work`, which nothing else should wait for.
class CaptureWeigher {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;  ///< a serial queue
    std::shared_ptr<Files> files;
    std::shared_ptr<const ImageCodec> codec;
    SettingsStore* settings = nullptr;
  };

  explicit CaptureWeigher(Services services) : services_(std::move(services)) {}

  /// Goes on while it lives.
  using Weighing = std::shared_ptr<void>;
  using Tell = std::function<void(const CaptureTranscoder::Weight&)>;

  /// Tells one weight after the other, each once.
  [[nodiscard]] Weighing weigh(const EntryPointer& entry, Tell tell);

 private:
  Services services_;
  Lifetime lifetime_;
};

}  // namespace vantorel
