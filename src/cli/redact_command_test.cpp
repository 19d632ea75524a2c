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
       {std::vector<std::string>{"redact"},
        {"redact", "scan"},
        {"redact", "scan", "--text", ""},
        {"redact", "scan", "latest", "--text", "a"},
        {"redact", "apply"},
        {"redact", "apply", "latest", "--kinds", "email,names"},
        {"redact", "apply", "latest", "--style", "black"}}) {
    const auto answer = parseCommandLine(wrong, "/home");
    ASSERT_TRUE(std::holds_alternative<CommandLineAnswer>(answer));
    EXPECT_EQ(std::get<CommandLineAnswer>(answer).status, ExitStatus::usage);
  }
}

TEST(RedactCommandTest, PicturesAndKindsAreNamed) {
  const auto what = [](const std::vector<std::string>& words) {
    return std::get<command::Redact>(
               std::get<CommandLine>(parseCommandLine(words, "/home")).command)
        .what;
  };
  EXPECT_EQ(std::get<command::Redact::Scan>(what({"redact", "scan", "a.png"})).picture.file,
            "/home/a.png");
  EXPECT_EQ(std::get<command::Redact::Scan>(what({"redact", "scan", "latest"})).picture.capture,
            "latest");
  const auto apply = std::get<command::Redact::Apply>(
      what({"redact", "apply", "latest", "--kinds", "email,jwt", "--style", "pixelate"}));
  EXPECT_EQ(apply.wanted.kinds, (std::set{SensitiveMatchKind::email, SensitiveMatchKind::jwt}));
  EXPECT_EQ(apply.wanted.style, RedactStyle::pixelate);
  EXPECT_EQ(std::get<command::Redact::Remove>(what({"redact", "remove", "3f"})).capture, "3f");
}

TEST(RedactCommandTest, WhatWasFoundAndCouldNotBeLookedForIsTold) {
  CaptureRedactor::Scan scan{{100, 50}, {}};
  EXPECT_EQ(scanReply(scan, false).error, "Nothing sensitive found.\n");
  scan.found.proposals = {{SensitiveMatchKind::email, {1, 2, 30, 4}, 0, "a@b.example"}};
  scan.found.unavailable = VisualDetectors::faces;
  EXPECT_EQ(scanReply(scan, false).output, "email\t1,2,30,4\ta@b.example\n");
  EXPECT_NE(scanReply(scan, false).error, "");
  EXPECT_EQ(scanReply(scan, true).output,
            "{\"kind\":\"email\",\"rect\":{\"x\":1,\"y\":2,\"w\":30,\"h\":4},\"find\":0,"
            "\"text\":\"a@b.example\"}\n");
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
