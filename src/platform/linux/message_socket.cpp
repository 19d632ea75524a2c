#include "platform/linux/message_socket.hpp"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>

namespace vantorel {

std::optional<std::pair<MessageSocket, MessageSocket>> MessageSocket::makePair() {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) return std::nullopt;
  return std::pair(MessageSocket(FileDescriptor(ends[0])), MessageSocket(FileDescriptor(ends[1])));
}

std::expected<void, MessageSocket::Fault> MessageSocket::wait(short event, Bound silence) const {
  using std::chrono::steady_clock;
  const auto end = steady_clock::now() + silence.value_or(std::chrono::nanoseconds(0));
  while (true) {
    pollfd ready{.fd = number(), .events = event, .revents = 0};
    int bound = -1;
    if (silence) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - steady_clock::now());
      bound = static_cast<int>(std::max<std::int64_t>(left.count(), 0));
    }
    const int count = ::poll(&ready, 1, bound);
    if (count == 1) return {};
    if (count == 0) return std::unexpected(Fault::silence);
    if (errno != EINTR) return std::unexpected(Fault::closed);
  }
}

std::expected<void, MessageSocket::Fault> MessageSocket::sendBytes(const char* bytes,
                                                                   std::size_t size,
                                                                   Bound silence) {
  while (size > 0) {
    const ssize_t sent = ::send(number(), bytes, size, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent > 0) {
      bytes += sent;
      size -= static_cast<std::size_t>(sent);
    } else if (errno == EAGAIN) {
      if (auto waited = wait(POLLOUT, silence); !waited) return waited;
    } else if (errno != EINTR) {
      return std::unexpected(Fault::closed);
    }
  }
  return {};
}

std::expected<void, MessageSocket::Fault> MessageSocket::receiveBytes(char* bytes, std::size_t size,
                                                                      Bound silence) {
  while (size > 0) {
    const ssize_t got = ::recv(number(), bytes, size, MSG_DONTWAIT);
    if (got > 0) {
      bytes += got;
      size -= static_cast<std::size_t>(got);
    } else if (got == -1 && errno == EAGAIN) {
      if (auto waited = wait(POLLIN, silence); !waited) return waited;
    } else if (got == 0 || errno != EINTR) {
      return std::unexpected(Fault::closed);
    }
  }
  return {};
}

std::expected<void, MessageSocket::Fault> MessageSocket::send(std::string_view message,
                                                              Bound silence) {
  const std::uint64_t size = message.size();
  std::array<char, sizeof size + 4096> start{};
  std::memcpy(start.data(), &size, sizeof size);
  const std::size_t few = std::min(message.size(), start.size() - sizeof size);
  message.copy(start.data() + sizeof size, few);
  if (auto sent = sendBytes(start.data(), sizeof size + few, silence); !sent) return sent;
  return sendBytes(message.data() + few, message.size() - few, silence);
}

std::expected<std::string, MessageSocket::Fault> MessageSocket::receive(Bound silence) {
  std::uint64_t size = 0;
  if (auto got = receiveBytes(reinterpret_cast<char*>(&size), sizeof size, silence); !got) {
    return std::unexpected(got.error());
  }
  std::string message;
  std::expected<void, MessageSocket::Fault> got;
  message.resize_and_overwrite(size, [&](char* bytes, std::size_t /*room*/) {
    got = receiveBytes(bytes, size, silence);
    return got ? size : 0;
  });
  if (!got) return std::unexpected(got.error());
  return message;
}

std::expected<void, MessageSocket::Fault> MessageSocket::sendDescriptor(int number) {
  char one = 1;
  iovec bytes{.iov_base = &one, .iov_len = 1};
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof number)> control{};
  msghdr message{};
  message.msg_iov = &bytes;
  message.msg_iovlen = 1;
  message.msg_control = control.data();
  message.msg_controllen = control.size();
  cmsghdr* const header = CMSG_FIRSTHDR(&message);
  header->cmsg_level = SOL_SOCKET;
  header->cmsg_type = SCM_RIGHTS;
  header->cmsg_len = CMSG_LEN(sizeof number);
  std::memcpy(CMSG_DATA(header), &number, sizeof number);
  if (::sendmsg(this->number(), &message, MSG_NOSIGNAL | MSG_DONTWAIT) == 1) return {};
  return std::unexpected(Fault::closed);
}

std::expected<FileDescriptor, MessageSocket::Fault> MessageSocket::receiveDescriptor() {
  if (auto waited = wait(POLLIN, {}); !waited) return std::unexpected(waited.error());
  int number = -1;
  char one = 0;
  iovec bytes{.iov_base = &one, .iov_len = 1};
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof number)> control{};
  msghdr message{};
  message.msg_iov = &bytes;
  message.msg_iovlen = 1;
  message.msg_control = control.data();
  message.msg_controllen = control.size();
  const ssize_t got = ::recvmsg(this->number(), &message, MSG_CMSG_CLOEXEC);
  const cmsghdr* const header = got == 1 ? CMSG_FIRSTHDR(&message) : nullptr;
  if (header == nullptr || header->cmsg_type != SCM_RIGHTS) return std::unexpected(Fault::closed);
  std::memcpy(&number, CMSG_DATA(header), sizeof number);
  return FileDescriptor(number);
}

}  // namespace vantorel
