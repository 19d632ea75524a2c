#include "platform/linux/stripe_deflater.hpp"

#include <isa-l.h>
#include <zlib.h>

#include <new>

#include "base/check.hpp"

namespace vantorel {

StripeDeflater::StripeDeflater(PNGEffort effort) : effort_(effort) {
  if (effort == PNGEffort::fast) levelBuffer_.resize(ISAL_DEF_LVL1_DEFAULT);
}

std::span<const std::uint8_t> StripeDeflater::deflate(std::span<const std::uint8_t> bytes,
                                                      StripeContent content, bool last) {
  // Incompressible bytes grow by the stored blocks' headers.
  const std::size_t bound = bytes.size() + bytes.size() / 16 + 4096;
  if (compressed_.size() < bound) compressed_.resize(bound);
  switch (effort_) {
    case PNGEffort::fast: deflateFast(bytes, last); break;
    case PNGEffort::small: deflateSmall(bytes, content, last); break;
  }
  return {compressed_.data(), size_};
}

void StripeDeflater::deflateFast(std::span<const std::uint8_t> bytes, bool last) {
  isal_zstream stream;
  isal_deflate_init(&stream);
  stream.level = 1;
  stream.level_buf = levelBuffer_.data();
  stream.level_buf_size = static_cast<std::uint32_t>(levelBuffer_.size());
  stream.flush = FULL_FLUSH;
  stream.gzip_flag = IGZIP_DEFLATE;
  stream.end_of_stream = last ? 1 : 0;
  // The library only reads what it calls next_in.
  stream.next_in = const_cast<std::uint8_t*>(bytes.data());
  stream.avail_in = static_cast<std::uint32_t>(bytes.size());
  stream.next_out = compressed_.data();
  stream.avail_out = static_cast<std::uint32_t>(compressed_.size());
  const int answer = isal_deflate(&stream);
  VT_CHECK(answer == COMP_OK && stream.avail_in == 0 && stream.avail_out > 0);
  size_ = stream.total_out;
}

void StripeDeflater::deflateSmall(std::span<const std::uint8_t> bytes, StripeContent content,
                                  bool last) {
  const int level = content == StripeContent::repetitive ? Z_BEST_COMPRESSION : 7;
  z_stream stream{};
  if (deflateInit2(&stream, level, Z_DEFLATED, -MAX_WBITS, MAX_MEM_LEVEL, Z_DEFAULT_STRATEGY) !=
      Z_OK) {
    throw std::bad_alloc();
  }
  stream.next_in = const_cast<std::uint8_t*>(bytes.data());
  stream.avail_in = static_cast<uInt>(bytes.size());
  stream.next_out = compressed_.data();
  stream.avail_out = static_cast<uInt>(compressed_.size());
  const int answer = ::deflate(&stream, last ? Z_FINISH : Z_FULL_FLUSH);
  VT_CHECK(answer == (last ? Z_STREAM_END : Z_OK) && stream.avail_in == 0 && stream.avail_out > 0);
  size_ = stream.total_out;
  deflateEnd(&stream);
}

}  // namespace vantorel
