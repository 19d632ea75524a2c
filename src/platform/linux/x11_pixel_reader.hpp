#pragma once

#include <xcb/xcb.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>

#include "base/image.hpp"
#include "base/result.hpp"
#include "base/spent_time.hpp"
#include "platform/linux/x11_shared_ring.hpp"

namespace vantorel {

/// A picture being read from the screen. The memory is given in large pages where the system has
/// them: a 4K picture in small ones costs 8000 page faults, more than all the copying.
struct PixelBuffer {
  explicit PixelBuffer(PixelSize size);
  /// Around memory that is there: rows without padding.
  PixelBuffer(PixelSize wanted, std::shared_ptr<std::uint8_t> memory)
      : size(wanted),
        stride(static_cast<std::size_t>(wanted.width) * 4),
        pixels(std::move(memory)) {}

  PixelSize size;
  std::size_t stride = 0;
  std::shared_ptr<std::uint8_t> pixels;

  [[nodiscard]] std::uint8_t* row(int y) const {
    return pixels.get() + static_cast<std::size_t>(y) * stride;
  }
  [[nodiscard]] Image finish(PixelFormat format) && {
    return {size, stride, format, std::move(pixels)};
  }
};

/// Copies pixels from the X server, in stripes through two small pieces of shared memory: while we
/// copy one stripe, the server fills the next. Large shared segments are slower for pictures taken
/// once, for the server must map every page of them. Without shared memory (a remote display) the
/// stripes come over the connection. Lives on the worker's thread.
class X11PixelReader {
 public:
  explicit X11PixelReader(xcb_connection_t* connection);
  X11PixelReader(const X11PixelReader&) = delete;
  X11PixelReader& operator=(const X11PixelReader&) = delete;

  /// Whether the server takes shared memory of ours.
  void allowSharedMemory(bool allowed) { sharedMemory_ = allowed; }
  [[nodiscard]] bool usesSharedMemory() const { return sharedMemory_; }

  /// Reads `area` of a drawable, which lies within it, to `buffer` at (x, y). `depth` and `visual`
  /// say how its pixels are kept; a depth of 32 brings alpha,
  /// other depths leave the fourth byte without meaning. Fails with `notFound` when the drawable
  /// is gone, `unsupported` for screens whose pixels are no direct colours, `unreachable`.
  [[nodiscard]] Result<void> read(xcb_drawable_t drawable, const PixelRect& area, int depth,
                                  xcb_visualid_t visual, const PixelBuffer& buffer, int x, int y);

  /// Whether the server keeps such pixels as pictures do, four bytes each and rows without padding.
  [[nodiscard]] bool areKeptAsOurs(int depth, xcb_visualid_t visual) const;

  /// Spent so far on turning the server's pixels into ours.
  [[nodiscard]] double convertingMilliseconds() const { return converting_.milliseconds(); }

 private:
  /// How the server keeps the pixels of a drawable.
  struct Layout {
    int bitsPerPixel = 0;
    int scanlinePad = 32;  ///< bits
    std::uint32_t red = 0;
    std::uint32_t green = 0;
    std::uint32_t blue = 0;
    std::uint32_t alpha = 0;

    [[nodiscard]] bool isOurs() const;
    [[nodiscard]] std::size_t rowBytes(int width) const;
  };

  /// One request: rows of `source`, to be put into the buffer from (x, y) on.
  struct Stripe {
    PixelRect source;
    int x = 0;
    int y = 0;
  };

  [[nodiscard]] Result<Layout> layout(int depth, xcb_visualid_t visual) const;
  [[nodiscard]] Failure failure() const;
  [[nodiscard]] Result<void> readStripes(xcb_drawable_t drawable, const std::deque<Stripe>& stripes,
                                         const Layout& layout, const PixelBuffer& buffer);
  [[nodiscard]] Result<void> readShared(xcb_drawable_t drawable, const std::deque<Stripe>& stripes,
                                        const Layout& layout, const PixelBuffer& buffer);
  [[nodiscard]] Result<void> readPlain(xcb_drawable_t drawable, const std::deque<Stripe>& stripes,
                                       const Layout& layout, const PixelBuffer& buffer);
  static void convert(const std::uint8_t* source, const Layout& layout, const Stripe& stripe,
                      const PixelBuffer& buffer);

  xcb_connection_t* connection_;
  bool sharedMemory_ = false;
  X11SharedRing ring_;
  SpentTime converting_;
};

}  // namespace vantorel
