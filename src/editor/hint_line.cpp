#include "editor/hint_line.hpp"

namespace vantorel {
namespace {

std::string selectHint(const HintSituation& situation) {
  if (situation.selectedShapes > 1) {
    return "Drag to move the group · ⇧-click to add or remove · ⌫ to delete";
  }
  if (situation.selectedShapes == 1) return "Drag to move · handles to resize · ⌫ to delete";
  if (situation.layerSelected) {
    if (situation.layerLocked) return lockedHint(situation.layerName);
    if (situation.layerRemovable) {
      return "Drag to move · handles to resize · ⌘ skips the guides · ⌫ to remove the layer";
    }
    return "Drag to move · handles to resize · ⇧ keeps the proportions · ⌘ skips the guides";
  }
  return "Click a shape to edit · drag empty canvas to select several · double-click a word to "
         "select its text";
}

std::string selectTextHint(const HintSituation& situation) {
  if (situation.captureHidden) {
    return "The capture is hidden · show it to select its text · Esc to exit";
  }
  switch (situation.reading) {
    case TextReading::notRead: return "No text was read in this capture · Esc to exit";
    case TextReading::nothingFound: return "No text found in this capture · Esc to exit";
    case TextReading::present: break;
  }
  if (situation.textSelected) {
    return "⌘C copies · R redacts · H highlights · click empty canvas to clear";
  }
  return "Drag across text to select · double-click a word · triple-click a line · double-click "
         "elsewhere for a text box";
}

}  // namespace

std::string lockedHint(const std::string& layerName) {
  return layerName + " is locked · unlock it to move or resize";
}

std::string hintLine(const HintSituation& situation) {
  switch (situation.tool) {
    case Tool::select: return selectHint(situation);
    case Tool::crop:
      return "Drag to frame · past the edge to grow the canvas · ⏎ or pick a tool to apply · Esc "
             "to cancel";
    case Tool::polygon: return "Drag to draw · ⇧ squares the frame · Sides and Star reshape it";
    case Tool::text: return "Click to place text · double-click text to edit";
    case Tool::counter: return "Click to stamp the next numbered badge";
    case Tool::emoji: return "Click to stamp the emoji · pick another above";
    case Tool::measure: return "Drag to measure · ⇧ snaps to 45°";
    case Tool::eyedropper: return "Click to copy the color · Esc to exit";
    case Tool::selectText: return selectTextHint(situation);
    case Tool::pen:
    case Tool::highlighter:
    case Tool::arrow:
    case Tool::rect:
    case Tool::ellipse:
    case Tool::redact:
    case Tool::highlightArea: return {};
  }
  return {};
}

}  // namespace vantorel
