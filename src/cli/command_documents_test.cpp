// What is written from the table of commands: the manual page and the completions of shells.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "base/json_writer.hpp"
#include "cli/command_line.hpp"
#include "platform/testing/fake_defaults_store.hpp"
#include "settings/settings_store.hpp"
#include "settings/settings_table.hpp"

namespace vantorel {
namespace {

using testing::HasSubstr;
using testing::Not;

std::string printed(std::vector<std::string> arguments) {
  const auto parsed = parseCommandLine(std::move(arguments), "/");
  const auto* const answer = std::get_if<CommandLineAnswer>(&parsed);
  if (answer == nullptr) return {};
  EXPECT_EQ(answer->status, ExitStatus::done);
  return answer->text;
}

TEST(CommandDocumentsTest, TheManualNamesEveryCommandAndSetting) {
  const std::string page = printed({"manual"});
  for (const char* const line :
       {"\n.SS \\fBvantorel library relocate\\fR \\fIfolder\\fR\n",
        "\n.SS \\fBvantorel convert\\fR \\fB\\-\\-format\\fR "
        "\\fBpng\\fR|\\fBjpeg\\fR|\\fBheic\\fR|\\fBwebp\\fR \\fIid\\fR\n",
        "\n.SS \\fBvantorel library collect\\fR [\\fIoptions\\fR] \\fIcollection\\fR "
        "\\fIids\\fR...\n"}) {
    EXPECT_THAT(page, HasSubstr(line));
  }
  for (const Setting& setting : settingsTable()) {
    const std::string head = "\\fB" + std::string(setting.key) + "\\fR\n";
    EXPECT_EQ(page.find(head) != std::string::npos, setting.isOffered()) << setting.key;
  }
}

TEST(CommandDocumentsTest, TheReadmeHasATableOfEverySetting) {
  std::ifstream file(VT_README);
  const std::string readme{std::istreambuf_iterator<char>(file), {}};
  ASSERT_FALSE(readme.empty());
  FakeDefaultsStore stored;
  const SettingsStore settings(stored, {});
  std::string table = "| key | default | allowed | what it does |\n|---|---|---|---|\n";
  for (const SettingDescription& setting : describeSettings(settings)) {
    std::string usual = setting.defaultWords;
    if (usual.empty()) {
      const auto* const text = std::get_if<std::string>(&setting.defaultValue.value);
      usual = text != nullptr ? *text : json::toText(setting.defaultValue);
    }
    usual = usual == "none" || usual == "null" ? "none" : "`" + usual + "`";
    if (setting.key == "storageDirectory") usual = "`Vantorel` in your Pictures folder";
    std::string allowed = setting.allowed;
    if (setting.type == "hot key") allowed = "a key";
    if (allowed == "true or false") allowed = "a switch";
    table += fmt::format("| `{}` | {} | {} | {} |\n", setting.key, usual, allowed, setting.meaning);
  }
  EXPECT_NE(readme.find(table + "\n"), std::string::npos) << "it should be\n" << table;
}

/// What a shell prints that reads `before`, its completions and `after`.
std::string printedBy(const std::string& shell, const std::string& before,
                      const std::string& after) {
  const auto script = std::filesystem::temp_directory_path() /
                      ("vantorel completion " + std::to_string(::getpid()));
  std::ofstream(script) << before << printed({"completion", shell}) << after;
  std::string out;
  // NOLINTNEXTLINE(cert-env33-c): the shell itself is what is tried.
  FILE* const pipe = ::popen((shell + " '" + script.string() + "'").c_str(), "r");
  std::array<char, 4096> part{};
  while (const std::size_t size = std::fread(part.data(), 1, part.size(), pipe)) {
    out.append(part.data(), size);
  }
  EXPECT_EQ(::pclose(pipe), 0) << shell;
  std::filesystem::remove(script);
  return out;
}

/// The program as the shell's function: two captures, whose names say with what it was called.
std::string captureSource(const std::string& shell) {
  const std::string body = R"(printf 'AB-2\tnew: %s\nAC-1\told one\n' ")";
  return shell == "fish" ? "function vantorel; " + body + "$argv\"; end\n"
                         : "vantorel() { " + body + "$*\"; }\n";
}

/// What bash offers for the last of these words.
std::string offered(const std::string& words) {
  return printedBy("bash", captureSource("bash"),
                   "compopt() { :; }\nCOMP_WORDS=(" + words +
                       ")\nCOMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n_vantorel\n"
                       "printf '%s\\n' \"${COMPREPLY[@]}\"\n");
}

/// The same for words that are all whole, in whichever shell.
std::string offeredAfter(const std::string& shell, const std::string& words) {
  if (shell == "bash") return offered(words + " ''");
  if (shell == "fish") {
    return printedBy(shell, captureSource(shell), "complete -C '" + words + " '\ntrue\n");
  }
  return printedBy(shell,
                   captureSource(shell) +
                       "compdef() { :; }\n_files() { :; }\n"
                       "_describe() { [[ $1 == -V ]] && list=$5 && print -l -- ${(P)list}; }\n"
                       "compadd() { print -l -- ${@:2}; }\n"
                       "words=(" +
                       words + " '')\nCURRENT=${#words}\n",
                   "");
}

TEST(CommandDocumentsTest, BashCompletesCommandsOptionsAndValues) {
  EXPECT_EQ(offered("vantorel ca"), "capture\n");
  EXPECT_EQ(offered("vantorel library st"), "star\n");
  EXPECT_EQ(offered("vantorel convert latest --format j"), "jpeg\n");
  EXPECT_EQ(offered("vantorel capture display --js"), "--json\n");
  EXPECT_EQ(offered("vantorel settings set captureH"), "captureHotKey\n");
  EXPECT_EQ(offered("vantorel --root /us"), "/usr\n");
  EXPECT_EQ(offered("vantorel library show latest lat"), "latest\n");
  EXPECT_EQ(offered("vantorel library title latest --js"), "--json\n");
  EXPECT_EQ(offered("vantorel library title ''"), "latest\nAB-2\nAC-1\n")
      << "no options among them";
  EXPECT_EQ(offered("vantorel --json convert A"), "AB-2\nAC-1\n");
  EXPECT_EQ(offered("vantorel library collect Box AC-1 AB"), "AB-2\n");

  const auto folder =
      std::filesystem::temp_directory_path() / ("vantorel paths " + std::to_string(::getpid()));
  std::filesystem::create_directory(folder);
  std::ofstream(folder / "two words.png").put(' ');
  EXPECT_EQ(offered("vantorel render '" + (folder / "two").string() + "'"),
            (folder / "two words.png").string() + "\n");
  std::filesystem::remove_all(folder);
}

TEST(CommandDocumentsTest, ShellsCompleteTheArgumentThatComesNext) {
  for (const std::string shell : {"bash", "fish", "zsh"}) {
    for (const std::string options : {"", " --json", " --root /tmp"}) {
      EXPECT_THAT(offeredAfter(shell, "vantorel" + options + " settings set exportFormat"),
                  testing::AllOf(HasSubstr("webp"), Not(HasSubstr("exportFormat"))))
          << shell << options;
    }
    EXPECT_THAT(offeredAfter(shell, "vantorel settings set"), HasSubstr("exportFormat")) << shell;
    EXPECT_THAT(offeredAfter(shell, "vantorel settings get exportFormat"),
                Not(HasSubstr("exportFormat")))
        << shell;
    EXPECT_THAT(offeredAfter(shell, "vantorel library show AC-1"),
                testing::ContainsRegex("latest[^A]*\nAB-2[^A]*AC-1"))
        << shell;
    EXPECT_THAT(offeredAfter(shell, "vantorel library collect"), Not(HasSubstr("AB-2"))) << shell;
    if (shell == "bash") continue;
    EXPECT_THAT(offeredAfter(shell, "vantorel --root ~/r library trash"),
                testing::ContainsRegex("AB-2[:\t]new: --root [^~]*/r --offered-captures"))
        << shell;
  }
}

}  // namespace
}  // namespace vantorel
