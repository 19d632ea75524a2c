#include "platform/linux/png_writer.hpp"

#include <isa-l.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <new>
#include <system_error>
#include <thread>
#include <vector>

#include "base/log.hpp"
#include "base/spent_time.hpp"
#include "platform/linux/exif.hpp"
#include "platform/linux/pixel_rows.hpp"
#include "platform/linux/png_filter.hpp"
#include "platform/linux/stripe_deflater.hpp"

namespace vantorel {
namespace {

constexpr std::size_t fastStripeBytes = 768U << 10;  // filtered; small enough for the cache
constexpr std::size_t smallStripeBytes = 8U << 20;
constexpr unsigned maximumThreads = 4;
constexpr int sampledRows = 8;

struct Stripe {
  int firstRow = 0;
  int rows = 0;
  std::string deflated{};
  std::uint32_t adler = 0;
  std::size_t filteredBytes = 0;
};

/// Of all threads together.
struct PartsOfEncoding {
  SpentTime choose;  // of a filter, by samples
  SpentTime filter;
  SpentTime deflate;
};

StripeContent contentOf(PNGFilter filter) {
  return filter == PNGFilter::none ? StripeContent::repetitive : StripeContent::differences;
}

/// Filters and compresses stripes, one at a time, in memory of its own. One thread.
class StripeWorker {
 public:
  StripeWorker(const Image& image, int bytesPerPixel, PNGEffort effort, int maximumRows,
               PartsOfEncoding& parts)
      : image_(image),
        bytesPerPixel_(bytesPerPixel),
        row_(static_cast<std::size_t>(image.width() * bytesPerPixel)),
        above_(row_.size()),
        filtered_((row_.size() + 1) * static_cast<std::size_t>(maximumRows)),
        deflater_(effort),
        parts_(parts) {}

  void run(Stripe& stripe) {
    const bool last = stripe.firstRow + stripe.rows == image_.height();
    const PNGFilter filter = parts_.choose.measure([&] { return bestFilter(stripe); });
    const auto bytes =
        parts_.filter.measure([&] { return filtered(filter, stripe.firstRow, stripe.rows); });
    stripe.filteredBytes = bytes.size();
    parts_.deflate.measure([&] {
      stripe.adler = isal_adler32(1, bytes.data(), bytes.size());
      const auto deflated = deflater_.deflate(bytes, contentOf(filter), last);
      stripe.deflated.assign(reinterpret_cast<const char*>(deflated.data()), deflated.size());
    });
  }

 private:
  /// The rows, each behind its filter's number.
  std::span<const std::uint8_t> filtered(PNGFilter filter, int firstRow, int rows) {
    if (firstRow > 0) {
      packRow(image_, firstRow - 1, above_);
    } else {
      std::ranges::fill(above_, 0);
    }
    std::uint8_t* to = filtered_.data();
    for (int y = firstRow; y < firstRow + rows; ++y) {
      *to++ = static_cast<std::uint8_t>(filter);
      if (filter == PNGFilter::none) {
        packRow(image_, y, {to, row_.size()});
      } else {
        packRow(image_, y, row_);
        filterRow(filter, bytesPerPixel_, row_, above_, {to, row_.size()});
        row_.swap(above_);
      }
      to += row_.size();
    }
    return {filtered_.data(), static_cast<std::size_t>(to - filtered_.data())};
  }

  PNGFilter bestFilter(const Stripe& stripe) {
    const std::size_t none = sampleSize(PNGFilter::none, stripe);
    const std::size_t up = sampleSize(PNGFilter::up, stripe);
    // Text and flat areas repeat themselves best unfiltered; where they do not, the picture is like
    // a photograph and the slowest filter mostly pays.
    if (none <= up) return PNGFilter::none;
    return sampleSize(PNGFilter::paeth, stripe) < up ? PNGFilter::paeth : PNGFilter::up;
  }

  /// What the stripe's middle rows compress to.
  std::size_t sampleSize(PNGFilter filter, const Stripe& stripe) {
    const int rows = std::min(sampledRows, stripe.rows);
    const int first = stripe.firstRow + (stripe.rows - rows) / 2;
    return deflater_.deflate(filtered(filter, first, rows), contentOf(filter), true).size();
  }

