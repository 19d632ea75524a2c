#include "platform/linux/x11_frame_pictures.hpp"

#include <sys/mman.h>

#include <algorithm>
#include <mutex>
#include <new>

#include "platform/linux/x11_shared_memory.hpp"

namespace vantorel {
namespace {

constexpr std::size_t pageBytes = 4096;

std::shared_ptr<std::uint8_t> ownMemory(std::size_t bytes) {
  void* raw = mmap(nullptr, bytes, PROT_READ | PROT_WRITE,
                   MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (raw == MAP_FAILED) throw std::bad_alloc();
  return {static_cast<std::uint8_t*>(raw),
          [bytes](std::uint8_t* memory) { munmap(memory, bytes); }};
}

}  // namespace

/// What the pictures hold on to.
struct X11FramePictures::Slots {
  std::shared_ptr<std::uint8_t> memory;
  std::function<void()> freed;
  std::mutex mutex;
  std::array<bool, framePictures> areHeld{};
  bool isMissed = false;

  void free(std::size_t index) {
    bool wasMissed = false;
    {
      const std::lock_guard lock(mutex);
      areHeld[index] = false;
      wasMissed = std::exchange(isMissed, false);
    }
    if (wasMissed) freed();
  }
};

X11FramePictures::X11FramePictures(X11Session& session, PixelSize size, std::function<void()> freed)
    : session_(session),
      size_(size),
      slotBytes_((static_cast<std::size_t>(size.width) * 4 * static_cast<std::size_t>(size.height) +
                  pageBytes - 1) /
                 pageBytes * pageBytes),
      slots_(std::make_shared<Slots>()) {
  const std::size_t bytes = slotBytes_ * framePictures;
  if (session.pixels().usesSharedMemory()) {
    auto shared =
        X11SharedMemory::make(session.connection(), bytes, X11SharedMemory::Server::writes);
    segment_ = shared.segment;
    slots_->memory = std::move(shared.memory);
  }
  if (!slots_->memory) slots_->memory = ownMemory(bytes);
  slots_->freed = std::move(freed);
}

std::optional<X11FramePictures::Picture> X11FramePictures::take() {
  const std::lock_guard lock(slots_->mutex);
  const auto found = std::ranges::find(slots_->areHeld, false);
  slots_->isMissed = found == slots_->areHeld.end();
  if (slots_->isMissed) return std::nullopt;
  *found = true;
  const auto index = static_cast<std::size_t>(found - slots_->areHeld.begin());
  const std::size_t offset = index * slotBytes_;
  std::shared_ptr<std::uint8_t> pixels(
      slots_->memory.get() + offset,
      [slots = slots_, index](std::uint8_t*) { slots->free(index); });
  return Picture{PixelBuffer(size_, std::move(pixels)), static_cast<std::uint32_t>(offset)};
}

bool X11FramePictures::hasFree() const {
  const std::lock_guard lock(slots_->mutex);
  return std::ranges::find(slots_->areHeld, false) != slots_->areHeld.end();
}

Result<void> X11FramePictures::read(xcb_drawable_t drawable, const PixelRect& area, int depth,
                                    xcb_visualid_t visual, const Picture& picture, int x, int y) {
  const bool fillsRows = x == 0 && area.width == size_.width;
  if (segment_ != 0 && fillsRows && session_.pixels().areKeptAsOurs(depth, visual)) {
    xcb_connection_t* c = session_.connection();
    const auto offset = picture.offset + static_cast<std::uint32_t>(picture.buffer.stride) *
                                             static_cast<std::uint32_t>(y);
    const auto cookie = xcb_shm_get_image(
        c, drawable, static_cast<std::int16_t>(area.x), static_cast<std::int16_t>(area.y),
        static_cast<std::uint16_t>(area.width), static_cast<std::uint16_t>(area.height), ~0U,
        XCB_IMAGE_FORMAT_Z_PIXMAP, segment_, offset);
    if (xReply<xcb_shm_get_image_reply>(c, cookie)) return {};
    return std::unexpected(session_.failure(FailureKind::notFound, "the window is gone"));
  }
  return session_.pixels().read(drawable, area, depth, visual, picture.buffer, x, y);
}

}  // namespace vantorel
