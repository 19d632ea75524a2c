#include "platform/linux/pixel_rows.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

namespace vantorel {
namespace {

static_assert(std::endian::native == std::endian::little);

std::uint32_t pixelAt(const std::uint8_t* from) {
  std::uint32_t pixel = 0;
  std::memcpy(&pixel, from, sizeof pixel);
  return pixel;
}

/// Blue, green, red, x in the low to high bytes becomes red, green, blue, 0.
std::uint32_t redFirst(std::uint32_t pixel) {
  return (pixel >> 16 & 0xFF) | (pixel & 0xFF00) | (pixel & 0xFF) << 16;
}

void packOpaque(const std::uint8_t* from, std::size_t pixels, std::uint8_t* to) {
  // Each store writes a byte too many, which the next one corrects; the last must not.
  for (std::size_t i = 0; i + 1 < pixels; ++i) {
    const std::uint32_t rgb = redFirst(pixelAt(from + 4 * i));
    std::memcpy(to + 3 * i, &rgb, 4);
  }
  const std::uint32_t rgb = redFirst(pixelAt(from + 4 * (pixels - 1)));
  std::memcpy(to + 3 * (pixels - 1), &rgb, 3);
}

void unpackOpaque(const std::uint8_t* from, std::size_t pixels, std::uint8_t* to) {
  const auto unpack = [&](std::size_t i, std::uint32_t rgb) {
    const std::uint32_t pixel = redFirst(rgb) | 0xFF000000;
    std::memcpy(to + 4 * i, &pixel, 4);
  };
  // Each load reads a byte too many, but for the last.
  for (std::size_t i = 0; i + 1 < pixels; ++i) unpack(i, pixelAt(from + 3 * i));
  std::uint32_t rgb = 0;
  std::memcpy(&rgb, from + 3 * (pixels - 1), 3);
  unpack(pixels - 1, rgb);
}

/// What a premultiplied colour is multiplied by for each alpha, in 1/65536.
constexpr std::array<std::uint32_t, 256> unmultiplying = [] {
  std::array<std::uint32_t, 256> factors{};
  for (std::uint32_t alpha = 1; alpha < 256; ++alpha) {
    factors[alpha] = (255 * 65536U + alpha / 2) / alpha;
  }
  return factors;
}();

void packTranslucent(const std::uint8_t* from, std::size_t pixels, std::uint8_t* to) {
  for (std::size_t i = 0; i < pixels; ++i, from += 4, to += 4) {
    const std::uint32_t factor = unmultiplying[from[3]];
    for (int channel = 0; channel < 3; ++channel) {
      const std::uint32_t value = (from[2 - channel] * factor + 32768) >> 16;
      to[channel] = static_cast<std::uint8_t>(std::min<std::uint32_t>(value, 255));
    }
    to[3] = from[3];
  }
}

}  // namespace

bool isOpaque(const Image& image) {
  if (image.format() == PixelFormat::bgrx) return true;
  for (int y = 0; y < image.height(); ++y) {
    const auto row = image.row(y);
    std::uint32_t all = 0xFF000000;
    for (std::size_t x = 0; x < row.size(); x += 4) all &= pixelAt(row.data() + x);
    if (all != 0xFF000000) return false;
  }
  return true;
}

void packRow(const Image& image, int y, std::span<std::uint8_t> out) {
  const auto row = image.row(y);
  const auto pixels = static_cast<std::size_t>(image.width());
  if (out.size() == pixels * 3) {
    packOpaque(row.data(), pixels, out.data());
  } else {
    packTranslucent(row.data(), pixels, out.data());
  }
}

void unpackRow(std::span<const std::uint8_t> row, int bytesPerPixel, std::span<std::uint8_t> out) {
  const std::uint8_t* from = row.data();
  if (bytesPerPixel == 3) return unpackOpaque(from, out.size() / 4, out.data());
  for (std::size_t to = 0; to < out.size(); to += 4, from += 4) {
    const unsigned alpha = from[3];
    for (std::size_t channel = 0; channel < 3; ++channel) {
      out[to + channel] = static_cast<std::uint8_t>((from[2 - channel] * alpha + 127) / 255);
    }
    out[to + 3] = static_cast<std::uint8_t>(alpha);
  }
}

void flattenRow(const Image& image, int y, std::span<std::uint8_t> out) {
  const auto row = image.row(y);
  for (std::size_t i = 0; i < out.size(); i += 4) {
    const unsigned ground = 255U - row[i + 3];
    for (std::size_t channel = 0; channel < 3; ++channel) {
      out[i + channel] = static_cast<std::uint8_t>(std::min(row[i + channel] + ground, 255U));
    }
    out[i + 3] = 255;
  }
}

}  // namespace vantorel
