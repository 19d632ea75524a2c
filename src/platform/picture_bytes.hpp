#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "base/result.hpp"
#include "platform/files.hpp"

namespace vantorel {

/// The bytes of a picture file, of which those asked for are fetched: a header needs only few.
class PictureBytes {
 public:
  virtual ~PictureBytes() = default;

  [[nodiscard]] virtual std::uint64_t size() const = 0;

  /// `length` bytes from `offset` on, or as many of them as the file has.
  [[nodiscard]] virtual Result<std::string> read(std::uint64_t offset,
                                                 std::uint64_t length) const = 0;
};

/// Bytes that outlive this.
class PictureInMemory final : public PictureBytes {
 public:
  explicit PictureInMemory(std::string_view bytes) : bytes_(bytes) {}

  [[nodiscard]] std::uint64_t size() const override { return bytes_.size(); }
  [[nodiscard]] Result<std::string> read(std::uint64_t offset,
                                         std::uint64_t length) const override {
    return std::string(bytes_.substr(std::min<std::uint64_t>(offset, bytes_.size()), length));
  }

 private:
  std::string_view bytes_;
};

/// An open file, read where it is needed.
class PictureOnDisk final : public PictureBytes {
 public:
  PictureOnDisk(std::shared_ptr<const FileContent> content, std::uint64_t size)
      : content_(std::move(content)), size_(size) {}

  [[nodiscard]] std::uint64_t size() const override { return size_; }
  [[nodiscard]] Result<std::string> read(std::uint64_t offset,
                                         std::uint64_t length) const override {
    const std::uint64_t start = std::min(offset, size_);
    return content_->read(start, std::min(length, size_ - start));
  }

 private:
  std::shared_ptr<const FileContent> content_;
  std::uint64_t size_;
};

}  // namespace vantorel
