#include "cli/command_reply.hpp"

namespace vantorel {

CommandReply failedReply(std::string reason) {
  if (!reason.empty() && reason.back() != '.') reason += '.';
  return {ExitStatus::failed, {}, std::move(reason) + "\n"};
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
