#pragma once

#include <optional>

#include "scrolling/frame_signature.hpp"
#include "scrolling/static_regions.hpp"

namespace vantorel {

/// The variance of a pixel below which texture is the page's still background (paper, noise) and
/// says nothing of how the page moved, 4 to 256: eight times the middle variance of what is
/// textured and the same at the same place of both frames. Every fourth row is looked at, in eight
/// segments. Nothing where frames differ in size or are empty, where fewer than 24 segments or less
/// than a quarter of the textured ones are so, or where their middle variance is above 64.
[[nodiscard]] std::optional<float> backgroundEnergy(const FrameSignature& a,
                                                    const FrameSignature& b,
                                                    const StaticColumnMask& mask, double scale);

}  // namespace vantorel
