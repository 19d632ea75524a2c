#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "platform/files.hpp"
#include "platform/linux/file_descriptor.hpp"

namespace vantorel {

/// Why contents could not be read when memory ran out.
[[nodiscard]] std::unexpected<Failure> tooLargeForMemory();

[[nodiscard]] FileStatus statusOf(const struct stat& found);

/// Contents go whole, or in pieces to whoever wants to hear that they go on.
class Pieces {
 public:
  explicit Pieces(const std::function<void()>& progress) : progress_(progress) {}

  [[nodiscard]] std::uint64_t most() const { return progress_ ? 256 << 10 : UINT64_MAX; }

  void gone() const {
    if (progress_) progress_();
  }

  /// What was written is on its way now, so that flushing has no long silence at the end.
  void written(int file) const;

 private:
  const std::function<void()>& progress_;
};

/// A file that is open for reading.
class LinuxFileContent final : public FileContent {
 public:
  explicit LinuxFileContent(FileDescriptor file) : file_(std::move(file)) {}

  [[nodiscard]] int number() const { return file_.number(); }
  [[nodiscard]] Result<FileStatus> status() const override;
  [[nodiscard]] Result<std::string> read(std::uint64_t offset, std::uint64_t length) const override;

 private:
  FileDescriptor file_;
};

[[nodiscard]] Result<void> writeAll(int file, std::string_view bytes, const Pieces& pieces);

/// Copies inside the kernel; through memory on file systems that cannot.
[[nodiscard]] Result<void> copyRun(int to, const LinuxFileContent& from, std::uint64_t offset,
                                   std::uint64_t length, const Pieces& pieces);

/// The sources of the parts are of this class.
[[nodiscard]] Result<void> writeParts(int to, std::span<const ContentPart> parts,
                                      const Pieces& pieces);

/// The user's attributes of an open file on another; a file system that keeps none is no failure.
[[nodiscard]] Result<void> copyAttributes(int from, int to);

}  // namespace vantorel
