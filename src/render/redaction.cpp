#include "render/redaction.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace vantorel {
namespace {

using Tone = std::array<float, 3>;

Tone operator+(const Tone& a, const Tone& b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }
Tone operator*(float k, const Tone& a) { return {k * a[0], k * a[1], k * a[2]}; }

/// To the nearest whole number, without a call for each pixel; `value` is never negative.
std::uint32_t rounded(float value) {
  return static_cast<std::uint32_t>(value + 0.5F);  // NOLINT(bugprone-incorrect-roundings)
}

std::uint32_t pixelOf(const Tone& tone) {
  const auto byte = [](float value) { return rounded(std::clamp(value, 0.F, 255.F)); };
  return 0xff000000U | byte(tone[2]) << 16U | byte(tone[1]) << 8U | byte(tone[0]);
}

/// A fixed pattern: 0 to 1, the same for the same cell on every machine.
float pattern(int column, int row) {
  auto bits = static_cast<std::uint32_t>(column) * 0x9e3779b1U ^
              (static_cast<std::uint32_t>(row) + 0x7f4a7c15U) * 0x85ebca77U;
  bits = (bits ^ bits >> 15U) * 0x2c1b3c6dU;
  bits = (bits ^ bits >> 12U) * 0x297a2d39U;
  bits ^= bits >> 15U;
  return float(bits >> 8U) / float(1U << 24U);
}

/// `tone` made darker, or lighter where it is dark already, by up to `amount`.
Tone varied(const Tone& tone, float amount) {
  const float light = 0.299F * tone[2] + 0.587F * tone[1] + 0.114F * tone[0];
  const float shift = light > 110 ? -amount : amount;
  return {tone[0] + shift, tone[1] + shift, tone[2] + shift};
}

struct Cells {
  int size = 1;  // pixels
  int columns = 1;
  int rows = 1;
  const std::vector<Tone>& tones;  // row by row

  [[nodiscard]] const Tone& at(int column, int row) const {
    column = std::clamp(column, 0, columns - 1);
    row = std::clamp(row, 0, rows - 1);
    return tones[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
                 static_cast<std::size_t>(column)];
  }
};

std::uint32_t* rowOf(std::uint8_t* pixels, std::size_t stride, int y) {
  return reinterpret_cast<std::uint32_t*>(pixels + static_cast<std::size_t>(y) * stride);
}

/// Tiles as even as whole pixels allow, so that none at the edges is a sliver.
void drawTiles(std::uint8_t* pixels, std::size_t stride, const PixelRect& area, const Cells& cells,
               const PixelRect& part) {
  const auto edge = [](int start, int length, int i, int count) {
    return start + static_cast<int>(std::int64_t{length} * i / count);
  };
  for (int cellRow = 0; cellRow < cells.rows; ++cellRow) {
    const int top = std::max(edge(area.y, area.height, cellRow, cells.rows), part.y);
    const int bottom = std::min(edge(area.y, area.height, cellRow + 1, cells.rows), part.bottom());
    for (int y = top; y < bottom; ++y) {
      std::uint32_t* const row = rowOf(pixels, stride, y);
      for (int column = 0; column < cells.columns; ++column) {
        const int left = std::max(edge(area.x, area.width, column, cells.columns), part.x);
        const int right =
            std::min(edge(area.x, area.width, column + 1, cells.columns), part.right());
        if (left < right) std::fill(row + left, row + right, pixelOf(cells.at(column, cellRow)));
      }
    }
  }
}

void drawFrost(std::uint8_t* pixels, std::size_t stride, const PixelRect& area, const Cells& cells,
               const PixelRect& part) {
  const auto place = [&](int offset) {
    const float at = (float(offset) + 0.5F) / float(cells.size) - 0.5F;
    const float whole = std::floor(at);
    const float t = at - whole;
    return std::pair(static_cast<int>(whole), t * t * (3 - 2 * t));
  };
  // In whole numbers, as there are many pixels: tones in 64ths, shares in 1024ths.
  struct Whole {
    std::uint32_t r = 0;
    std::uint32_t g = 0;
    std::uint32_t b = 0;
  };
  const auto whole = [](float value) { return rounded(std::clamp(value, 0.F, 255.F) * 64); };
  struct Across {
    std::size_t left = 0;
    std::size_t right = 0;
    std::uint32_t share = 0;  // of the right one
  };
  std::vector<Across> places;
  places.reserve(static_cast<std::size_t>(part.width));
  for (int x = part.x; x < part.right(); ++x) {
    const auto [first, across] = place(x - area.x);
    places.push_back({static_cast<std::size_t>(std::clamp(first, 0, cells.columns - 1)),
                      static_cast<std::size_t>(std::clamp(first + 1, 0, cells.columns - 1)),
                      rounded(across * 1024)});
  }
  std::vector<Whole> column(static_cast<std::size_t>(cells.columns));
  for (int y = part.y; y < part.bottom(); ++y) {
    const auto [cellRow, down] = place(y - area.y);
    for (int i = 0; i < cells.columns; ++i) {
      const Tone tone = (1 - down) * cells.at(i, cellRow) + down * cells.at(i, cellRow + 1);
      column[static_cast<std::size_t>(i)] = {whole(tone[2]), whole(tone[1]), whole(tone[0])};
    }
    std::uint32_t* pixel = rowOf(pixels, stride, y) + part.x;
    for (const Across& at : places) {
      const Whole& left = column[at.left];
      const Whole& right = column[at.right];
      const auto mixed = [share = at.share](std::uint32_t from, std::uint32_t to) {
        return (from * (1024 - share) + to * share + (1U << 15U)) >> 16U;
      };
      *pixel++ = 0xff000000U | mixed(left.r, right.r) << 16U | mixed(left.g, right.g) << 8U |
                 mixed(left.b, right.b);
    }
  }
}

}  // namespace

