#include "platform/linux/x11_pixel_reader.hpp"

#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <new>

#include "base/check.hpp"
#include "platform/linux/x11_call.hpp"
#include "platform/linux/x11_worker.hpp"

namespace vantorel {
namespace {

constexpr std::size_t slots = 2;
constexpr std::size_t largePage = std::size_t{2} << 20U;

std::shared_ptr<std::uint8_t> pixelMemory(std::size_t bytes) {
  if (bytes < largePage) {
    return {new std::uint8_t[bytes], std::default_delete<std::uint8_t[]>()};
  }
  const std::size_t length = (bytes + largePage - 1) / largePage * largePage;
  void* raw = mmap(nullptr, length + largePage, PROT_READ | PROT_WRITE,
                   MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (raw == MAP_FAILED) throw std::bad_alloc();
  auto* start = static_cast<std::uint8_t*>(raw);
  auto* aligned = start + (largePage - reinterpret_cast<std::uintptr_t>(start) % largePage);
  madvise(aligned, length, MADV_HUGEPAGE);
  return {aligned, [raw, length](std::uint8_t*) { munmap(raw, length + largePage); }};
}

/// The part of `pixel` under `mask`, as 0 to 255.
std::uint32_t channel(std::uint32_t pixel, std::uint32_t mask) {
  if (mask == 0) return 0;
  const int shift = std::countr_zero(mask);
  const std::uint64_t top = mask >> shift;
  const std::uint64_t value = (pixel & mask) >> shift;
  return static_cast<std::uint32_t>((value * 255 + top / 2) / top);
}

}  // namespace

PixelBuffer::PixelBuffer(PixelSize wanted)
    : size(wanted),
      stride(static_cast<std::size_t>(wanted.width) * 4),
      pixels(pixelMemory(stride * static_cast<std::size_t>(wanted.height))) {}

bool X11PixelReader::Layout::isOurs() const {
  return bitsPerPixel == 32 && red == 0xFF0000U && green == 0xFF00U && blue == 0xFFU;
}

std::size_t X11PixelReader::Layout::rowBytes(int width) const {
  const int bits = (width * bitsPerPixel + scanlinePad - 1) / scanlinePad * scanlinePad;
  return static_cast<std::size_t>(bits) / 8;
}

X11PixelReader::X11PixelReader(xcb_connection_t* connection)
    : connection_(connection), ring_(connection, slots, X11SharedRing::Server::writes) {}

Result<X11PixelReader::Layout> X11PixelReader::layout(int depth, xcb_visualid_t visual) const {
  const xcb_setup_t* setup = xcb_get_setup(connection_);
  Layout layout;
  for (auto format = xcb_setup_pixmap_formats_iterator(setup); format.rem != 0;
       xcb_format_next(&format)) {
    if (format.data->depth != depth) continue;
    layout.bitsPerPixel = format.data->bits_per_pixel;
    layout.scanlinePad = format.data->scanline_pad;
  }
  auto depths = xcb_screen_allowed_depths_iterator(xcb_setup_roots_iterator(setup).data);
  for (; depths.rem != 0; xcb_depth_next(&depths)) {
    if (depths.data->depth != depth) continue;
    for (auto visuals = xcb_depth_visuals_iterator(depths.data); visuals.rem != 0;
         xcb_visualtype_next(&visuals)) {
      const xcb_visualtype_t& type = *visuals.data;
      if (type.visual_id != visual || type._class != XCB_VISUAL_CLASS_TRUE_COLOR) continue;
      layout.red = type.red_mask;
      layout.green = type.green_mask;
      layout.blue = type.blue_mask;
      if (depth == 32) layout.alpha = ~(layout.red | layout.green | layout.blue);
    }
  }
  if (setup->image_byte_order != XCB_IMAGE_ORDER_LSB_FIRST || layout.red == 0 ||
      (layout.bitsPerPixel != 32 && layout.bitsPerPixel != 16)) {
    return failed(FailureKind::unsupported,
                  "Vantorel cannot read a screen whose pixels are not direct colors of 16 or 32 "
                  "bits.");
  }
  return layout;
}

Result<void> X11PixelReader::read(xcb_drawable_t drawable, const PixelRect& area, int depth,
                                  xcb_visualid_t visual, const PixelBuffer& buffer, int x, int y) {
  VT_CHECK(!area.isEmpty() && x >= 0 && y >= 0 && x + area.width <= buffer.size.width &&
           y + area.height <= buffer.size.height);
  const Layout layout = VT_TRY(this->layout(depth, visual));
  const std::size_t rowBytes = layout.rowBytes(area.width);
  VT_CHECK(rowBytes <= X11SharedRing::slotBytes);
  const int rowsAtOnce = static_cast<int>(X11SharedRing::slotBytes / rowBytes);
  std::deque<Stripe> stripes;
  for (int top = 0; top < area.height; top += rowsAtOnce) {
    const int rows = std::min(rowsAtOnce, area.height - top);
    stripes.push_back({{area.x, area.y + top, area.width, rows}, x, y + top});
  }
  return readStripes(drawable, stripes, layout, buffer);
}

bool X11PixelReader::areKeptAsOurs(int depth, xcb_visualid_t visual) const {
  const auto found = layout(depth, visual);
  return found && found->isOurs() && found->scanlinePad == 32;
}

Result<void> X11PixelReader::readStripes(xcb_drawable_t drawable, const std::deque<Stripe>& stripes,
                                         const Layout& layout, const PixelBuffer& buffer) {
  if (!sharedMemory_ || !ring_.make()) return readPlain(drawable, stripes, layout, buffer);
  auto done = readShared(drawable, stripes, layout, buffer);
  if (done || xcb_connection_has_error(connection_) != 0) return done;
  // A server in another container cannot map our memory; the slow way is still there.
  done = readPlain(drawable, stripes, layout, buffer);
  if (done) sharedMemory_ = false;
  return done;
}

void X11PixelReader::convert(const std::uint8_t* source, const Layout& layout, const Stripe& stripe,
                             const PixelBuffer& buffer) {
  const std::size_t rowBytes = layout.rowBytes(stripe.source.width);
  const auto width = static_cast<std::size_t>(stripe.source.width);
  const auto bytesEach = static_cast<std::size_t>(layout.bitsPerPixel) / 8;
  for (int i = 0; i < stripe.source.height; ++i, source += rowBytes) {
    std::uint8_t* target = buffer.row(stripe.y + i) + static_cast<std::size_t>(stripe.x) * 4;
    if (layout.isOurs()) {
      std::memcpy(target, source, width * 4);
      continue;
    }
    for (std::size_t column = 0; column < width; ++column) {
      std::uint32_t pixel = 0;
      std::memcpy(&pixel, source + column * bytesEach, bytesEach);
      const std::uint32_t ours = channel(pixel, layout.alpha) << 24U |
                                 channel(pixel, layout.red) << 16U |
                                 channel(pixel, layout.green) << 8U | channel(pixel, layout.blue);
      std::memcpy(target + column * 4, &ours, 4);
    }
  }
}

Result<void> X11PixelReader::readShared(xcb_drawable_t drawable, const std::deque<Stripe>& stripes,
                                        const Layout& layout, const PixelBuffer& buffer) {
  std::array<xcb_shm_get_image_cookie_t, slots> cookies{};
  const auto ask = [&](std::size_t index) {
    const PixelRect& area = stripes[index].source;
    cookies[index % slots] = xcb_shm_get_image(
        connection_, drawable, static_cast<std::int16_t>(area.x), static_cast<std::int16_t>(area.y),
        static_cast<std::uint16_t>(area.width), static_cast<std::uint16_t>(area.height), ~0U,
        XCB_IMAGE_FORMAT_Z_PIXMAP, ring_.segment(), X11SharedRing::offset(index % slots));
    xcb_flush(connection_);
  };
  std::size_t asked = 0;
  while (asked < std::min(slots, stripes.size())) ask(asked++);
  for (std::size_t i = 0; i < stripes.size(); ++i) {
    if (!xReply<xcb_shm_get_image_reply>(connection_, cookies[i % slots])) {
      for (std::size_t j = i + 1; j < asked; ++j) {
        xcb_discard_reply(connection_, cookies[j % slots].sequence);
      }
      return std::unexpected(failure());
    }
    converting_.measure([&] { convert(ring_.slot(i % slots), layout, stripes[i], buffer); });
    if (asked < stripes.size()) ask(asked++);
  }
  return {};
}

Failure X11PixelReader::failure() const {
  if (xcb_connection_has_error(connection_) != 0) return serverGone();
  return {FailureKind::notFound, "the window is no longer there"};
}

Result<void> X11PixelReader::readPlain(xcb_drawable_t drawable, const std::deque<Stripe>& stripes,
                                       const Layout& layout, const PixelBuffer& buffer) {
  for (const Stripe& stripe : stripes) {
    const PixelRect& area = stripe.source;
    const auto reply = xReply<xcb_get_image_reply>(
        connection_,
        xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, drawable,
                      static_cast<std::int16_t>(area.x), static_cast<std::int16_t>(area.y),
                      static_cast<std::uint16_t>(area.width),
                      static_cast<std::uint16_t>(area.height), ~0U));
    const std::size_t wanted = layout.rowBytes(area.width) * static_cast<std::size_t>(area.height);
    if (!reply || static_cast<std::size_t>(xcb_get_image_data_length(reply.get())) < wanted) {
      return std::unexpected(failure());
    }
    converting_.measure([&] { convert(xcb_get_image_data(reply.get()), layout, stripe, buffer); });
  }
  return {};
}

}  // namespace vantorel
