#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.hpp"

namespace vantorel {

/// The type under which annotations are copied, as JSON, for this program alone.
inline constexpr std::string_view shapesClipboardType = "com.vantorel.shapes";

/// Why a clipboard does not have what it was given.
namespace clipboard_refusal {
inline constexpr const char* image = "the clipboard wouldn't take the image";
inline constexpr const char* text = "the clipboard wouldn't take the text";
inline constexpr const char* shapes = "the clipboard wouldn't take the annotations";
}  // namespace clipboard_refusal

/// What was read from a clipboard, under the type that its owner offers it as.
struct ClipboardItem {
  std::string type;
  std::string bytes;
};

/// What pictures, texts and files are read as, the best first.
namespace clipboard_types {
inline const std::vector<std::string> pictures{"image/png", "image/webp", "image/jpeg",
                                               "image/heic", "image/heif"};
inline const std::vector<std::string> texts{"UTF8_STRING", "text/plain;charset=utf-8", "text/plain",
                                            "STRING"};
/// URIs, one a line.
inline constexpr const char* files = "text/uri-list";
}  // namespace clipboard_types

/// The desktop's clipboard. The content stays while the program runs, and is handed to a clipboard
/// manager at exit when there is one. Lives on the main runner.
class Clipboard {
 public:
  virtual ~Clipboard() = default;

  /// Puts a PNG picture on it.
  virtual void setImage(std::string png, std::move_only_function<void(Result<void>)> done) = 0;

  virtual void setText(std::string text, std::move_only_function<void(Result<void>)> done) = 0;

  virtual void setShapes(std::string json, std::move_only_function<void(Result<void>)> done) = 0;

  /// The copied annotations; empty once anything else was copied, here or by another program.
  /// Answers at once, for no other program is asked.
  [[nodiscard]] virtual std::string shapes() const = 0;

  /// Reads the first of `types` that is on it, whoever put it there. Answers with `notFound` when
  /// none is, and with `unreachable` or `tooLarge` when its owner takes too long or has too much; a
  /// read that is asked for later calls the one before off. A clipboard that cannot be read has
  /// nothing on it.
  using Read = std::move_only_function<void(Result<ClipboardItem>)>;
  // NOLINTNEXTLINE(performance-unnecessary-value-param): clipboards that can be read keep them
  virtual void read(std::vector<std::string> /*types*/, Read done) {
    done(failed(FailureKind::notFound, "there is nothing of the kind on the clipboard"));
  }

  /// Asks a clipboard manager to keep what is ours, and waits a bounded time until it has it. For
  /// the end of the program, when no runner runs any more; with nothing of ours it answers at once.
  virtual void handOver() = 0;
};

}  // namespace vantorel
