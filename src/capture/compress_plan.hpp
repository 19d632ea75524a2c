#pragma once

#include <variant>

#include "capture/records/export_format.hpp"

namespace vantorel {

/// How a capture's file is to be made smaller.
namespace compress {

/// Written again, if wanted with one pixel a point. A PNG made smaller in pixels takes a palette
/// when one comes close enough.
struct Reencode {
  ExportFormat format = ExportFormat::jpeg;
  double quality = 0.85;  ///< 0 to 1; PNG loses nothing
  bool downscaleTo1x = false;

  bool operator==(const Reencode&) const = default;
};

/// Written as a PNG file with a palette.
struct Palettize {
  bool operator==(const Palettize&) const = default;
};

/// There is nothing to be had without harm.
struct AlreadyCompact {
  bool operator==(const AlreadyCompact&) const = default;
};

}  // namespace compress

using CompressPlan =
    std::variant<compress::Reencode, compress::Palettize, compress::AlreadyCompact>;

/// A palette that comes this close shows no difference in text and none to speak of elsewhere.
constexpr double goodPaletteDecibels = 40;

/// What a plan is picked by.
struct CompressFacts {
  ExportFormat format = ExportFormat::png;
  bool hasPalette = false;  ///< the file is a PNG with a palette
  bool isTranslucent = false;
  double paletteDecibels = 0;  ///< how close 256 colours come; infinite: exactly
  double scale = 1;            ///< pixels per point
  bool downscaleTo1x = false;  ///< asked for; without meaning at scale 1
};

/// Screens get a palette as long as it hardly shows; what is like a photograph becomes a JPEG file,
/// or WebP when something shines through. A file that has lost something already is not made to
/// lose more, unless it is made smaller in pixels: then it keeps its format.
[[nodiscard]] CompressPlan compressPlan(const CompressFacts& facts);

}  // namespace vantorel
