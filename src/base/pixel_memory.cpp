#include "base/pixel_memory.hpp"

#include <sys/mman.h>

#include <cstdlib>
#include <new>

namespace vantorel {
namespace {

constexpr std::size_t hugePage = std::size_t{2} << 20U;

#ifdef VANTOREL_ADDRESS_SANITIZER
constexpr bool checksBounds = true;  // of what the allocator hands out
#else
constexpr bool checksBounds = false;
#endif

std::shared_ptr<std::uint8_t> allocated(std::size_t bytes) {
  // Unlike a vector's, the pages of a large one are not written first.
  void* const memory = std::calloc(bytes, 1);
  if (memory == nullptr) throw std::bad_alloc();
  return {static_cast<std::uint8_t*>(memory), std::free};
}

}  // namespace

std::shared_ptr<std::uint8_t> makePixelMemory(std::size_t bytes) {
  if (checksBounds || bytes < 2 * hugePage || bytes > SIZE_MAX / 2) return allocated(bytes);
  const std::size_t size = (bytes + 4095) / 4096 * 4096;
  const std::size_t reserved = size + hugePage;
  void* const all =
      ::mmap(nullptr, reserved, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (all == MAP_FAILED) throw std::bad_alloc();
  // Huge pages begin at multiples of their size.
  auto* const start = static_cast<std::uint8_t*>(all);
  const std::size_t off = reinterpret_cast<std::uintptr_t>(start) % hugePage;
  const std::size_t before = off == 0 ? 0 : hugePage - off;
  if (before > 0) ::munmap(start, before);
  if (before < hugePage) ::munmap(start + before + size, hugePage - before);
  std::uint8_t* const pixels = start + before;
  (void)::madvise(pixels, size, MADV_HUGEPAGE);  // without them it is only slower
  return {pixels, [size](std::uint8_t* memory) { ::munmap(memory, size); }};
}

}  // namespace vantorel
