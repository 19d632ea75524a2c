#pragma once

#include <cstdint>
#include <span>

namespace vantorel {

/// How a PNG row is written as differences from its neighbours; the values are the file's.
enum class PNGFilter : std::uint8_t { none = 0, up = 2, paeth = 4 };

/// Writes the filtered `row`. `above` is the row above it, both of `out`'s size; a pixel has 3 or 4
/// bytes.
void filterRow(PNGFilter filter, int bytesPerPixel, std::span<const std::uint8_t> row,
               std::span<const std::uint8_t> above, std::span<std::uint8_t> out);

/// Turns the differences in `row` back into the row they were made of.
void unfilterRow(PNGFilter filter, int bytesPerPixel, std::span<const std::uint8_t> above,
                 std::span<std::uint8_t> row);

}  // namespace vantorel
