#include "cli/command_reply.hpp"

#include <fmt/format.h>

namespace vantorel {

std::string closedSentence(std::string text) {
  if (text.empty()) return text;
  // A word, not the name of a setting or a file.
  const std::size_t end = text.find_first_not_of("abcdefghijklmnopqrstuvwxyz'");
  if (end > 0 && end != std::string::npos && text[end] == ' ') {
    text[0] = static_cast<char>(text[0] - 'a' + 'A');
  }
  if (text.back() != '.') text += '.';
  return text;
}

CommandReply failedReply(std::string reason) {
  return {ExitStatus::failed, {}, closedSentence(std::move(reason)) + "\n"};
}

std::string unreachableTraySentence(long process) {
  return fmt::format(
      "Vantorel is running in the tray as process {}, and no session bus leads to it.", process);
}

CommandReply nothingChanged() {
  return {ExitStatus::cancelled, {}, "Stopped; nothing was changed.\n"};
}

std::string inOneCell(std::string text) {
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = ' ';
  }
  return text;
}

}  // namespace vantorel
