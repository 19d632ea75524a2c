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

/// `content` behind a line that says what it is and how long, as `holdClipboard` reads it.
Result<void> hand(const HeldContent& content) {
  const Failure refused{FailureKind::denied,
                        content.isText ? clipboard_refusal::text : clipboard_refusal::image};
  const std::string message = encoded(content);
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
    return std::unexpected(refused);
  }
  const FileDescriptor own(ends[0]);
  {
    const FileDescriptor childs(ends[1]);
    VT_TRY(startDetached({std::string(clipboardHolderArgument)}, childs.number()));
  }
  for (std::size_t sent = 0; sent < message.size();) {
    const ssize_t count =
        ::send(own.number(), message.data() + sent, message.size() - sent, MSG_NOSIGNAL);
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
      *queue_, main_,
      [content = HeldContent{.isText = false, .bytes = std::move(png)}] { return hand(content); },
      lifetime_.guard(std::move(done)));
}

void DetachedClipboard::setText(std::string text,
                                std::move_only_function<void(Result<void>)> done) {
  roundTrip(
      *queue_, main_,
      [content = HeldContent{.isText = true, .bytes = std::move(text)}] { return hand(content); },
      lifetime_.guard(std::move(done)));
}

void DetachedClipboard::setShapes(std::string, std::move_only_function<void(Result<void>)> done) {
  done(failed(FailureKind::unsupported, clipboard_refusal::shapes));
}

}  // namespace vantorel
