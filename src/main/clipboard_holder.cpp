#include "main/clipboard_holder.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

#include "platform/linux/loop_runner.hpp"
#include "platform/linux/x11_clipboard.hpp"

namespace vantorel {
namespace {

constexpr std::string_view textHeader = "text ";
constexpr std::string_view imageHeader = "image ";

}  // namespace

std::string encoded(const HeldContent& content) {
  return fmt::format("{}{}\n{}", content.isText ? textHeader : imageHeader, content.bytes.size(),
                     content.bytes);
}

std::optional<HeldContent> decoded(std::string message) {
  const bool isText = message.starts_with(textHeader);
  if (!isText && !message.starts_with(imageHeader)) return std::nullopt;
  const std::size_t headerSize = message.find('\n');
  if (headerSize == std::string::npos) return std::nullopt;
  HeldContent content{.isText = isText, .bytes = message.substr(headerSize + 1)};
  if (encoded(content) != message) return std::nullopt;
  return content;
}

void holdClipboard() {
  // Whoever sends it may be killed meanwhile.
  auto content = decoded(std::string(std::istreambuf_iterator<char>(std::cin), {}));
  if (!content) std::_Exit(1);
  const char* const display = std::getenv("DISPLAY");
  if (display == nullptr) std::_Exit(1);
  LoopRunner loop;
  X11Clipboard clipboard(display, loop.runner());
  int status = 0;
  const auto end = [&](int with) {
    status = with;
    loop.quit();
  };
  clipboard.whenLost([&] { end(0); });
  const auto held = [&](const Result<void>& set) {
    if (!set) return end(1);
    const bool reported = ::write(STDOUT_FILENO, "!", 1) == 1;
    // Whoever waits for the end of the pipe shall not wait for this process.
    const int nothing = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    ::dup2(nothing, STDIN_FILENO);
    ::dup2(nothing, STDOUT_FILENO);
    if (!reported) end(1);
  };
  if (content->isText) {
    clipboard.setText(std::move(content->bytes), held);
  } else {
    clipboard.setImage(std::move(content->bytes), held);
  }
  loop.run();
  std::_Exit(status);
}

}  // namespace vantorel
