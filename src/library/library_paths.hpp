#pragma once

#include <filesystem>

namespace vantorel {

/// Where the library keeps its things. Captures themselves lie wherever the user wants them.
struct LibraryPaths {
  std::filesystem::path data;    ///< kept: "~/.local/share/vantorel", or below a separate root
  std::filesystem::path caches;  ///< may be deleted at any time

  [[nodiscard]] std::filesystem::path index() const { return data / "history.json"; }
  /// Locked by the process that may write the library; holds nothing.
  [[nodiscard]] std::filesystem::path lock() const { return data / "history.lock"; }
  /// Locked by the program that lives in the tray; holds nothing.
  [[nodiscard]] std::filesystem::path trayLock() const { return data / "tray.lock"; }
  [[nodiscard]] std::filesystem::path endingTrayLock() const { return data / "tray-ending.lock"; }
  [[nodiscard]] std::filesystem::path relocationJournal() const { return data / "relocation.json"; }
  /// Names the entries whose files are on their way into or out of the Trash.
  [[nodiscard]] std::filesystem::path deletions() const { return data / "deletions.json"; }
  /// The last deletion, for as long as it can be undone.
  [[nodiscard]] std::filesystem::path pendingUndo() const { return data / "undo.json"; }
  /// The age that the user agreed captures may go at.
  [[nodiscard]] std::filesystem::path retention() const { return data / "retention.json"; }
  /// Names the files that rewrites under way make.
  [[nodiscard]] std::filesystem::path rewrites() const { return data / "rewrites.json"; }
  /// Captures grabbed but not yet filed.
  [[nodiscard]] std::filesystem::path stagedCaptures() const { return data / "Staged Captures"; }
  /// What running scrolling captures have joined so far, a folder each.
  [[nodiscard]] std::filesystem::path scrollingSessions() const {
    return data / "Scrolling Sessions";
  }
  /// Originals of captures that were changed in place.
  [[nodiscard]] std::filesystem::path originals() const { return data / "Originals"; }
  /// Originals of captures that Smart Redact rewrote.
  [[nodiscard]] std::filesystem::path redactedOriginals() const {
    return data / "Redacted Originals";
  }
  [[nodiscard]] std::filesystem::path previews() const { return caches / "previews"; }
  [[nodiscard]] std::filesystem::path waveforms() const { return caches / "waveform"; }
};

}  // namespace vantorel
