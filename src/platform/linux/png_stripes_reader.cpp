#include "platform/linux/png_stripes_reader.hpp"

#include <isa-l.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <new>
#include <span>
#include <system_error>
#include <thread>
#include <vector>

#include "platform/image_codec.hpp"
#include "platform/linux/pixel_rows.hpp"
#include "platform/linux/png_filter.hpp"
#include "platform/linux/png_writer.hpp"

namespace vantorel {
namespace {

constexpr unsigned maximumReadingThreads = 4;

std::uint32_t numberIn(std::string_view bytes, std::size_t at) {
  std::uint32_t number = 0;
  for (const char byte : bytes.substr(at, 4)) {
    number = number << 8 | static_cast<std::uint8_t>(byte);
  }
  return number;
}

const unsigned char* asBytes(std::string_view text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

/// What of such a file its pixels are made of.
struct StripedFile {
  PixelSize size;
  int bytesPerPixel = 3;
  std::vector<std::string_view> stripes;  ///< deflated
  std::uint32_t adler = 1;                ///< of all that they hold

  [[nodiscard]] std::size_t rowBytes() const {
    return static_cast<std::size_t>(size.width) * static_cast<std::size_t>(bytesPerPixel) + 1;
  }
};

/// True for a header that says eight bits a channel, true colour, no interlacing.
bool takeHeader(std::string_view content, StripedFile& file) {
  if (content.size() != 13 || (content[9] != 2 && content[9] != 6)) return false;
  if (content[8] != 8 || content.substr(10) != std::string_view("\0\0\0", 3)) return false;
  file.size = {static_cast<int>(numberIn(content, 0)), static_cast<int>(numberIn(content, 4))};
  file.bytesPerPixel = content[9] == 2 ? 3 : 4;
  return file.size.width > 0 && file.size.height > 0;
}

std::optional<StripedFile> stripedFile(std::string_view bytes) {
  constexpr std::size_t frame = 12;
  StripedFile file;
  bool hasHeader = false;
  bool hasEnd = false;
  std::vector<std::string_view> parts;
  for (std::size_t at = 8; !hasEnd && at + frame <= bytes.size();) {
    const std::size_t size = numberIn(bytes, at);
    if (size > bytes.size() - at - frame) return std::nullopt;
    const std::string_view type = bytes.substr(at + 4, 4);
    const std::string_view content = bytes.substr(at + 8, size);
    const std::uint32_t sum = crc32_gzip_refl(0, asBytes(type), size + 4);
    if (sum != numberIn(bytes, at + 8 + size)) return std::nullopt;
    if (type == "IHDR" && !hasHeader && parts.empty()) {
      hasHeader = takeHeader(content, file);
      if (!hasHeader) return std::nullopt;
    } else if (type == "IDAT") {
      parts.push_back(content);
    } else if (type == "IEND") {
      hasEnd = true;
    } else if (type != "sRGB" && type != "pHYs" && type != "eXIf") {
      return std::nullopt;
    }
    at += size + frame;
  }
  // The stripes, the first behind the stream's own header, and the sum.
  if (!hasHeader || !hasEnd || parts.size() < 2 || parts.back().size() != 4) return std::nullopt;
  if (!parts.front().starts_with("\x78\x01")) return std::nullopt;
  parts.front().remove_prefix(2);
  file.adler = numberIn(parts.back(), 0);
  parts.pop_back();
  file.stripes = std::move(parts);
  return file;
}

/// The rows of a stripe, of which only the last may have fewer; none when the writer makes no such
/// file.
std::optional<int> stripeRows(const StripedFile& file) {
  for (const PNGEffort effort : {PNGEffort::fast, PNGEffort::small}) {
    const int rows = rowsOfStripe(effort, file.rowBytes());
    const std::size_t count = static_cast<std::size_t>((file.size.height - 1) / rows) + 1;
    if (count == file.stripes.size()) return rows;
  }
  return std::nullopt;
}

/// What its threads share.
class StripedReading {
 public:
  StripedReading(const StripedFile& file, int rows)
      : file_(file),
        rows_(rows),
        picture_(file.size,
                 file.bytesPerPixel == 3 ? PixelFormat::bgrx : PixelFormat::bgraPremultiplied),
        last_(file.rowBytes() - 1),
        adlers_(file.stripes.size()) {}

  /// Reads stripes until none is left. Any thread.
  void work() {
    try {
      std::vector<std::uint8_t> filtered;
      for (std::size_t i = 0; (i = take()) < file_.stripes.size();) {
        const bool isRight = inflateStripe(i, filtered) && unfilterStripe(i, filtered);
        finish(isRight);
      }
    } catch (const std::bad_alloc&) {
      finish(false);
    }
  }

  [[nodiscard]] std::optional<Image> result() && {
    if (hasFailed_) return std::nullopt;
    uLong adler = 1;
    for (std::size_t i = 0; i < adlers_.size(); ++i) {
      adler = adler32_combine(adler, adlers_[i], static_cast<z_off_t>(bytesOf(i)));
    }
    if (adler != file_.adler) return std::nullopt;
    return std::move(picture_).finish();
  }

 private:
  [[nodiscard]] int firstRow(std::size_t stripe) const { return static_cast<int>(stripe) * rows_; }
  [[nodiscard]] int rowsOf(std::size_t stripe) const {
    return std::min(rows_, file_.size.height - firstRow(stripe));
  }
  [[nodiscard]] std::size_t bytesOf(std::size_t stripe) const {
    return static_cast<std::size_t>(rowsOf(stripe)) * file_.rowBytes();
  }

  std::size_t take() {
    const std::lock_guard lock(mutex_);
    return hasFailed_ ? file_.stripes.size() : next_++;
  }

  bool inflateStripe(std::size_t stripe, std::vector<std::uint8_t>& to) {
    constexpr std::size_t slack = 16;  // the end of a block is seen only with room behind it
    const bool isLast = stripe + 1 == file_.stripes.size();
    const std::size_t size = bytesOf(stripe);
    to.resize(std::max(to.size(), size + slack));
    inflate_state state;
    isal_inflate_init(&state);
    state.crc_flag = ISAL_DEFLATE;
    // The library only reads what it calls next_in.
    state.next_in = const_cast<unsigned char*>(asBytes(file_.stripes[stripe]));
    state.avail_in = static_cast<std::uint32_t>(file_.stripes[stripe].size());
    state.next_out = to.data();
    state.avail_out = static_cast<std::uint32_t>(size + slack);
    if (isal_inflate(&state) != ISAL_DECOMP_OK || state.avail_in != 0 || state.total_out != size) {
      return false;
    }
    if ((state.block_state == ISAL_BLOCK_FINISH) != isLast) return false;
    adlers_[stripe] = isal_adler32(1, to.data(), size);
    return true;
  }

  /// Turns the differences into pixels. The first row builds on the stripe before, which is waited
  /// for unless the row says that it stands alone.
  bool unfilterStripe(std::size_t stripe, std::vector<std::uint8_t>& filtered) {
    const std::size_t rowBytes = file_.rowBytes();
    const std::vector<std::uint8_t> none(rowBytes - 1);
    const std::uint8_t* above = none.data();
    if (stripe > 0 && filtered[0] != static_cast<std::uint8_t>(PNGFilter::none)) {
      if (!waitFor(stripe)) return false;
      above = last_.data();
    }
    for (int y = 0; y < rowsOf(stripe); ++y) {
      std::uint8_t* const row = filtered.data() + static_cast<std::size_t>(y) * rowBytes;
      const std::span<std::uint8_t> content(row + 1, rowBytes - 1);
      switch (static_cast<PNGFilter>(row[0])) {
        case PNGFilter::none:
        case PNGFilter::up:
        case PNGFilter::paeth:
          unfilterRow(static_cast<PNGFilter>(row[0]), file_.bytesPerPixel, {above, rowBytes - 1},
                      content);
          break;
        default: return false;
      }
      above = content.data();
      unpackRow(content, file_.bytesPerPixel, picture_.row(firstRow(stripe) + y));
    }
    if (!waitFor(stripe)) return false;
    std::copy_n(above, last_.size(), last_.begin());
    return true;
  }

  /// Until the stripes before this one are done. False when one of them failed.
  bool waitFor(std::size_t stripe) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return hasFailed_ || done_ >= stripe; });
    return !hasFailed_;
  }

