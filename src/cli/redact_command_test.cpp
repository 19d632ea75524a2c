#include "cli/redact_command.hpp"

#include <gtest/gtest.h>

#include "cli/command_line.hpp"
#include "text/sensitive_text_detector.hpp"

namespace vantorel {
namespace {

TEST(RedactCommandTest, ATextIsNamedFromTheFolderAndScannedWithoutALibrary) {
  const auto parsed = parseCommandLine({"redact", "scan", "--text", "a/../notes.txt"}, "/home");
  const auto* const line = std::get_if<CommandLine>(&parsed);
  ASSERT_NE(line, nullptr);
  ASSERT_NE(line->scannedText(), nullptr);
  EXPECT_EQ(line->scannedText()->file, "/home/notes.txt");
  EXPECT_FALSE(line->needsLibrary());
  EXPECT_FALSE(line->needsWindows());
  const auto piped = parseCommandLine({"redact", "scan", "--text", "-", "--json"}, "/home");
  EXPECT_TRUE(std::get<CommandLine>(piped).scannedText()->file.empty());
  EXPECT_TRUE(std::get<CommandLine>(piped).json);
  for (const std::vector<std::string>& wrong :
       {std::vector<std::string>{"redact"}, {"redact", "scan", "--text", ""}}) {
    const auto answer = parseCommandLine(wrong, "/home");
    ASSERT_TRUE(std::holds_alternative<CommandLineAnswer>(answer));
    EXPECT_EQ(std::get<CommandLineAnswer>(answer).status, ExitStatus::usage);
  }
}

TEST(RedactCommandTest, FindsAreToldWithTheirBytes) {
  const SensitiveTextDetector detector(nullptr, {});
  const std::string_view text = "Grüße an jörg@example.com\nLange Straße 12\n10115 Berlin\n";
  EXPECT_EQ(textScanReply(text, detector, false).output,
            "email\t11\t28\tjörg@example.com\naddress\t29\t58\tLange Straße 12 10115 Berlin\n");
  EXPECT_EQ(textScanReply(text.substr(0, 28), detector, true).output,
            "{\"kind\":\"email\",\"begin\":11,\"end\":28,\"text\":\"jörg@example.com\"}\n");
  EXPECT_EQ(textScanReply("nothing of note", detector, true).output, "");
}

}  // namespace
}  // namespace vantorel
