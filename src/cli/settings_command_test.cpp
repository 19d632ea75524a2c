#include "cli/settings_command.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/command_line.hpp"
#include "platform/testing/fake_defaults_store.hpp"

namespace vantorel {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

class SettingsCommandTest : public testing::Test {
 protected:
  CommandReply run(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "settings");
    const auto parsed = parseCommandLine(arguments, "/");
    const auto* const line = std::get_if<CommandLine>(&parsed);
    if (line == nullptr) return {ExitStatus::usage, {}, {}};
    std::optional<CommandReply> answer;
    runSettingsCommand(std::get<command::Settings>(line->command), line->json, settings,
                       [&](CommandReply reply) { answer = std::move(reply); });
    EXPECT_TRUE(answer.has_value());
    return *std::move(answer);
  }

  FakeDefaultsStore stored;
  SettingsStore settings{stored, {}};
};

TEST_F(SettingsCommandTest, AValueIsSetShownAndResetAndARefusalNamesWhatIsAllowed) {
  EXPECT_EQ(run({"set", "exportFormat", "jpeg"}).output, "jpeg\n");
  EXPECT_EQ(settings.values().exportFormat, ExportFormat::jpeg);
  EXPECT_EQ(run({"get", "exportFormat", "--json"}).output, "\"jpeg\"\n");
  EXPECT_EQ(run({"set", "captureHotKey", "none"}).output, "none\n");
  EXPECT_EQ(run({"set", "captureHotKey", "shift+ctrl+print"}).output, "Ctrl+Shift+Print\n");
  EXPECT_THAT(run({"list"}).output,
              testing::StartsWith("captureHotKey\tCtrl+Shift+Print\tdefault Print\t"));
  EXPECT_EQ(run({"set", "activeCollectionID", "a1"}).output, "a1\n");
  EXPECT_EQ(run({"set", "activeCollectionID", "none"}).output, "none\n");
  EXPECT_EQ(settings.values().activeCollectionID, std::nullopt);
  EXPECT_EQ(run({"set", "filenameTemplate", "--", "-shot"}).output, "-shot\n");
  EXPECT_THAT(run({"list"}).output, HasSubstr("\nexportFormat\tjpeg\tdefault png\tone of png, "));

  const std::vector<std::pair<std::vector<std::string>, std::string>> refusals = {
      {{"set", "exportFormat", "bmp"}, "exportFormat must be one of png, jpeg, heic, webp.\n"},
      {{"set", "jpegQuality", "7"}, "jpegQuality must be a number from 0.05 to 1.\n"},
      {{"set", "playSounds", "loud"}, "playSounds must be true or false.\n"},
      {{"set", "windowHotKey", "Prnt"},
       "windowHotKey must be \"none\" or a key such as \"Ctrl+Shift+Print\", with the modifiers "
       "Ctrl, Alt, Shift and Super; a key that writes needs Ctrl, Alt or Super.\n"},
      {{"set", "mcpPort", "2000"}, "The setting mcpPort does nothing in this version.\n"},
      {{"get", "colour"},
       "There is no setting called \"colour\"; \"vantorel settings list\" names them all.\n"},
  };
  for (const auto& [arguments, words] : refusals) {
    const CommandReply reply = run(arguments);
    EXPECT_EQ(reply.status, ExitStatus::failed);
    EXPECT_EQ(reply.error, words);
    EXPECT_THAT(reply.output, IsEmpty());
  }
  EXPECT_EQ(run({"reset", "exportFormat"}).output, "png\n");
  EXPECT_EQ(run({"reset", "--all"}).status, ExitStatus::done);
  EXPECT_EQ(settings.values(), SettingsValues());
  EXPECT_THAT(stored.stored, IsEmpty());

  stored.flushed = failed(FailureKind::noSpace, "the disk is full");
  EXPECT_EQ(run({"set", "playSounds", "off"}).error,
            "The settings could not be saved: the disk is full. Until they are, the change holds "
            "only while Vantorel runs.\n");
  EXPECT_FALSE(settings.values().playSounds);
}

}  // namespace
}  // namespace vantorel
