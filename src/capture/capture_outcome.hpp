#pragma once

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "base/geometry.hpp"
#include "base/image.hpp"
#include "capture/records/export_format.hpp"
#include "library/records/screenshot_entry.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// Why a capture came to nothing.
struct CaptureFailure {
  enum class Case {
    writeFailed,                ///< grabbed, but not saved; `reason` says why
    interrupted,                ///< the grab failed; `reason` says why
    permissionDenied,           ///< the desktop does not let this program see the screen
    screenCaptureDidNotAnswer,  ///< the capture service stayed silent beyond the bound
  };
  Case what = Case::interrupted;
  std::string reason;
};

[[nodiscard]] std::string sentence(const CaptureFailure& failure);

/// Remarks on a capture that was saved, though not quite as asked.
namespace note {

/// The chosen format could not hold or make the picture, or made it larger; it was saved as PNG.
struct LossyFallback {
  ExportFormat wanted = ExportFormat::png;
  bool isLarger = false;
};

/// The captures folder could not take the file; it went to the default folder.
struct StorageUnavailable {
  std::optional<std::string> error;
};

/// No captures folder could take the file; the library lists it where it was staged.
struct PublishedInStagingFolder {
  Path path;
};

}  // namespace note

using CaptureNote =
    std::variant<note::LossyFallback, note::StorageUnavailable, note::PublishedInStagingFolder>;

[[nodiscard]] std::string sentence(const CaptureNote& note);

/// How a capture ended.
struct CaptureOutcome {
  struct Saved {
    std::shared_ptr<const ScreenshotEntry> entry;
    std::vector<CaptureNote> notes;

    /// Why the library's index does not list the capture yet although its file is in place; the
    /// next launch will list it. Empty when it does.
    std::string indexFailure;

    bool copies = false;  ///< asked for on the clipboard while it was chosen

    /// What was asked for or set and could not be done besides, a sentence each.
    std::vector<std::string> remarks{};

    /// So many places Smart Redact covered before it was filed.
    std::size_t covered = 0;

    /// What the picture shows, in pixels of the desktop; empty when that is not known.
    PixelRect shown{};

    /// The pixels as they were taken; empty where only the file has them.
    Image picture{};
  };
  struct Cancelled {};
  struct HandedOver {};  ///< to who asked for the picture itself; nothing is saved

  std::variant<Saved, CaptureFailure, Cancelled, HandedOver> value;
};

/// "Redacted 3 items"; empty where nothing was covered.
[[nodiscard]] std::string redactedWords(std::size_t covered);

/// All there is to say about a capture that was saved, a sentence each: its notes, the index, and
/// what could not be done besides.
[[nodiscard]] std::vector<std::string> remarksOn(const CaptureOutcome::Saved& saved);

}  // namespace vantorel
