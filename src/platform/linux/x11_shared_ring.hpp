#pragma once

#include <xcb/shm.h>
#include <xcb/xcb.h>

#include <cstddef>
#include <cstdint>
#include <optional>

namespace vantorel {

/// Small pieces of memory that the X server sees as well, used in turn: while the server works on
/// one, we do on the next, and after the first round none of them is fresh memory. A picture of a
/// whole 4K display in one piece costs 8000 page faults on either side. One thread.
class X11SharedRing {
 public:
  enum class Server { reads, writes };

  static constexpr std::size_t slotBytes = std::size_t{1} << 20U;

  X11SharedRing(xcb_connection_t* connection, std::size_t slots, Server server)
      : c_(connection), slots_(slots), server_(server) {}
  X11SharedRing(const X11SharedRing&) = delete;
  X11SharedRing& operator=(const X11SharedRing&) = delete;
  ~X11SharedRing();

  /// Makes it at the first call. False when there can be none: a server in another container, or
  /// on another machine, cannot map our memory. The server takes descriptors (MIT-SHM 1.2).
  [[nodiscard]] bool make();

  // Once it is made.
  [[nodiscard]] std::uint8_t* slot(std::size_t index) const { return memory_ + index * slotBytes; }
  [[nodiscard]] xcb_shm_seg_t segment() const { return segment_; }
  [[nodiscard]] static std::uint32_t offset(std::size_t index) {
    return static_cast<std::uint32_t>(index * slotBytes);
  }

 private:
  xcb_connection_t* c_;
  std::size_t slots_;
  Server server_;
  std::optional<bool> isMade_;
  xcb_shm_seg_t segment_ = 0;
  std::uint8_t* memory_ = nullptr;
};

}  // namespace vantorel
