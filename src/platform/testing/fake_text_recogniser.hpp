#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/text_recogniser.hpp"

namespace vantorel {

/// Answers what a test wants it to read. One thread.
class FakeTextRecogniser final : public TextRecogniser {
 public:
  using Answer = Result<PictureReading, RecognitionFailure>;

  /// What it reads; by default nothing at all.
  std::function<Answer(const Image& picture, const ReadingRequest& request)> onRead;
  std::vector<std::string> installed{"eng"};
  std::vector<ReadingRequest> requests;  ///< so far

  [[nodiscard]] Answer read(const Image& picture, const ReadingRequest& request,
                            const std::stop_token& stop) override;
  [[nodiscard]] std::vector<std::string> languages() const override { return installed; }
};

/// How the text of `readingOf` lies in its picture: letters of one width, as on a typewriter.
struct TypedLayout {
  int left = 20, top = 20;  ///< where the first letter is
  int letterWidth = 8, letterHeight = 12, lineHeight = 20;
};

/// `text` (UTF-8) as a recogniser would read it in a picture of `size`: a line of it is one of the
/// reading, an empty one begins a block. The box of a letter is a pixel narrower than its place.
[[nodiscard]] PictureReading readingOf(std::string_view text, PixelSize size,
                                       const TypedLayout& layout = {});

}  // namespace vantorel
