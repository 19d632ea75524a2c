#pragma once

#include <string>

#include "editor/records/tool.hpp"

namespace vantorel {

/// What the select-text tool has to work with.
enum class TextReading {
  present,
  notRead,      ///< the capture has not been read yet
  nothingFound  ///< it was read, and there was no text
};

/// What the hint line depends on.
struct HintSituation {
  Tool tool = Tool::select;
  int selectedShapes = 0;

  bool layerSelected = false;
  bool layerLocked = false;
  bool layerRemovable = false;  ///< every layer but the capture itself
  std::string layerName;

  TextReading reading = TextReading::present;
  bool textSelected = false;
  bool captureHidden = false;
};

/// Of a layer that is locked.
[[nodiscard]] std::string lockedHint(const std::string& layerName);

/// The line below the canvas; empty for the tools that explain themselves.
[[nodiscard]] std::string hintLine(const HintSituation& situation);

}  // namespace vantorel
