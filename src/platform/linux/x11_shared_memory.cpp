#include "platform/linux/x11_shared_memory.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include "platform/linux/x11_call.hpp"

namespace vantorel {

X11SharedMemory X11SharedMemory::make(xcb_connection_t* connection, std::size_t bytes,
                                      Server server) {
  const int file = memfd_create("vantorel-pixels", MFD_CLOEXEC);
  if (file < 0) return {};
  void* raw = MAP_FAILED;
  if (ftruncate(file, static_cast<off_t>(bytes)) == 0) {
    raw = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  }
  if (raw == MAP_FAILED) {
    close(file);
    return {};
  }
  X11SharedMemory made;
  made.memory = {static_cast<std::uint8_t*>(raw),
                 [bytes](std::uint8_t* memory) { munmap(memory, bytes); }};
  made.segment = xcb_generate_id(connection);
  const std::uint8_t isReadOnly = server == Server::reads ? 1 : 0;
  const auto attached =
      xcb_shm_attach_fd_checked(connection, made.segment, file, isReadOnly);  // closes it
  const XOwned<xcb_generic_error_t> refused(xcb_request_check(connection, attached));
  return refused == nullptr ? made : X11SharedMemory();
}

}  // namespace vantorel
