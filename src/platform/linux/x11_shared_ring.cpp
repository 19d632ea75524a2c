#include "platform/linux/x11_shared_ring.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include "platform/linux/x11_call.hpp"

namespace vantorel {

X11SharedRing::~X11SharedRing() {
  if (memory_ != nullptr) munmap(memory_, slotBytes * slots_);
}

bool X11SharedRing::make() {
  if (isMade_) return *isMade_;
  isMade_ = false;
  const int file = memfd_create("vantorel-pixels", MFD_CLOEXEC);
  if (file < 0) return false;
  void* memory = MAP_FAILED;
  if (ftruncate(file, static_cast<off_t>(slotBytes * slots_)) == 0) {
    memory = mmap(nullptr, slotBytes * slots_, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  }
  if (memory == MAP_FAILED) {
    close(file);
    return false;
  }
  memory_ = static_cast<std::uint8_t*>(memory);
  segment_ = xcb_generate_id(c_);
  const std::uint8_t isReadOnly = server_ == Server::reads ? 1 : 0;
  const auto attached = xcb_shm_attach_fd_checked(c_, segment_, file, isReadOnly);  // closes it
  const XOwned<xcb_generic_error_t> refused(xcb_request_check(c_, attached));
  isMade_ = refused == nullptr;
  return *isMade_;
}

}  // namespace vantorel
