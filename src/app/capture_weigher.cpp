#include "app/capture_weigher.hpp"

#include <atomic>
#include <utility>

#include "editor/entry_document.hpp"
#include "editor/shape_layers.hpp"

namespace vantorel {
namespace {

/// Set on the main runner, looked at on the other.
struct WeighingState {
  std::atomic<bool> isWanted = true;
};

}  // namespace

CaptureWeigher::Weighing CaptureWeigher::weigh(const EntryPointer& entry, Tell tell) {
  auto state = std::make_shared<WeighingState>();
  CaptureTranscoder::Source source{.path = entry->path,
                                   .scale = entry->captureScale.value_or(1),
                                   .createdAt = entry->capturedAt,
                                   .redacted = [entry](PixelSize size) {
                                     const EditorDocument document = documentOf(*entry, size);
                                     return redactedPixels(document.shapes, document.layers, size);
                                   }};
  using Weight = CaptureTranscoder::Weight;
  // Called on the main runner, and let go of there.
  auto answer = std::make_shared<std::function<void(const Weight&)>>(
      lifetime_.guard([state, tell = std::move(tell)](const Weight& weight) {
        if (state->isWanted) tell(weight);
      }));
  services_.work->post([state, source = std::move(source), files = services_.files,
                        codec = services_.codec, main = services_.main,
                        quality = services_.settings->values().jpegQuality,
                        answer = std::move(answer)]() mutable {
    if (state->isWanted) {
      CaptureTranscoder(files, codec).weigh(source, quality, [&](const Weight& weight) {
        main->post([answer, weight] { (*answer)(weight); });
        return state->isWanted.load();
      });
    }
    main->post([answer = std::move(answer)] {});
  });
  return {nullptr, [state](void*) { state->isWanted = false; }};
}

}  // namespace vantorel
