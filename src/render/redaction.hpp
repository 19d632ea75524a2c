#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "base/image.hpp"
#include "editor/records/shape_style.hpp"

namespace vantorel {

/// Hides parts of a picture for good.
///
/// The guarantee, for every style: what stands in a covered area afterwards is computed from the
/// area's place and size, from the shape's colour, and from picture pixels that no redaction
/// covers. No covered pixel is ever read, so two pictures that differ only there come out the
/// same byte for byte, and no knowledge of the program, the font or the style brings anything
/// back.
///  - `solidBox` is one opaque colour.
///  - `pixelate` looks like a coarse mosaic: tiles in the colours of the area's surroundings,
///    varied by a fixed pattern. It is not a mosaic of the content: averages of small text can be
///    matched against guesses.
///  - `gaussianBlur` looks like frosted glass: those colours, and a soft pattern, flow into each
///    other. It is not a convolution of the content, which could be undone, and which would carry
///    content past the edge.
///
/// Edges: a box that ends within a pixel covers the whole pixel, so no antialiased edge keeps a
/// share of what was below. Where the picture was scaled before, pixels beside the box were mixed
/// from covered ones; `bleed` widens the box by as many. The result is opaque, so that transparency
/// below does not show either. One redaction never takes its colours from below another.
struct Redaction {
  PixelRect area;  ///< see `coveredPixels`
  RedactStyle style = RedactStyle::solidBox;
  std::uint32_t color = 0xff000000;  ///< of `solidBox`, opaque ARGB

  bool operator==(const Redaction&) const = default;
};

/// The pixels that a box touches, however little, widened by `bleed`, within a picture of `size`.
/// Empty when the box has no area or lies outside.
[[nodiscard]] PixelRect coveredPixels(double left, double top, double right, double bottom,
                                      int bleed, PixelSize size);

/// How far beside its area a redaction looks for colours.
inline constexpr int redactionRim = 3;

/// The visible surroundings of a redaction, averaged piece by piece along its sides. A piece is
/// sampled again when the picture or another redaction changed within it.
class RedactionRim {
 public:
  static constexpr int pieces = 16;

  explicit RedactionRim(const PixelRect& area) : area_(area) {}

  /// Where a piece lies, in part perhaps outside the picture.
  [[nodiscard]] PixelRect piece(int index) const;

  /// Takes a piece's colour from the premultiplied picture that starts at `pixels`, as it is below
  /// the redaction. What `all` redactions of the picture cover is never looked at. True when it is
  /// another colour than before.
  bool sample(int index, const std::uint8_t* pixels, std::size_t stride, PixelSize size,
              const std::vector<Redaction>& all);

  /// The colour that the surroundings suggest at a place of the unit square: near pieces count
  /// more. Blue, green, red.
  [[nodiscard]] std::array<float, 3> at(float u, float v) const;

 private:
  struct Piece {
    std::array<float, 3> tone{};
    bool isSeen = false;  // some of it is not covered
    bool operator==(const Piece&) const = default;
  };

  PixelRect area_;
  std::array<Piece, pieces> pieces_;
};

/// What a redaction shows in place of what it covers, of any style.
class RedactionLook {
 public:
  RedactionLook() = default;
  RedactionLook(const Redaction& redaction, const RedactionRim& rim);

  /// Draws it, within `clip` alone.
  void draw(std::uint8_t* pixels, std::size_t stride, const PixelRect& clip) const;

 private:
  Redaction redaction_;
  int cell_ = 1;  // pixels
  int columns_ = 1;
  int rows_ = 1;
  std::vector<std::array<float, 3>> tones_;  // row by row; none of a solid box
};

/// Covers `redaction` in the premultiplied picture that starts at `pixels`, writing only within
/// `clip`. `all` are the redactions of the whole picture: their areas are never looked at. Reads
/// the area's rim, which must hold the picture as it is below this redaction.
void cover(std::uint8_t* pixels, std::size_t stride, PixelSize size, const Redaction& redaction,
           const std::vector<Redaction>& all, const PixelRect& clip);

}  // namespace vantorel
