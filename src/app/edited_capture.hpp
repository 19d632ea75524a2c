#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/geometry.hpp"
#include "base/image.hpp"
#include "base/result.hpp"
#include "capture/kept_redaction.hpp"
#include "editor/records/editor_document.hpp"
#include "platform/files.hpp"
#include "text/records/ocr_block.hpp"

namespace vantorel {

/// What an Annotate window has open, where its picture comes from and its document goes to: a
/// capture of the library, or a picture that becomes one when it is saved first. Lives on the main
/// runner.
class EditedCapture {
 public:
  virtual ~EditedCapture() = default;

  /// "Stations, week 47"
  [[nodiscard]] virtual std::string title() const = 0;

  /// What a file that is made of it is called, without the ending.
  [[nodiscard]] virtual std::string fileStem() const = 0;

  /// Seconds since 1970-01-01 UTC; none when it is not known.
  [[nodiscard]] virtual std::optional<double> capturedAt() const = 0;

  /// Empty for what is not in the library yet.
  [[nodiscard]] virtual std::string entryID() const = 0;

  /// The file the picture was read from; empty where there is none.
  [[nodiscard]] virtual Path file() const = 0;

  /// Whether it is in the library now. What is not was never filed, or has left it.
  [[nodiscard]] virtual bool isInLibrary() const = 0;

  /// Gives the library the document for a picture of `capture` pixels. Answers once it is on the
  /// disk, or with a sentence why it is not.
  virtual void store(const EditorDocument& document, PixelSize capture,
                     std::function<void(Result<void, std::string>)> done) = 0;

  /// Keeps what was not saved over the end of the program, in place of what was kept before.
  /// `kept` is told whether it is on the disk.
  virtual void keepDraft(const EditorDocument& document, PixelSize capture,
                         std::function<void(const Result<void>&)> kept) = 0;

  /// Nothing is unsaved any more.
  virtual void dropDraft() = 0;

  /// What Smart Redact covered in it before it was filed; nothing where it was nothing.
  [[nodiscard]] virtual std::optional<KeptRedaction> keptRedaction() const { return std::nullopt; }

  /// What it is after that was taken away or covered again.
  struct Switched {
    Image picture;  ///< of its file, as large as before
    std::optional<std::vector<OCRBlock>> recognised{};
  };
  /// Takes that away, or covers it again: its file has another picture then. Answers once that is
  /// on the disk, or in a sentence why it could not.
  virtual void switchRedaction(bool covers,
                               std::function<void(Result<Switched, std::string>)> done) {
    (void)covers;
    const auto answer = std::move(done);
    answer(std::unexpected(std::string("The picture has nothing that Smart Redact covered.")));
  }

  /// Takes it out of the library; its files are gone.
  virtual void removeFromHistory() = 0;
};

}  // namespace vantorel