PixelRect coveredPixels(double left, double top, double right, double bottom, int bleed,
                        PixelSize size) {
  if (!(right > left) || !(bottom > top)) return {};
  const auto clamped = [](double value, int most) {
    return static_cast<int>(std::clamp(value, 0.0, double(most)));
  };
  const int x = clamped(std::floor(left) - bleed, size.width);
  const int y = clamped(std::floor(top) - bleed, size.height);
  const PixelRect area{x, y, clamped(std::ceil(right) + bleed, size.width) - x,
                       clamped(std::ceil(bottom) + bleed, size.height) - y};
  return area.isEmpty() ? PixelRect{} : area;
}

PixelRect RedactionRim::piece(int index) const {
  constexpr int along = pieces / 4;
  const int i = index / 4;
  const int left = area_.x + area_.width * i / along;
  const int right = area_.x + area_.width * (i + 1) / along;
  const int top = area_.y + area_.height * i / along;
  const int bottom = area_.y + area_.height * (i + 1) / along;
  switch (index % 4) {
    case 0: return {left, area_.y - redactionRim, right - left, redactionRim};
    case 1: return {left, area_.bottom(), right - left, redactionRim};
    case 2: return {area_.x - redactionRim, top, redactionRim, bottom - top};
    default: return {area_.right(), top, redactionRim, bottom - top};
  }
}

bool RedactionRim::sample(int index, const std::uint8_t* pixels, std::size_t stride, PixelSize size,
                          const std::vector<Redaction>& all) {
  const PixelRect rect = intersection(piece(index), {0, 0, size.width, size.height});
  std::vector<PixelRect> covered;
  for (const Redaction& other : all) {
    const PixelRect near = intersection(other.area, rect);
    if (!near.isEmpty()) covered.push_back(near);
  }
  const auto isCovered = [&](int x, int y) {
    return std::ranges::any_of(covered, [&](const PixelRect& part) {
      return x >= part.x && x < part.right() && y >= part.y && y < part.bottom();
    });
  };
  Tone sum{};
  int count = 0;
  for (int y = rect.y; y < rect.bottom(); ++y) {
    const std::uint8_t* const row = pixels + static_cast<std::size_t>(y) * stride;
    for (int x = rect.x; x < rect.right(); ++x) {
      if (isCovered(x, y)) continue;
      const std::uint8_t* const p = row + static_cast<std::size_t>(x) * 4;
      const float white = 255.F - p[3];  // what is transparent is seen on white
      sum = sum + Tone{p[0] + white, p[1] + white, p[2] + white};
      ++count;
    }
  }
  Piece sampled;
  if (count > 0) sampled = {(1.F / float(count)) * sum, true};
  Piece& known = pieces_[static_cast<std::size_t>(index)];
  return std::exchange(known, sampled) != sampled;
}

