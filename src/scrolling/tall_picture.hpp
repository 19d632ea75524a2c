#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <vector>

#include "base/image.hpp"
#include "scrolling/frame_signature.hpp"
#include "scrolling/static_regions.hpp"
#include "scrolling/tall_changes.hpp"

namespace vantorel {

/// A picture that grows at both ends, in pieces, so that it is never copied as a whole while it
/// does. Rows have numbers, which may be negative. One thread at a time.
class TallPicture {
 public:
  TallPicture() = default;
  TallPicture(int width, PixelFormat format) : width_(width), format_(format) {}

  [[nodiscard]] int width() const { return width_; }
  [[nodiscard]] int top() const { return top_; }
  [[nodiscard]] int bottom() const { return bottom_; }  ///< behind the last row
  [[nodiscard]] int height() const { return bottom_ - top_; }

  /// Puts `rows` rows of `image`, which is as wide as the picture and has `digests`, from its row
  /// `from` on, to row `to` of the picture. They touch what is there, or lie in it.
  void paint(const Image& image, std::span<const RowDigest> digests, int from, int rows, int to);

  /// Puts these columns of one row of `image`, whose digest is given, into row `to` of the picture.
  void paintColumns(const Image& image, const RowDigest& digest, int from, int to,
                    const ColumnSpan& columns);

  /// Takes away what lies outside of these rows.
  void keep(int top, int bottom);

  /// Fills columns of rows [first, last) with the color that most pixels of those columns have in
  /// `image`.
  void fill(const ColumnSpan& columns, int first, int last, const Image& image);

  [[nodiscard]] std::span<const std::uint8_t> row(int y) const;

  [[nodiscard]] const RowDigest& digest(int y) const;

  /// A row is certain once the user of the picture has said so, until it is painted anew.
  [[nodiscard]] bool isCertain(int y) const;
  void setCertain(int y);

  /// Of all rows, from the top.
  [[nodiscard]] std::vector<RowDigest> digests() const;

  /// Rows [first, last) as a picture of their own.
  [[nodiscard]] Image part(int first, int last) const;

  /// Adds the pieces that `known` has in another version, at most `most`, those first that changed
  /// longest ago.
  void addChanges(const TallState& known, std::size_t most, TallChanges& changes) const;

  /// The whole; the picture is empty afterwards. Pieces go as they are copied.
  [[nodiscard]] Image finish();

 private:
  static constexpr int pieceRows = 256;
  struct Piece {
    std::vector<std::uint8_t> pixels;
    std::vector<RowDigest> digests;
    std::vector<bool> certain;
    std::uint64_t version = 0;
  };
  [[nodiscard]] std::size_t rowBytes() const { return static_cast<std::size_t>(width_) * 4; }
  [[nodiscard]] Piece& pieceAt(int y);
  [[nodiscard]] static int rowInPiece(int y);
  [[nodiscard]] std::span<std::uint8_t> writable(int y);

  int width_ = 0;
  PixelFormat format_ = PixelFormat::bgrx;
  int top_ = 0;
  int bottom_ = 0;
  std::uint64_t changes_ = 0;
  std::map<int, Piece> pieces_;
};

}  // namespace vantorel
