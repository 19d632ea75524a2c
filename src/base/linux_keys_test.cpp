#include "base/linux_keys.hpp"

#include <gtest/gtest.h>

namespace vantorel {
namespace {

TEST(LinuxKeysTest, FixedTextsNameTheKeysOfThisKeyboard) {
  EXPECT_EQ(withLinuxKeys("Drag to move the group · ⇧-click to add or remove · ⌫ to delete"),
            "Drag to move the group · Shift-click to add or remove · Del to delete");
  EXPECT_EQ(withLinuxKeys("⌘C copies · R redacts"), "Ctrl+C copies · R redacts");
  EXPECT_EQ(withLinuxKeys("⇧⌘S, ⌥⏎"), "Shift+Ctrl+S, Alt+Return");
  EXPECT_EQ(withLinuxKeys("⌘ skips the guides"), "Ctrl skips the guides");
  EXPECT_EQ(withLinuxKeys("Open System Settings"), "Open the desktop's settings");
  EXPECT_EQ(withLinuxKeys("né à 45°"), "né à 45°");
}

}  // namespace
}  // namespace vantorel
