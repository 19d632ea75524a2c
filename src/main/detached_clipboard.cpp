#include "main/detached_clipboard.hpp"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "base/round_trip.hpp"
#include "main/clipboard_holder.hpp"
#include "main/detached_process.hpp"
#include "platform/linux/file_descriptor.hpp"

namespace vantorel {
namespace {

constexpr int answerBoundMilliseconds = 4000;

Result<void> hand(const std::string& png) {
  const Failure refused{FailureKind::denied, clipboard_refusal::image};
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
    return std::unexpected(refused);
  }
  const FileDescriptor own(ends[0]);
  {
    const FileDescriptor childs(ends[1]);
    VT_TRY(startDetached({std::string(clipboardHolderArgument)}, childs.number()));
  }
  for (std::size_t sent = 0; sent < png.size();) {
    const ssize_t count = ::send(own.number(), png.data() + sent, png.size() - sent, MSG_NOSIGNAL);
    if (count <= 0) return std::unexpected(refused);
    sent += static_cast<std::size_t>(count);
  }
  ::shutdown(own.number(), SHUT_WR);
  pollfd answer{own.number(), POLLIN, 0};
  char byte = 0;
  if (::poll(&answer, 1, answerBoundMilliseconds) != 1 || ::read(own.number(), &byte, 1) != 1) {
    return std::unexpected(refused);
  }
  return {};
}

}  // namespace

void DetachedClipboard::setImage(std::string png,
                                 std::move_only_function<void(Result<void>)> done) {
  roundTrip(
      *queue_, main_, [png = std::move(png)] { return hand(png); },
      lifetime_.guard(std::move(done)));
}

void DetachedClipboard::setText(std::string, std::move_only_function<void(Result<void>)> done) {
  done(failed(FailureKind::unsupported, clipboard_refusal::text));
}

void DetachedClipboard::setShapes(std::string, std::move_only_function<void(Result<void>)> done) {
  done(failed(FailureKind::unsupported, clipboard_refusal::shapes));
}

}  // namespace vantorel
