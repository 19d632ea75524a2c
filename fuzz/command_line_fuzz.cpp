// A command sent by another process: any words give a command, help or a mistake, never a crash.
#include <cstdint>
#include <string>
#include <vector>

#include "cli/command_line.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::string> words(1);
  for (std::size_t i = 0; i < size; ++i) {
    if (data[i] == '\n') {
      words.emplace_back();
    } else {
      words.back() += static_cast<char>(data[i]);
    }
  }
  (void)vantorel::parseCommandLine(std::move(words), "/home/ann");
  return 0;
}
