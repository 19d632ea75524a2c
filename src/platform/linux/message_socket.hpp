#pragma once

#include <chrono>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/linux/file_descriptor.hpp"

namespace vantorel {

/// One end of a connection between two processes, over which whole messages go. One thread at a
/// time. No function waits longer for a sign of the other end than its `silence`.
class MessageSocket {
 public:
  enum class Fault { silence, closed };
  using Bound = std::optional<std::chrono::nanoseconds>;  ///< nothing: without end

  explicit MessageSocket(FileDescriptor socket) : socket_(std::move(socket)) {}

  /// Both ends of a new connection; nothing when the system has none left.
  [[nodiscard]] static std::optional<std::pair<MessageSocket, MessageSocket>> makePair();

  [[nodiscard]] int number() const { return socket_.number(); }

  [[nodiscard]] std::expected<void, Fault> send(std::string_view message, Bound silence = {});
  [[nodiscard]] std::expected<std::string, Fault> receive(Bound silence = {});

  /// An open file, which both ends then have.
  [[nodiscard]] std::expected<void, Fault> sendDescriptor(int number);
  [[nodiscard]] std::expected<FileDescriptor, Fault> receiveDescriptor();

 private:
  [[nodiscard]] std::expected<void, Fault> wait(short event, Bound silence) const;
  [[nodiscard]] std::expected<void, Fault> sendBytes(const char* bytes, std::size_t size,
                                                     Bound silence);
  [[nodiscard]] std::expected<void, Fault> receiveBytes(char* bytes, std::size_t size,
                                                        Bound silence);

  FileDescriptor socket_;
};

}  // namespace vantorel
