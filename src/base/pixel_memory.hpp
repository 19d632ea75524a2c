#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace vantorel {

/// `bytes` of zero for a picture that will be written whole. What is large lies in huge pages where
/// the system has them: a screen's worth of pixels is then touched in a fraction of the time, and
/// goes back to the system when the last owner lets go. Throws `std::bad_alloc`. Any thread.
[[nodiscard]] std::shared_ptr<std::uint8_t> makePixelMemory(std::size_t bytes);

/// A copy of `bytes` at `pixels` that takes memory only for the pages that are written in it. None
/// where the system can't give one: `pixels` has to be the start of memory that `makePixelMemory`
/// has made and that is as large as a tall picture's. The original is not written any more, but may
/// go before the copy. Any thread.
[[nodiscard]] std::shared_ptr<std::uint8_t> shareUntilWritten(const std::uint8_t* pixels,
                                                              std::size_t bytes);

}  // namespace vantorel
