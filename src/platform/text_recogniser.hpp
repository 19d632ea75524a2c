#pragma once

#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "base/image.hpp"
#include "base/result.hpp"
#include "text/records/picture_reading.hpp"

namespace vantorel {

/// Why a picture was not read.
struct RecognitionFailure {
  enum class Case {
    unavailable,  ///< the recogniser or all the languages are not installed; `reason` says which
    cancelled,
    failed,  ///< `reason` says why
  };
  Case what = Case::failed;
  std::string reason{};
};

[[nodiscard]] std::string sentence(const RecognitionFailure& failure);

/// How a picture is to be read.
struct ReadingRequest {
  double pixelsPerPoint = 1;

  /// Names of installed languages as `TextRecogniser::languages` gives them; those that are not
  /// installed are left out, and empty means all that are.
  std::vector<std::string> languages{};

  /// The part of the picture to read, in pixels; what is answered is in pixels of the whole all the
  /// same. None: all of it.
  std::optional<PixelRect> area = std::nullopt;

  /// By how much the picture is enlarged before it is read; none: by what suits its letters.
  std::optional<double> enlargement = std::nullopt;

  /// `area` holds one line of text, and is read as one.
  bool isOneLine = false;

  /// Answers what is hardly a word as well, told by `ReadWord::isNoise`: for who must miss nothing.
  bool keepsNoise = false;

  bool readsText = true;
  bool readsCodes = true;
};

/// Reads the text and the codes in pictures. Any thread; one reading at a time, others wait. Calls
/// block for about a second a screen and stop early when `stop` is requested.
class TextRecogniser {
 public:
  virtual ~TextRecogniser() = default;

  [[nodiscard]] virtual Result<PictureReading, RecognitionFailure> read(
      const Image& picture, const ReadingRequest& request, const std::stop_token& stop) = 0;

  /// The languages installed, "eng", "deu", in the order of their names. Looks at a folder.
  [[nodiscard]] virtual std::vector<std::string> languages() const = 0;

  /// Gives back what it keeps for the next reading, some 60 MB: for who has no more to read for a
  /// while. The next reading takes a tenth of a second longer. Does nothing during a reading.
  virtual void release() {}
};

}  // namespace vantorel
