#pragma once

#include <xcb/shm.h>
#include <xcb/xcb.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace vantorel {

/// Memory that the X server sees as well, as long as the connection lives; here it stays as long as
/// `memory` is held. Pages come when they are touched first.
struct X11SharedMemory {
  enum class Server { reads, writes };

  std::shared_ptr<std::uint8_t> memory;  ///< null: there is none
  xcb_shm_seg_t segment = 0;

  /// There is none when the server in another container, or on another machine, cannot map our
  /// memory. It takes descriptors (MIT-SHM 1.2). Waits for its answer.
  [[nodiscard]] static X11SharedMemory make(xcb_connection_t* connection, std::size_t bytes,
                                            Server server);
};

}  // namespace vantorel
