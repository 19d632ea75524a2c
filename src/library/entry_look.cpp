#include "library/entry_look.hpp"

namespace vantorel {

ScreenshotEntry lookOf(const ScreenshotEntry& entry) {
  ScreenshotEntry look;
  look.path = entry.path;
  look.shapes = entry.shapes;
  look.unreadShapes = entry.unreadShapes;
  look.crop = entry.crop;
  look.background = entry.background;
  look.combine = entry.combine;
  look.layers = entry.layers;
  look.unreadLayers = entry.unreadLayers;
  look.canvas = entry.canvas;
  look.pixelWidth = entry.pixelWidth;
  look.pixelHeight = entry.pixelHeight;
  look.medium = entry.medium;
  look.captureScale = entry.captureScale;
  look.fileIdentity = entry.fileIdentity;
  return look;
}

}  // namespace vantorel
