#include "platform/testing/desktop/test_desktop.hpp"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include "platform/testing/desktop/test_client.hpp"

namespace vantorel {
namespace {

TEST(TestDesktopTest, EverythingRunsAndNothingOutlivesIt) {
  pid_t server = 0;
  std::filesystem::path folder;
  {
    TestDesktop desktop(
        {.screen = PixelSize{1200, 600}, .windowManager = true, .compositor = true, .bus = true});
    desktop.setMonitors({{"LEFT", {0, 0, 800, 600}}, {"RIGHT", {800, 100, 400, 500}}});
    EXPECT_NE(desktop.run({"xrandr", "--listmonitors"}).find("RIGHT"), std::string::npos);
    TestClient client(desktop.display());
    const auto window = client.open({.area = {50, 60, 300, 200}, .title = "framed"});
    EXPECT_GT(client.contentArea(window).y, 60) << "the window manager gave no title bar";
    server = desktop.server().pid();
    folder = desktop.folder();
  }
  EXPECT_NE(kill(server, 0), 0);
  EXPECT_FALSE(std::filesystem::exists(folder));
}

TEST(TestDesktopTest, AMissingProgramIsNamed) {
  const TestDesktop desktop({.screen = std::nullopt});
  try {
    desktop.run({"vantorel-no-such-program"});
    FAIL() << "no exception";
  } catch (const std::runtime_error& error) {
    EXPECT_NE(std::string(error.what()).find("\"vantorel-no-such-program\" is not installed"),
              std::string::npos);
  }
}

}  // namespace
}  // namespace vantorel
