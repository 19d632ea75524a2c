#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "main/program_under_test.hpp"
#include "platform/testing/desktop/test_client.hpp"

namespace vantorel {

/// What this root is told of the folder of captures.
inline void setStorage(const Vantorel& vantorel, const std::filesystem::path& folder) {
  std::filesystem::create_directories(vantorel.root());
  std::ofstream(vantorel.root() / "settings.json")
      << R"({"storageDirectory":")" << folder.string() << "\"}";
}

/// The path that a command has printed first.
inline std::string pathIn(const ChildOutcome& outcome) {
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  return outcome.out.substr(0, outcome.out.find('\n'));
}

/// Once it has the clipboard of a capture, a command has reached it.
inline void waitForTray(TestClient& client, const Vantorel& vantorel, ChildProcess& tray) {
  while (!client.isOwned("CLIPBOARD")) {
    ASSERT_EQ(vantorel.run({"capture", "display"}).status, 0);
    ASSERT_TRUE(tray.isRunning()) << tray.errorText();
  }
}

}  // namespace vantorel
