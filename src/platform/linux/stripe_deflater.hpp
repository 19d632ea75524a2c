#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/image_codec.hpp"

namespace vantorel {

/// What a piece is like.
enum class StripeContent {
  repetitive,   ///< text and flat areas as they are: a long search finds more
  differences,  ///< filtered photographs: a long search takes many times as long for little
};

/// Compresses independent pieces of one deflate stream. Keeps its memory between calls. One thread.
class StripeDeflater {
 public:
  explicit StripeDeflater(PNGEffort effort);

  /// The compressed bytes, valid until the next call. Every piece but the `last` ends on a byte and
  /// with the window forgotten, so that pieces made apart can be joined.
  [[nodiscard]] std::span<const std::uint8_t> deflate(std::span<const std::uint8_t> bytes,
                                                      StripeContent content, bool last);

 private:
  void deflateFast(std::span<const std::uint8_t> bytes, bool last);
  void deflateSmall(std::span<const std::uint8_t> bytes, StripeContent content, bool last);

  PNGEffort effort_;
  std::vector<std::uint8_t> levelBuffer_;
  std::vector<std::uint8_t> compressed_;
  std::size_t size_ = 0;
};

}  // namespace vantorel
