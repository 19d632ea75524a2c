#pragma once

#include <string>

#include "base/geometry.hpp"
#include "capture/records/export_format.hpp"
#include "editor/records/export_block.hpp"

namespace vantorel {

/// Why a document could not be drawn, or its picture not be encoded.
struct SceneFailure {
  enum class Case {
    blocked,     ///< by the export gate, `block`
    noMemory,    ///< for a picture of that size
    tooLarge,    ///< `format` cannot hold a picture of `size`
    notEncoded,  ///< `reason` says why
    noDrawing,   ///< the part of the program that draws cannot be had; `reason` says why
  };
  Case what = Case::blocked;
  std::string reason{};
  ExportBlock block{};
  PixelSize size{};
  ExportFormat format = ExportFormat::png;
};

[[nodiscard]] std::string sentence(const SceneFailure& failure);

}  // namespace vantorel
