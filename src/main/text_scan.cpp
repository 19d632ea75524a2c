#include "main/text_scan.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <string>

#include "base/path_text.hpp"
#include "cli/redact_command.hpp"
#include "platform/linux/linux_phone_number_finder.hpp"
#include "platform/linux/posix_call.hpp"
#include "text/phone_detector.hpp"
#include "text/sensitive_text_detector.hpp"

namespace vantorel {
namespace {

Result<std::string> allOf(int file) {
  std::string text;
  std::array<char, 1 << 16> part{};
  while (true) {
    const auto size = uninterrupted([&] { return ::read(file, part.data(), part.size()); });
    if (size == -1) return lastSystemFailure();
    if (size == 0) return text;
    text.append(part.data(), static_cast<std::size_t>(size));
  }
}

Result<std::string> textOf(const Path& path) {
  if (path.empty()) return allOf(STDIN_FILENO);
  const FileDescriptor file = VT_TRY(openFile(path, O_RDONLY));
  return allOf(file.number());
}

}  // namespace

CommandReply scanText(const Path& file, bool json) {
  const auto text = textOf(file);
  if (!text) {
    return failedReply(fmt::format("{} can't be read: {}",
                                   file.empty() ? "Standard input" : file.string(),
                                   text.error().reason));
  }
  const SensitiveTextDetector detector(std::make_shared<LinuxPhoneNumberFinder>(),
                                       phoneRegions(sessionLocale()));
  return textScanReply(*text, detector, json);
}

}  // namespace vantorel
