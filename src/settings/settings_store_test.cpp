#include "settings/settings_store.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/json_record.hpp"
#include "platform/testing/fake_defaults_store.hpp"

namespace vantorel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

SettingsValues defaults() {
  SettingsValues values;
  values.storageDirectory = "/home/u/Pictures/Vantorel";
  return values;
}

JSONValue parsed(const char* text) { return *json::parseValue(text); }

TEST(SettingsStoreTest, EachSettingKeepsItsReadingRule) {
  FakeDefaultsStore stored;
  const SettingsValues absent = SettingsStore(stored, defaults()).values();
  EXPECT_EQ(absent, defaults());

  // What is stored is nonsense of every kind; each key falls back by its own rule.
  for (const Setting& setting : settingsTable()) {
    stored.stored[std::string(setting.key)] = parsed(R"({"no":"sense"})");
  }
  SettingsValues values = SettingsStore(stored, defaults()).values();
  values.cameraBubbleStyle.extra.clear();  // an object all of whose keys are optional
  EXPECT_EQ(values.editorToolStyles.size(), 0U);
  EXPECT_EQ(values, defaults());

  stored.stored = {
      {"playSounds", parsed("0")},
      {"smartRedactFaces", parsed("1")},
      {"openAnnotateAfterCapture", parsed(R"("yes")")},
      {"captureDelaySeconds", parsed("5")},
      {"timedCaptureLastDelaySeconds", parsed("4")},
      {"retentionDays", parsed("365")},
      {"thumbnailIdleSeconds", parsed("100000")},
      {"mcpPort", parsed("80")},
      {"jpegQuality", parsed("7")},
      {"exportFormat", parsed(R"("gif")")},
      {"desktopCoverColor", parsed(R"("red")")},
      {"storageDirectory", parsed(R"("relative")")},
      {"captureHotKey", parsed("null")},
      {"windowHotKey", parsed(R"({"keyCode":-1,"carbonModifiers":0})")},
      {"fullscreenHotKey", parsed(R"({"keyCode":107,"carbonModifiers":0})")},
      {"historyHotKey", parsed(R"({"keyCode":104,"carbonModifiers":256})")},
      {"editorToolStyles", parsed(R"({"pen":{"color":"#000000","widthIdx":1},"text":"bad"})")}};
  values = SettingsStore(stored, defaults()).values();
  EXPECT_TRUE(values.playSounds) << "a number is no Boolean: on";
  EXPECT_TRUE(values.smartRedactFaces);
  EXPECT_FALSE(values.openAnnotateAfterCapture);
  EXPECT_EQ(values.captureDelaySeconds, CaptureDelay::five);
  EXPECT_EQ(values.timedCaptureLastDelaySeconds, CaptureDelay::five);
  EXPECT_EQ(values.retentionDays, RetentionPolicy::year);
  EXPECT_EQ(values.thumbnailIdleSeconds, 120);
  EXPECT_EQ(values.mcpPort, 1024);
  EXPECT_EQ(values.jpegQuality, 1);
  EXPECT_EQ(values.exportFormat, ExportFormat::png);
  EXPECT_EQ(values.desktopCoverColor, defaults().desktopCoverColor);
  EXPECT_EQ(values.storageDirectory, defaults().storageDirectory);
  EXPECT_EQ(values.captureHotKey, std::nullopt) << "taken away by the user";
  EXPECT_EQ(values.windowHotKey, defaults().windowHotKey);
  EXPECT_EQ(values.fullscreenHotKey, defaults().fullscreenHotKey) << "a letter alone writes";
  EXPECT_EQ(values.historyHotKey, (HotKeySpec{104, HotKeySpec::command}));
  EXPECT_EQ(values.editorToolStyles.size(), 1U);
}

TEST(SettingsStoreTest, EveryValueThatIsShownCanBeSetAndComesBack) {
  FakeDefaultsStore stored;
  SettingsStore settings(stored, defaults());
  for (const SettingDescription& setting : describeSettings(settings)) {
    EXPECT_TRUE(settings.setFromValue(setting.key, setting.value).has_value()) << setting.key;
    const auto* const text = std::get_if<std::string>(&setting.value.value);
    const bool isNone = setting.value == JSONValue{nullptr};
    const std::string shown = isNone ? "none" : text ? *text : json::toText(setting.value);
    EXPECT_TRUE(settings.setFromText(setting.key, shown).has_value()) << setting.key;
  }
  EXPECT_EQ(settings.values(), defaults());
  EXPECT_TRUE(stored.stored.empty()) << "setting what is there already stores nothing";

  // But for what stands there and means nothing.
  stored.stored["retentionDays"] = JSONValue{31};
  SettingsStore mistaken(stored, defaults());
  ASSERT_TRUE(mistaken.setFromValue("retentionDays", *mistaken.get("retentionDays")).has_value());
  EXPECT_EQ(stored.stored["retentionDays"], *mistaken.get("retentionDays"));
}

TEST(SettingsStoreTest, ScriptsAreToldWhatIsAllowed) {
  FakeDefaultsStore stored;
  SettingsStore settings(stored, defaults());
  const auto refusal = [&](const char* key, const char* text) {
    const auto result = settings.setFromText(key, text);
    return result ? std::string("accepted") : result.error().reason;
  };
  EXPECT_EQ(refusal("exportFormat", "bmp"), "exportFormat must be one of png, jpeg, heic, webp");
  EXPECT_EQ(refusal("mcpPort", "80"), "mcpPort must be a whole number from 1024 to 65535");
  EXPECT_EQ(refusal("retentionDays", "8"), "retentionDays must be one of 0, 7, 30, 90, 365");
  EXPECT_EQ(refusal("timedCaptureLastDelaySeconds", "0"),
            "timedCaptureLastDelaySeconds must be one of 3, 5, 10");
  EXPECT_EQ(refusal("jpegQuality", "1.5"), "jpegQuality must be a number from 0.05 to 1");
  EXPECT_EQ(refusal("playSounds", "perhaps"), "playSounds must be true or false");
  EXPECT_THAT(refusal("desktopCoverColor", "#FF0000"), HasSubstr("must be a color"));
  EXPECT_THAT(refusal("filenameTemplate", "a/b"), HasSubstr("must be a name"));
  EXPECT_THAT(refusal("captureHotKey", "Prnt"), HasSubstr("Ctrl+Shift+Print"));
  EXPECT_EQ(refusal("volume", "1"), "there is no setting called \"volume\"");
  EXPECT_TRUE(stored.stored.empty());

  EXPECT_EQ(refusal("playSounds", "off"), "accepted");
  EXPECT_EQ(refusal("retentionDays", "30"), "accepted");
  for (const char* const writes : {"a", "Shift+1", "Return", "Space", "Left", "0xe4", "0xffb1"}) {
    EXPECT_THAT(refusal("captureHotKey", writes), HasSubstr("a key that writes")) << writes;
  }
  for (const char* const free : {"F9", "Shift+Print", "Pause", "Super+a", "0x1008ff11", "none"}) {
    EXPECT_EQ(refusal("captureHotKey", free), "accepted") << free;
  }
  EXPECT_EQ(refusal("filenameTemplate", "true"), "accepted");
  EXPECT_EQ(json::toText(*settings.get("filenameTemplate")), R"("true")");
  EXPECT_EQ(json::toText(stored.stored["captureHotKey"]), "null");
  EXPECT_EQ(SettingsStore(stored, defaults()).values(), settings.values());
  ASSERT_TRUE(settings.reset("captureHotKey").has_value());
  EXPECT_EQ(settings.values().captureHotKey, defaults().captureHotKey);
}

TEST(SettingsStoreTest, OfACompositeValueNothingIsDroppedOrBroughtIntoRangeInSilence) {
  FakeDefaultsStore stored;
  SettingsStore settings(stored, defaults());
  const std::vector<std::pair<const char*, std::vector<const char*>>> refused = {
      {"cameraBubbleStyle", {R"({"size":99})", R"({"size":"big"})", R"({"border":1})", "[]"}},
      {"cameraBubblePlacement", {R"({"x":7,"y":0})", R"({"x":0.5})"}},
      {"studioFavouriteGradients", {"[1,2]", R"(["dusk",3])", "dusk"}},
      {"editorInspectorFolds", {R"(["a",null])"}},
      {"editorToolStyles",
       {R"({"pen":5})", R"({"pen":{"color":"#000000","widthIdx":1.5}})",
        R"({"polygon":{"color":"#000000","widthIdx":1,"sides":2}})",
        R"({"pen":{"color":"#000000","widthIdx":1,"opacity":"half"}})"}},
      {"editorBackground", {R"({"fill":{"none":{}},"shadowStrength":2})", R"({"shadow":true})"}},
      {"gifExportOptions",
       {R"({"size":{"full":{}},"framesPerSecond":90,"speed":1,"dithering":true,"loopsForever":true})",
        R"({"size":{"width":{"_0":0}},"framesPerSecond":9,"speed":1,"dithering":true,"loopsForever":true})"}},
      {"captureHotKey", {R"({"keyCode":97.5,"carbonModifiers":0})"}},
      {"rememberedRegion", {R"({"displayUUID":"d"})"}},
  };
  for (const auto& [key, values] : refused) {
    for (const char* const value : values) {
      EXPECT_FALSE(settings.setFromText(key, value).has_value()) << key << " " << value;
    }
  }
  EXPECT_EQ(settings.values(), defaults());
  EXPECT_EQ(settings.setFromText("cameraBubbleStyle", R"({"size":99})").error().reason,
            R"(cameraBubbleStyle must be an object with "size" from 0.05 to 0.5, "mirrored" and )"
            R"("border")");

  // What is left out is as it always was, numbers may be written either way, and null says nothing.
  ASSERT_TRUE(settings.setFromText("cameraBubbleStyle", R"({"size":0.3,"border":null})"));
  EXPECT_EQ(settings.values().cameraBubbleStyle, (CameraBubbleStyle{.size = 0.3}));
  ASSERT_TRUE(settings.setFromText("cameraBubblePlacement", R"({"y":1.0,"x":0})"));
  ASSERT_TRUE(settings.setFromText("editorInspectorFolds", R"(["b","a","b"])"));
  EXPECT_THAT(settings.values().editorInspectorFolds, ElementsAre("a", "b"));
}

TEST(SettingsStoreTest, ListenersHearOfChangesFromHereAndFromElsewhereOnce) {
  FakeDefaultsStore stored;
  SettingsStore settings(stored, defaults());
  std::vector<std::string> heard;
  int hotKey = 0;
  int server = 0;
  settings.onHotKeyChange = [&] { ++hotKey; };
  settings.onMCPSettingsChange = [&] { ++server; };
  const Observation observation =
      settings.observe([&](std::string_view key) { heard.emplace_back(key); });

  settings.set(&SettingsValues::captureHotKey, HotKeySpec{97, HotKeySpec::control});
  settings.set(&SettingsValues::captureHotKey, HotKeySpec{97, HotKeySpec::control});
  settings.set(&SettingsValues::thumbnailIdleSeconds, 9999);
  EXPECT_EQ(settings.values().thumbnailIdleSeconds, 120);
  stored.changeOutside("mcpPort", parsed("5000"));
  stored.changeOutside("mcpPort", parsed("5000"));
  stored.changeOutside("unknown", parsed("1"));
  EXPECT_EQ(settings.values().mcpPort, 5000);
  EXPECT_THAT(heard, ElementsAre("captureHotKey", "thumbnailIdleSeconds", "mcpPort"));
  EXPECT_EQ(hotKey, 1);
  EXPECT_EQ(server, 1);
}

TEST(SettingsStoreTest, ResetLeavesTextIndexingAndTheProgramsMemoryAlone) {
  FakeDefaultsStore stored;
  SettingsStore settings(stored, defaults());
  bool loginItem = true;
  settings.switchOffStartAtLogin = [&] { loginItem = false; };
  settings.set(&SettingsValues::indexScreenshotText, false);
  settings.set(&SettingsValues::smartRedactAfterCapture, true);
  settings.set(&SettingsValues::hasCompletedOnboarding, true);
  settings.set(&SettingsValues::retentionDays, RetentionPolicy::week);
  settings.set(&SettingsValues::captureHotKey, std::nullopt);
  stored.stored["unknown"] = parsed("1");
  settings.resetAll();
  SettingsValues wanted = defaults();
  wanted.indexScreenshotText = false;
  wanted.hasCompletedOnboarding = true;
  EXPECT_EQ(settings.values(), wanted);
  EXPECT_FALSE(loginItem);
  EXPECT_EQ(stored.stored.size(), 3U) << "a key of a newer build stays";
}

}  // namespace
}  // namespace vantorel