std::array<float, 3> RedactionRim::at(float u, float v) const {
  Tone sum{};
  float weights = 0;
  for (int i = 0; i < pieces; ++i) {
    const Piece& piece = pieces_[static_cast<std::size_t>(i)];
    if (!piece.isSeen) continue;
    const float middle = (float(i / 4) + 0.5F) / (pieces / 4);
    const int side = i % 4;
    const float du = u - (side < 2 ? middle : float(side - 2));
    const float dv = v - (side < 2 ? float(side) : middle);
    const float near = 1 / (du * du + dv * dv + 0.01F);
    sum = sum + near * piece.tone;
    weights += near;
  }
  if (weights == 0) return {128, 128, 128};
  return (1 / weights) * sum;
}

RedactionLook::RedactionLook(const Redaction& redaction, const RedactionRim& rim)
    : redaction_(redaction) {
  if (redaction.style == RedactStyle::solidBox || redaction.area.isEmpty()) return;
  const PixelRect& area = redaction.area;
  const int shorter = std::min(area.width, area.height);
  float strength = 0;
  if (redaction.style == RedactStyle::pixelate) {
    cell_ = std::clamp(shorter / 4, 6, 48);
    const auto fitting = [this](int length) { return std::max((length + cell_ / 2) / cell_, 1); };
    columns_ = fitting(area.width);
    rows_ = fitting(area.height);
    strength = 110;
  } else {
    cell_ = std::clamp(shorter / 2, 8, 80);
    const auto covering = [this](int length) { return (length + cell_ - 1) / cell_; };
    columns_ = covering(area.width);
    rows_ = covering(area.height);
    strength = 70;
  }
  tones_.reserve(static_cast<std::size_t>(columns_) * static_cast<std::size_t>(rows_));
  for (int row = 0; row < rows_; ++row) {
    for (int column = 0; column < columns_; ++column) {
      const float u = (float(column) + 0.5F) / float(columns_);
      const float v = (float(row) + 0.5F) / float(rows_);
      tones_.push_back(varied(rim.at(u, v), strength * pattern(column, row)));
    }
  }
}

void RedactionLook::draw(std::uint8_t* pixels, std::size_t stride, const PixelRect& clip) const {
  const PixelRect part = intersection(redaction_.area, clip);
  if (part.isEmpty()) return;
  const Cells cells{cell_, columns_, rows_, tones_};
  switch (redaction_.style) {
    case RedactStyle::solidBox:
      for (int y = part.y; y < part.bottom(); ++y) {
        std::uint32_t* const row = rowOf(pixels, stride, y);
        std::fill(row + part.x, row + part.right(), redaction_.color | 0xff000000U);
      }
      return;
    case RedactStyle::pixelate: drawTiles(pixels, stride, redaction_.area, cells, part); return;
    case RedactStyle::gaussianBlur: drawFrost(pixels, stride, redaction_.area, cells, part); return;
  }
}

void cover(std::uint8_t* pixels, std::size_t stride, PixelSize size, const Redaction& redaction,
           const std::vector<Redaction>& all, const PixelRect& clip) {
  if (intersection(redaction.area, clip).isEmpty()) return;
  RedactionRim rim(redaction.area);
  if (redaction.style != RedactStyle::solidBox) {
    for (int i = 0; i < RedactionRim::pieces; ++i) rim.sample(i, pixels, stride, size, all);
  }
  RedactionLook(redaction, rim).draw(pixels, stride, clip);
}

}  // namespace vantorel
