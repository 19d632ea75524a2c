#include "platform/linux/user_folders.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

namespace vantorel {
namespace {

TEST(UserFoldersTest, FollowsTheVariablesAndThePicturesFolder) {
  std::map<std::string, std::string> variables{{"HOME", "/home/ada"},
                                               {"XDG_DATA_HOME", "relative/is/ignored"},
                                               {"XDG_CONFIG_HOME", "/etc/ada"}};
  const auto environment = [&](const char* name) -> std::optional<std::string> {
    const auto found = variables.find(name);
    if (found == variables.end()) return std::nullopt;
    return found->second;
  };
  const UserFolders plain = UserFolders::ofUser(environment, "");
  EXPECT_EQ(plain.data, "/home/ada/.local/share/Vantorel");
  EXPECT_EQ(plain.config, "/etc/ada/Vantorel");
  EXPECT_EQ(plain.captures, "/home/ada/Pictures/Vantorel");
  EXPECT_THAT(plain.sharedConfig, testing::ElementsAre("/etc/xdg"));
  variables["XDG_CONFIG_DIRS"] = "/opt/xdg:relative::/etc/xdg";
  EXPECT_THAT(UserFolders::ofUser(environment, "").sharedConfig,
              testing::ElementsAre("/opt/xdg", "/etc/xdg"));

  const UserFolders german = UserFolders::ofUser(
      environment,
      "# written by xdg-user-dirs\nXDG_MUSIC_DIR=\"/m\"\nXDG_PICTURES_DIR=\"$HOME/Bilder\"\n");
  EXPECT_EQ(german.captures, "/home/ada/Bilder/Vantorel");
  const UserFolders elsewhere = UserFolders::ofUser(environment, "XDG_PICTURES_DIR=\"/data/p\"");
  EXPECT_EQ(elsewhere.captures, "/data/p/Vantorel");
}

}  // namespace
}  // namespace vantorel
