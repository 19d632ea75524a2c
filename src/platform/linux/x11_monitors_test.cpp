#include "platform/linux/x11_monitors.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/x11_redirection.hpp"
#include "platform/linux/x11_text.hpp"

namespace vantorel {
namespace {

TEST(X11MonitorsTest, ScaleFollowsTheDesktopNotTheMillimetres) {
  EXPECT_EQ(scaleFromResources(""), 1);
  EXPECT_EQ(scaleFromResources("Xft.dpi:\t192\n"), 2);
  EXPECT_EQ(scaleFromResources("*customization: -color\nXft.dpi:   120"), 1.25);
  EXPECT_EQ(scaleFromResources("Xft.dpi: 101.6\n"), 1) << "a monitor's own guess";
  EXPECT_EQ(scaleFromResources("Xft.dpi: 48\n"), 1);
  EXPECT_EQ(scaleFromResources("Xft.dpi: nonsense\nXft.dpi: 192\n"), 1);
  EXPECT_EQ(scaleFromResources("Xft.dpi: 1e9\n"), 8);
  EXPECT_EQ(scaleFromResources("Xft.dpi:"), 1);
}

TEST(X11MonitorsTest, MonitorsNameThemselvesWhateverTheirBytes) {
  std::string edid(128, '\0');
  const std::string name("\0\0\0\xFC\0DELL \x01 U2720Q\n ", 18);
  edid.replace(72, name.size(), name);
  EXPECT_EQ(monitorIdentity(edid).name, "DELL ? U2720Q");
  EXPECT_EQ(monitorIdentity(edid.substr(0, 80)).name, "") << "cut off in the middle";
  EXPECT_EQ(monitorIdentity("").name, "");
  const std::string uuid = uuidOf(edid);
  EXPECT_THAT(uuid, testing::MatchesRegex(
                        "[0-9A-F]{8}-[0-9A-F]{4}-8[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}"));
  // Written down: a remembered region is found by it after a restart.
  EXPECT_EQ(uuidOf("screen 1920x1080"), "F8DE79F6-4750-8278-BD19-94F404BF2345");
  edid[12] = 1;
  EXPECT_NE(uuidOf(edid), uuid) << "another serial number";
}

TEST(X11TextTest, OldTitlesBecomeUtf8) {
  EXPECT_EQ(textOfProperty("caf\xE9", XTextEncoding::latin1), "café");
  EXPECT_EQ(textOfProperty("ok \xFF", XTextEncoding::utf8), "ok \uFFFD");
  EXPECT_EQ(textOfProperty("caf\xE9 \x1B%G\xE5\x9B\xB3\x1B%@ end", XTextEncoding::compound),
            "café 図 end");
  EXPECT_EQ(textOfProperty("a\x1B$)B\x3F\x5E\x1B(Bz", XTextEncoding::compound), "a\uFFFDz");
  EXPECT_EQ(textOfProperty("cut\x1B%", XTextEncoding::compound), "cut");
}

TEST(X11RegionTest, WhatIsPaintedIsNoLongerMissing) {
  std::vector<PixelRect> missing{{0, 0, 10, 10}};
  subtract(missing, {3, 4, 2, 2});
  int area = 0;
  for (const auto& rect : missing) area += rect.width * rect.height;
  EXPECT_EQ(area, 96);
  subtract(missing, {-5, -5, 20, 9});
  subtract(missing, {0, 4, 10, 6});
  EXPECT_TRUE(missing.empty());
}

}  // namespace
}  // namespace vantorel
