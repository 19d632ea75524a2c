#include "base/pixel_memory.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <new>
#include <vector>

namespace vantorel {
namespace {

constexpr std::size_t hugePage = std::size_t{2} << 20U;

#ifdef VANTOREL_ADDRESS_SANITIZER
constexpr bool checksBounds = true;  // of what the allocator hands out
#else
constexpr bool checksBounds = false;
#endif

/// From here on a second picture's worth of memory matters more than huge pages, which what can be
/// shared seldom gets.
constexpr std::size_t leastShared = std::size_t{64} << 20U;

/// The files behind large pictures.
struct PixelFiles {
  struct One {
    const std::uint8_t* pixels = nullptr;
    std::size_t bytes = 0;
    int file = -1;
  };
  std::mutex mutex;
  std::vector<One> all;
};

PixelFiles& pixelFiles() {
  static auto& files = *new PixelFiles;  // outlives every picture
  return files;
}

void forgetFile(const std::uint8_t* pixels) {
  PixelFiles& files = pixelFiles();
  const std::scoped_lock lock(files.mutex);
  const auto found = std::ranges::find(files.all, pixels, &PixelFiles::One::pixels);
  ::close(found->file);
  files.all.erase(found);
}

/// None where the system has no room or no files in memory.
std::shared_ptr<std::uint8_t> sharable(std::size_t bytes) {
  const int file = ::memfd_create("vantorel-picture", MFD_CLOEXEC);
  if (file < 0) return nullptr;
  void* memory = MAP_FAILED;
  if (::ftruncate(file, static_cast<off_t>(bytes)) == 0) {
    memory = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  }
  if (memory == MAP_FAILED) {
    ::close(file);
    return nullptr;
  }
  (void)::madvise(memory, bytes, MADV_HUGEPAGE);
  auto* const pixels = static_cast<std::uint8_t*>(memory);
  PixelFiles& files = pixelFiles();
  {
    const std::scoped_lock lock(files.mutex);
    files.all.push_back({pixels, bytes, file});
  }
  return {pixels, [bytes](std::uint8_t* gone) {
            forgetFile(gone);
            ::munmap(gone, bytes);
          }};
}

std::shared_ptr<std::uint8_t> allocated(std::size_t bytes) {
  // Unlike a vector's, the pages of a large one are not written first.
  void* const memory = std::calloc(bytes, 1);
  if (memory == nullptr) throw std::bad_alloc();
  return {static_cast<std::uint8_t*>(memory), std::free};
}

}  // namespace

std::shared_ptr<std::uint8_t> makePixelMemory(std::size_t bytes) {
  if (checksBounds || bytes < 2 * hugePage || bytes > SIZE_MAX / 2) return allocated(bytes);
  if (bytes >= leastShared) {
    if (auto memory = sharable(bytes)) return memory;
  }
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

std::shared_ptr<std::uint8_t> shareUntilWritten(const std::uint8_t* pixels, std::size_t bytes) {
  PixelFiles& files = pixelFiles();
  const std::scoped_lock lock(files.mutex);
  const auto found = std::ranges::find(files.all, pixels, &PixelFiles::One::pixels);
  if (found == files.all.end() || bytes > found->bytes) return nullptr;
  void* const copy =
      ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_NORESERVE, found->file, 0);
  if (copy == MAP_FAILED) return nullptr;
  return {static_cast<std::uint8_t*>(copy), [bytes](std::uint8_t* gone) { ::munmap(gone, bytes); }};
}

}  // namespace vantorel