  void finish(bool isRight) {
    {
      const std::lock_guard lock(mutex_);
      if (isRight) {
        ++done_;
      } else {
        hasFailed_ = true;
      }
    }
    changed_.notify_all();
  }

  const StripedFile& file_;
  int rows_;
  MutableImage picture_;
  std::vector<std::uint8_t> last_;  ///< the last row of the stripe done last
  std::vector<std::uint32_t> adlers_;

  std::mutex mutex_;
  std::condition_variable changed_;
  std::size_t next_ = 0;
  std::size_t done_ = 0;  ///< stripes, which end in their order
  bool hasFailed_ = false;
};

}  // namespace

std::optional<Image> readStripedPNG(std::string_view bytes) try {
  const auto file = stripedFile(bytes);
  if (!file) return std::nullopt;
  const auto rows = stripeRows(*file);
  if (!rows) return std::nullopt;
  StripedReading reading(*file, *rows);
  {
    const auto count = static_cast<unsigned>(std::min<std::size_t>(
        file->stripes.size(),
        std::clamp(std::thread::hardware_concurrency(), 1U, maximumReadingThreads)));
    std::vector<std::jthread> threads;
    try {
      while (threads.size() + 1 < count) threads.emplace_back([&] { reading.work(); });
    } catch (const std::system_error&) {
      // Those that could be started, at least this one, do it all.
    }
    reading.work();
  }
  return std::move(reading).result();
} catch (const std::bad_alloc&) {
  return std::nullopt;
}

}  // namespace vantorel
