#include "capture/compress_plan.hpp"

namespace vantorel {
CompressPlan compressPlan(const CompressFacts& facts) {
  const bool downscale = facts.downscaleTo1x && facts.scale > 1;
  const bool isPNG = facts.format == ExportFormat::png;
  const bool screenLike = facts.paletteDecibels >= goodPaletteDecibels;
  if (!isPNG || facts.hasPalette) {
    if (!downscale) return compress::AlreadyCompact{};
    return compress::Reencode{.format = facts.format, .downscaleTo1x = true};
  }
  if (screenLike && !downscale) return compress::Palettize{};
  ExportFormat format = facts.isTranslucent ? ExportFormat::webp : ExportFormat::jpeg;
  if (screenLike) format = ExportFormat::png;
  return compress::Reencode{.format = format, .downscaleTo1x = downscale};
}

}  // namespace vantorel
