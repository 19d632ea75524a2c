#pragma once

#include <string>
#include <vector>

#include "base/image.hpp"

namespace vantorel {

/// The result of building the layered image.
struct LayerComposite {
  Image image;  ///< canvas colour and layers, flattened; empty when it could not be built at all
  int pixelWidth = 0;
  int pixelHeight = 0;
  std::vector<std::string> missingLayerIDs;    ///< whose file could not be found or read
  std::vector<std::string> oversizedLayerIDs;  ///< too large to build

  /// How many pixels beside its place a layer's pixel may have been mixed into; 0 when every layer
  /// lies on whole pixels at its own size. Redactions cover that much more.
  int bleed = 0;
};

}  // namespace vantorel
