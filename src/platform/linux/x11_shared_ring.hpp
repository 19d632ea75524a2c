#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/linux/x11_shared_memory.hpp"

namespace vantorel {

/// Small pieces of memory that the X server sees as well, used in turn: while the server works on
/// one, we do on the next, and after the first round none of them is fresh memory. A picture of a
/// whole 4K display in one piece costs 8000 page faults on either side. One thread.
class X11SharedRing {
 public:
  using Server = X11SharedMemory::Server;

  static constexpr std::size_t slotBytes = std::size_t{1} << 20U;

  X11SharedRing(xcb_connection_t* connection, std::size_t slots, Server server)
      : c_(connection), slots_(slots), server_(server) {}
  X11SharedRing(const X11SharedRing&) = delete;
  X11SharedRing& operator=(const X11SharedRing&) = delete;

  /// Makes it at the first call; false when there can be none.
  [[nodiscard]] bool make() {
    if (!shared_) shared_ = X11SharedMemory::make(c_, slotBytes * slots_, server_);
    return shared_->memory != nullptr;
  }

  // Once it is made.
  [[nodiscard]] std::uint8_t* slot(std::size_t index) const {
    return shared_->memory.get() + index * slotBytes;
  }
  [[nodiscard]] xcb_shm_seg_t segment() const { return shared_->segment; }
  [[nodiscard]] static std::uint32_t offset(std::size_t index) {
    return static_cast<std::uint32_t>(index * slotBytes);
  }

 private:
  xcb_connection_t* c_;
  std::size_t slots_;
  Server server_;
  std::optional<X11SharedMemory> shared_;
};

}  // namespace vantorel
