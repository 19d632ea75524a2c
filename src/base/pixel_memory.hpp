#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace vantorel {

/// `bytes` of zero for a picture that will be written whole. What is large lies in huge pages where
/// the system has them: a screen's worth of pixels is then touched in a fraction of the time, and
/// goes back to the system when the last owner lets go. Throws `std::bad_alloc`. Any thread.
[[nodiscard]] std::shared_ptr<std::uint8_t> makePixelMemory(std::size_t bytes);

}  // namespace vantorel
