#include "platform/linux/desktop_session.hpp"

#include <gtest/gtest.h>

#include <map>

#include "platform/testing/desktop/test_loop.hpp"

namespace vantorel {
namespace {

EnvironmentLookup environment(std::map<std::string, std::string> values) {
  return [values = std::move(values)](const char* name) -> std::optional<std::string> {
    const auto found = values.find(name);
    return found == values.end() ? std::nullopt : std::optional(found->second);
  };
}

TEST(DesktopSessionTest, TheEnvironmentTellsTheBackEnd) {
  const struct {
    std::map<std::string, std::string> values;
    DesktopSession session;
  } cases[] = {
      {{}, DesktopSession::none},
      {{{"DISPLAY", ""}}, DesktopSession::none},
      {{{"DISPLAY", ":0"}}, DesktopSession::x11},
      {{{"DISPLAY", ":0"}, {"WAYLAND_DISPLAY", "wayland-0"}}, DesktopSession::wayland},
      {{{"DISPLAY", ":0"}, {"WAYLAND_DISPLAY", "wayland-0"}, {"XDG_SESSION_TYPE", "x11"}},
       DesktopSession::x11},
      {{{"DISPLAY", ":0"}, {"VANTOREL_PLATFORM", "none"}}, DesktopSession::none},
      {{{"DISPLAY", ":0"}, {"VANTOREL_PLATFORM", "amiga"}}, DesktopSession::x11},
  };
  for (const auto& one : cases) {
    EXPECT_EQ(desktopSession(environment(one.values)), one.session);
  }
}

TEST(DesktopSessionTest, WhatADesktopCannotDoItSays) {
  TestLoop loop;
  std::shared_ptr<TaskRunner> main(&loop, [](TaskRunner*) {});
  const auto refusals = [&](const char* platform) {
    auto services = makeDesktopServices(environment({{"VANTOREL_PLATFORM", platform}}), main,
                                        WindowContents::onDemand);
    EXPECT_FALSE(services.hotKeys->areAvailable());
    bool isRefused = false;
    const auto key = services.hotKeys->registerKey(
        {'a', 0}, nullptr, nullptr, [&](const HotKeys::State& state) { isRefused = !state; });
    EXPECT_TRUE(loop.runUntil([&] { return isRefused; }));
    std::vector<Failure> failures;
    services.screen->displays([&](auto reply) { failures.push_back(reply.error()); });
    services.screen->grab({DisplayTarget{"DP-1"}, true, {}},
                          [&](auto reply) { failures.push_back(reply.error()); });
    services.windows->windows([&](auto reply) { failures.push_back(reply.error()); });
    EXPECT_TRUE(failures.empty()) << "replies never come from within the call";
    EXPECT_TRUE(loop.runUntil([&] { return failures.size() == 3; }));
    return failures;
  };
  for (const Failure& failure : refusals("wayland")) {
    EXPECT_EQ(failure.kind, FailureKind::unsupported);
    EXPECT_TRUE(failure.reason.ends_with("."));
  }
  for (const Failure& failure : refusals("none")) {
    EXPECT_EQ(failure.kind, FailureKind::unreachable);
    EXPECT_EQ(failure.reason, "there is no display to capture");
  }
}

}  // namespace
}  // namespace vantorel
