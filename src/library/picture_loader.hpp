#pragma once

#include <functional>
#include <memory>

#include "base/image.hpp"
#include "base/lifetime.hpp"
#include "base/task_runner.hpp"
#include "library/entry_failure.hpp"
#include "library/entry_look.hpp"
#include "platform/image_codec.hpp"

namespace vantorel {

/// Reads one picture of the library after the other to be looked at, as large as it is and as it is
/// shown. Lives on the main runner.
class PictureLoader {
 public:
  struct Services {
    std::shared_ptr<TaskRunner> main;
    std::shared_ptr<TaskRunner> work;  ///< may block
    std::shared_ptr<Files> files;
    std::shared_ptr<const ImageCodec> codec;
    PictureFinish finish;
  };

  explicit PictureLoader(Services services) : services_(std::move(services)) {}

  using Loaded = std::function<void(const Result<Image>& picture)>;

  /// `done` is not called when another one is asked for before. A failure is a sentence.
  void load(const EntryPointer& entry, Loaded done);

  /// Nobody looks any more.
  void cancel() { asked_.renew(); }

 private:
  Services services_;
  Lifetime asked_;
};

}  // namespace vantorel
