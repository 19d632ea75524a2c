#pragma once

#include <string>

namespace vantorel {

/// What can go wrong when a finished picture leaves the editor.
enum class OutputFailure {
  notWritten,        ///< encoding or writing failed
  clipboardRefused,  ///< the clipboard did not take it
  notReadable,       ///< the capture's file is no picture
  notPrepared,       ///< drawing it failed
  entryLeft,         ///< a drag out landed after its entry was gone
  notConfirmed,      ///< the user would not publish what is not redacted
};

/// A clause for people, to stand behind a colon or alone.
[[nodiscard]] std::string sentence(OutputFailure failure);

}  // namespace vantorel
