#include "scrolling/tall_picture.hpp"

#include <algorithm>
#include <cstring>
#include <unordered_map>
#include <utility>

#include "base/check.hpp"

namespace vantorel {
namespace {

/// Rounded down, also below zero.
int pieceOf(int y, int rows) { return y >= 0 ? y / rows : -((rows - 1 - y) / rows); }

std::uint32_t commonestColor(const Image& image, const ColumnSpan& columns) {
  constexpr int step = 3;
  std::unordered_map<std::uint32_t, int> counts;
  for (int y = 0; y < image.height(); y += step) {
    const auto row = image.row(y);
    for (int x = columns.first; x < columns.last; x += step) {
      std::uint32_t pixel = 0;
      std::memcpy(&pixel, row.data() + std::ptrdiff_t{4} * x, sizeof pixel);
      ++counts[pixel];
    }
  }
  if (counts.empty()) return 0;
  return std::ranges::max_element(counts, {}, [](const auto& one) { return one.second; })->first;
}

}  // namespace

int TallPicture::rowInPiece(int y) { return y - pieceOf(y, pieceRows) * pieceRows; }

TallPicture::Piece& TallPicture::pieceAt(int y) {
  Piece& piece = pieces_[pieceOf(y, pieceRows)];
  if (piece.pixels.empty()) {
    piece.pixels.resize(rowBytes() * pieceRows);
    piece.digests.resize(pieceRows);
    piece.certain.resize(pieceRows);
  }
  return piece;
}

std::span<std::uint8_t> TallPicture::writable(int y) {
  Piece& piece = pieceAt(y);
  piece.version = ++changes_;
  return std::span(piece.pixels)
      .subspan(static_cast<std::size_t>(rowInPiece(y)) * rowBytes(), rowBytes());
}

std::span<const std::uint8_t> TallPicture::row(int y) const {
  VT_CHECK(y >= top_ && y < bottom_);
  return std::span(pieces_.at(pieceOf(y, pieceRows)).pixels)
      .subspan(static_cast<std::size_t>(rowInPiece(y)) * rowBytes(), rowBytes());
}

const RowDigest& TallPicture::digest(int y) const {
  VT_CHECK(y >= top_ && y < bottom_);
  return pieces_.at(pieceOf(y, pieceRows)).digests[static_cast<std::size_t>(rowInPiece(y))];
}

bool TallPicture::isCertain(int y) const {
  VT_CHECK(y >= top_ && y < bottom_);
  return pieces_.at(pieceOf(y, pieceRows)).certain[static_cast<std::size_t>(rowInPiece(y))];
}

void TallPicture::setCertain(int y) {
  VT_CHECK(y >= top_ && y < bottom_);
  pieceAt(y).certain[static_cast<std::size_t>(rowInPiece(y))] = true;
}

std::vector<RowDigest> TallPicture::digests() const {
  std::vector<RowDigest> all;
  all.reserve(static_cast<std::size_t>(height()));
  for (int y = top_; y < bottom_; ++y) {
    all.push_back(digest(y));
  }
  return all;
}

Image TallPicture::part(int first, int last) const {
  MutableImage image({width_, last - first}, format_);
  for (int y = first; y < last; ++y) {
    const auto source = row(y);
    std::memcpy(image.row(y - first).data(), source.data(), source.size());
  }
  return std::move(image).finish();
}

void TallPicture::paint(const Image& image, std::span<const RowDigest> digests, int from, int rows,
                        int to) {
  if (rows <= 0) return;
  VT_CHECK(image.width() == width_ && from >= 0 && from + rows <= image.height());
  VT_CHECK(height() == 0 || (to <= bottom_ && to + rows >= top_));
  for (int i = 0; i < rows; ++i) {
    const int row = from + i;
    const auto source = image.row(row);
    std::memcpy(writable(to + i).data(), source.data(), source.size());
    Piece& piece = pieceAt(to + i);
    const auto place = static_cast<std::size_t>(rowInPiece(to + i));
    piece.digests[place] = digests[static_cast<std::size_t>(row)];
    piece.certain[place] = false;
  }
  top_ = height() == 0 ? to : std::min(top_, to);
  bottom_ = std::max(bottom_, to + rows);
}

void TallPicture::paintColumns(const Image& image, const RowDigest& digest, int from, int to,
                               const ColumnSpan& columns) {
  VT_CHECK(to >= top_ && to < bottom_);
  const auto first = static_cast<std::size_t>(columns.first) * 4;
  std::memcpy(writable(to).data() + first, image.row(from).data() + first,
              static_cast<std::size_t>(columns.length()) * 4);
  Piece& piece = pieceAt(to);
  piece.digests[static_cast<std::size_t>(rowInPiece(to))] = digest;
  piece.certain[static_cast<std::size_t>(rowInPiece(to))] = false;
}

void TallPicture::keep(int top, int bottom) {
  top_ = std::max(top_, top);
  bottom_ = std::min(bottom_, bottom);
}

void TallPicture::fill(const ColumnSpan& columns, int first, int last, const Image& image) {
  if (columns.length() <= 0) return;
  const std::uint32_t color = commonestColor(image, columns);
  for (int y = first; y < last; ++y) {
    const auto row = writable(y);
    for (int x = columns.first; x < columns.last; ++x) {
      std::memcpy(row.data() + std::ptrdiff_t{4} * x, &color, sizeof color);
    }
  }
}

void TallPicture::addChanges(const TallState& known, std::size_t most, TallChanges& changes) const {
  changes.then = known;
  std::erase_if(changes.then.pieces, [&](const auto& one) {
    return (one.first + 1) * pieceRows <= top_ || one.first * pieceRows >= bottom_;
  });
  std::vector<int> changed;
  for (const auto& [number, piece] : pieces_) {
    if ((number + 1) * pieceRows <= top_ || number * pieceRows >= bottom_) continue;
    const auto found = known.pieces.find(number);
    if (found == known.pieces.end() || found->second != piece.version) changed.push_back(number);
  }
  std::ranges::sort(changed, {}, [&](int number) { return pieces_.at(number).version; });
  if (changed.size() > most) {
    changes.isAll = false;
    changed.resize(most);
  }
  for (const int number : changed) {
    const int first = std::max(number * pieceRows, top_);
    changes.strips.push_back(
        {number, first, part(first, std::min((number + 1) * pieceRows, bottom_))});
    changes.then.pieces[number] = pieces_.at(number).version;
  }
}

Image TallPicture::finish() {
  if (height() <= 0) return {};
  MutableImage whole({width_, height()}, format_);
  for (int y = top_; y < bottom_; ++y) {
    const auto source = row(y);
    std::memcpy(whole.row(y - top_).data(), source.data(), source.size());
    if ((y + 1) % pieceRows == 0) pieces_.erase(pieceOf(y, pieceRows));
  }
  pieces_.clear();
  top_ = bottom_ = 0;
  return std::move(whole).finish();
}

}  // namespace vantorel