  const Image& image_;
  int bytesPerPixel_;
  std::vector<std::uint8_t> row_;
  std::vector<std::uint8_t> above_;
  std::vector<std::uint8_t> filtered_;
  StripeDeflater deflater_;
  PartsOfEncoding& parts_;
};

void appendNumber(std::string& to, std::uint32_t number) {
  for (int shift = 24; shift >= 0; shift -= 8) to += static_cast<char>(number >> shift & 0xFF);
}

/// The checksum covers the type and the content, which may come in several parts.
void appendChunk(std::string& to, std::string_view type,
                 std::initializer_list<std::string_view> parts) {
  std::size_t size = 0;
  for (const std::string_view part : parts) size += part.size();
  appendNumber(to, static_cast<std::uint32_t>(size));
  const std::size_t start = to.size();
  to += type;
  for (const std::string_view part : parts) to += part;
  appendNumber(to, crc32_gzip_refl(0, reinterpret_cast<const unsigned char*>(to.data()) + start,
                                   to.size() - start));
}

std::string header(const Image& image, int bytesPerPixel, const ImageEncoding& encoding) {
  std::string to("\x89PNG\r\n\x1A\n", 8);
  std::string size;
  appendNumber(size, static_cast<std::uint32_t>(image.width()));
  appendNumber(size, static_cast<std::uint32_t>(image.height()));
  const char colourType = bytesPerPixel == 4 ? 6 : 2;
  appendChunk(to, "IHDR", {size, std::string{8, colourType, 0, 0, 0}});
  appendChunk(to, "sRGB", {std::string_view("\0", 1)});
  std::string resolution;
  const auto pixelsPerMetre =
      static_cast<std::uint32_t>(std::lround(encoding.pixelsPerPoint * 72 / 0.0254));
  appendNumber(resolution, pixelsPerMetre);
  appendNumber(resolution, pixelsPerMetre);
  appendChunk(to, "pHYs", {resolution, std::string_view("\1", 1)});
  if (encoding.createdAt) appendChunk(to, "eXIf", {exifWithTime(*encoding.createdAt)});
  return to;
}

std::string joined(const std::vector<Stripe>& stripes, std::string to) {
  std::size_t size = to.size() + 64;
  for (const Stripe& stripe : stripes) size += stripe.deflated.size() + 12;
  to.reserve(size);
  std::string_view zlibHeader("\x78\x01", 2);
  uLong adler = 1;
  for (const Stripe& stripe : stripes) {
    appendChunk(to, "IDAT", {std::exchange(zlibHeader, {}), stripe.deflated});
    adler = adler32_combine(adler, stripe.adler, static_cast<z_off_t>(stripe.filteredBytes));
  }
  std::string end;
  appendNumber(end, static_cast<std::uint32_t>(adler));
  appendChunk(to, "IDAT", {end});
  appendChunk(to, "IEND", {});
  return to;
}

std::vector<Stripe> stripesOf(int height, int rows) {
  std::vector<Stripe> stripes;
  for (int y = 0; y < height; y += rows) {
    stripes.push_back({.firstRow = y, .rows = std::min(rows, height - y)});
  }
  return stripes;
}

}  // namespace

int rowsOfStripe(PNGEffort effort, std::size_t rowBytes) {
  const std::size_t bytes = effort == PNGEffort::fast ? fastStripeBytes : smallStripeBytes;
  return static_cast<int>(std::clamp<std::size_t>(bytes / rowBytes, sampledRows, 1U << 20));
}

Result<std::string> writePNG(const Image& image, const ImageEncoding& encoding) try {
  const PNGEffort effort = encoding.pngEffort;
  const int bytesPerPixel = isOpaque(image) ? 3 : 4;
  const std::size_t rowBytes = static_cast<std::size_t>(image.width() * bytesPerPixel) + 1;
  std::vector<Stripe> stripes = stripesOf(image.height(), rowsOfStripe(effort, rowBytes));

  const auto threadCount = static_cast<unsigned>(std::min<std::size_t>(
      stripes.size(), std::clamp(std::thread::hardware_concurrency(), 1U, maximumThreads)));
  std::atomic<std::size_t> next = 0;
  std::atomic<bool> memoryRanOut = false;
  PartsOfEncoding parts;
  const auto work = [&] {
    try {
      StripeWorker worker(image, bytesPerPixel, effort, stripes.front().rows, parts);
      for (std::size_t i = 0; (i = next++) < stripes.size();) worker.run(stripes[i]);
    } catch (const std::bad_alloc&) {
      memoryRanOut = true;
    }
  };
  {
    std::vector<std::jthread> threads;
    try {
      while (threads.size() + 1 < threadCount) threads.emplace_back(work);
    } catch (const std::system_error&) {
      // Those that could be started, at least this one, do it all.
    }
    work();
  }
  if (memoryRanOut) throw std::bad_alloc();
  logInfo("CaptureLatency",
          "of encode, {} threads together: choose filters {:.1f} ms, filter {:.1f} ms, deflate "
          "{:.1f} ms",
          threadCount, parts.choose.milliseconds(), parts.filter.milliseconds(),
          parts.deflate.milliseconds());
  return joined(stripes, header(image, bytesPerPixel, encoding));
} catch (const std::bad_alloc&) {
  return failed(FailureKind::other, "there is not enough memory");
}

}  // namespace vantorel
