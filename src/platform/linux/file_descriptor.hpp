#pragma once

#include <unistd.h>

#include <utility>

namespace vantorel {

/// Owns an open file; closes it when it goes.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int number) : number_(number) {}
  FileDescriptor(FileDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~FileDescriptor() {
    if (number_ >= 0) ::close(number_);
  }

  [[nodiscard]] bool isOpen() const { return number_ >= 0; }
  [[nodiscard]] int number() const { return number_; }

  /// Gives the number away.
  [[nodiscard]] int release() { return std::exchange(number_, -1); }

 private:
  int number_ = -1;
};

}  // namespace vantorel
