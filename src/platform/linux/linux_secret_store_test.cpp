#include "platform/linux/linux_secret_store.hpp"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <fstream>

#include "agent/mcp_token_store.hpp"
#include "platform/linux/program_module.hpp"
#include "platform/linux/secret_file.hpp"
#include "platform/testing/desktop/test_desktop.hpp"
#include "platform/testing/desktop/test_loop.hpp"
#include "platform/testing/quiet_log.hpp"

namespace vantorel {
namespace {

using Place = MCPTokenStore::Place;
using ::testing::HasSubstr;

const std::string keyring = "gnome-keyring-daemon";

struct SecretServiceTest : testing::Test {
  TestDesktop desktop{{.screen = std::nullopt, .bus = true}};
  QuietLog quiet;
  TestLoop loop;

  SecretServiceTest() { desktop.enter(); }

  [[nodiscard]] bool isOnBus() const {
    return desktop
        .run({"dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus", "/",
              "org.freedesktop.DBus.NameHasOwner", "string:org.freedesktop.secrets"})
        .contains("true");
  }
  [[nodiscard]] MCPTokenStore tokens() const {
    return {std::make_shared<LinuxSecretStore>(mcpTokenSecret(), modulesFolder()),
            std::make_shared<SecretFile>(desktop.dataHome() / "vantorel" / "mcp-token"),
            randomToken};
  }
};

TEST_F(SecretServiceTest, TheTokenIsKeptInAKeyringAndInAFileWhileThereIsNone) {
  const Path path = desktop.dataHome() / "vantorel" / "mcp-token";
  const std::string token = randomToken().value();
  ASSERT_TRUE(SecretFile(path).write(token).has_value());

  LinuxSecretStore store(mcpTokenSecret(), modulesFolder());
  std::optional<ChildProcess> daemon(desktop.start(
      {"bash", "-c",
       "exec " + keyring + " --unlock --foreground --components=secrets < <(printf password)"}));
  std::string why;
  ASSERT_TRUE(loop.runUntil([&] {
    // Asked before the daemon has its name on the bus, this would have the bus start another.
    if (!isOnBus()) return false;
    const auto written = store.write("probe");
    why = written ? "" : written.error().reason;
    return written.has_value();
  })) << why
      << daemon->errorText();
  EXPECT_EQ(store.read().value(), "probe");
  ASSERT_TRUE(store.remove().has_value());
  EXPECT_EQ(store.read().value(), std::nullopt);

  auto with = tokens();
  EXPECT_EQ(with.token(), token);  // it moved
  EXPECT_EQ(with.place(), Place::secretService);
  EXPECT_EQ(store.read().value(), token);
  EXPECT_FALSE(std::filesystem::exists(path));
  const std::string second = with.regenerate().value();
  EXPECT_EQ(store.read().value(), second);
  EXPECT_EQ(tokens().token(), second);

  // A daemon that stands still is not waited for.
  daemon->signal(SIGSTOP);
  const auto before = std::chrono::steady_clock::now();
  EXPECT_EQ(store.read().error().kind, FailureKind::timedOut);
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(4));
  daemon.reset();

  // The bus starts another, whose keyring nobody has unlocked: it is left alone.
  ASSERT_TRUE(loop.runUntil([&] { return !isOnBus(); }));
  EXPECT_FALSE(store.write("x").has_value());
  auto locked = tokens();
  EXPECT_NE(locked.token(), second);
  EXPECT_EQ(locked.place(), Place::file);
}

TEST(SecretStoreTest, WithoutItsModuleThereIsNoService) {
  LinuxSecretStore store(mcpTokenSecret(), "/nonexistent");
  EXPECT_EQ(store.read().error().kind, FailureKind::unreachable);
}

TEST(SecretFileTest, IsItsOwnersAlone) {
  const TestDesktop desktop{{.screen = std::nullopt}};
  const Path path = desktop.folder() / "new" / "folder" / "token";
  SecretFile file(path);
  EXPECT_EQ(file.read().value(), std::nullopt);
  ASSERT_TRUE(file.write("first").has_value());
  ASSERT_TRUE(file.write("second").has_value());
  EXPECT_EQ(file.read().value(), "second");
  struct stat status{};
  ASSERT_EQ(::stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  ASSERT_EQ(::stat(path.parent_path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0700U);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(path.parent_path()), {}), 1);

  ASSERT_EQ(::chmod(path.c_str(), 0644), 0);
  EXPECT_THAT(file.read().error().reason, HasSubstr("open to others"));
  ASSERT_TRUE(file.write("third").has_value());
  EXPECT_EQ(file.read().value(), "third");

  const Path other = path.parent_path() / "other";
  std::filesystem::create_hard_link(path, other);
  EXPECT_EQ(file.read().error().kind, FailureKind::denied);
  EXPECT_EQ(file.write("x").error().kind, FailureKind::denied);
  ASSERT_TRUE(file.remove().has_value());
  std::filesystem::create_symlink(other, path);
  EXPECT_EQ(file.read().error().kind, FailureKind::denied);
  EXPECT_EQ(file.write("x").error().kind, FailureKind::denied);
  ASSERT_TRUE(file.remove().has_value());
  if (::geteuid() == 0) {  // as anybody else it can't be given away
    ASSERT_TRUE(file.write("x").has_value());
    ASSERT_EQ(::chown(path.c_str(), 1, 1), 0);
    EXPECT_EQ(file.read().error().kind, FailureKind::denied);
    EXPECT_EQ(file.write("x").error().kind, FailureKind::denied);
  }
}

}  // namespace
}  // namespace vantorel
