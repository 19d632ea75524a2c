#include "settings/settings_table.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "app/records/hot_key_text.hpp"
#include "base/json_record.hpp"
#include "settings/setting_rows.hpp"

namespace vantorel {
namespace {

using Stored = std::optional<JSONValue>;

template <class T>
using Member = T SettingsValues::*;

constexpr const char* folderWords = "the absolute path of a folder";
constexpr const char* textsWords = "a list of texts";

template <class T>
const T* held(const JSONValue& value) {
  return std::get_if<T>(&value.value);
}

std::optional<double> numberOf(const JSONValue& value) {
  if (const auto* integer = held<std::int64_t>(value)) return static_cast<double>(*integer);
  if (const auto* number = held<double>(value)) return *number;
  return std::nullopt;
}

std::optional<std::int64_t> integerOf(const JSONValue& value) {
  const auto number = numberOf(value);
  if (!number || *number != std::trunc(*number) || std::abs(*number) > 9e15) return std::nullopt;
  return static_cast<std::int64_t>(*number);
}

JSONValue anyText(std::string_view text) {
  auto value = json::parseValue(std::string(text));
  return value ? *std::move(value) : JSONValue{std::string(text)};
}

JSONValue plainText(std::string_view text) { return {std::string(text)}; }

bool isNone(const JSONValue& value) { return held<std::nullptr_t>(value) != nullptr; }

/// How a setting is parsed that may be empty: as it is shown then, or in its own way.
template <auto parse>
JSONValue noneOr(std::string_view text) {
  return text == "none" ? JSONValue{nullptr} : parse(text);
}

JSONValue flagText(std::string_view text) {
  for (const auto* const yes : {"true", "on", "yes", "1"}) {
    if (text == yes) return {true};
  }
  for (const auto* const no : {"false", "off", "no", "0"}) {
    if (text == no) return {false};
  }
  return plainText(text);
}

/// A key by its names, or as it is stored.
JSONValue hotKeyText(std::string_view text);

template <class T>
std::optional<T> decoded(const JSONValue& value) {
  if (isNone(value)) return std::nullopt;
  auto record = json::fromText<T>(json::toText(value));
  if (!record) return std::nullopt;
  return *std::move(record);
}

template <class T>
JSONValue encoded(const T& record) {
  auto value = json::parseValue(json::toText(record));
  VT_CHECK(value.has_value());
  return *std::move(value);
}

JSONValue hotKeyText(std::string_view text) {
  const auto key = hotKeyFromText(text);
  return key ? encoded(*key) : anyText(text);
}

/// Whether `back` says all that `given` does; a null says nothing.
bool keeps(const JSONValue& given, const JSONValue& back) {
  if (const auto* const members = held<json::Object>(given)) {
    const auto* const kept = held<json::Object>(back);
    return kept != nullptr && std::ranges::all_of(*members, [&](const JSONMember& member) {
             const JSONValue* const value = json::find(*kept, member.key);
             return isNone(member.value) || (value != nullptr && keeps(member.value, *value));
           });
  }
  if (const auto* const items = held<JSONValue::Array>(given)) {
    const auto* const kept = held<JSONValue::Array>(back);
    return kept != nullptr && std::ranges::equal(*items, *kept, keeps);
  }
  const auto number = numberOf(given);
  return number ? number == numberOf(back) : given == back;
}

/// Whether nothing in `value` is dropped, replaced or brought into a range when it is decoded.
template <class T>
bool isWhole(const JSONValue& value) {
  using json::read;
  const auto document = json::Document::parse(json::toText(value));
  T record{};
  json::Problem problem{.isStrict = true};
  return document && read(document->root(), record, problem) && keeps(value, encoded(record));
}

bool isColour(std::string_view text) {
  return text.size() == 7 && text[0] == '#' && std::ranges::all_of(text.substr(1), [](char c) {
           return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
         });
}

bool isAbsolutePath(std::string_view text) {
  return text.starts_with('/') && text.find('\0') == std::string_view::npos;
}

/// Leaves room for the time and the extension.
constexpr std::size_t mostNameBytes = 120;

/// What keeps a file's name from beginning so; empty when nothing does.
std::string faultOfName(std::string_view text) {
  if (text.empty()) return "The name is empty.";
  if (text.find('/') != std::string_view::npos) return "A name can't have a slash.";
  if (text.starts_with('.')) return "A name can't begin with a point, which would hide the file.";
  if (text == "~") return "“~” alone is no name.";
  if (std::ranges::any_of(text, [](char c) { return c >= 0 && c < ' '; })) {
    return "A name can't have line breaks, tabs or other control characters.";
  }
  if (text.size() <= mostNameBytes) return {};
  const auto isBegin = [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; };
  // Of a letter that lies across the end, all is too much.
  std::size_t end = mostNameBytes;
  while (!isBegin(text[end])) --end;
  const auto over = std::ranges::count_if(text.substr(end), isBegin);
  return fmt::format("The name is too long by {} {}.", over,
                     over == 1 ? "character" : "characters");
}

bool isFileNameBase(std::string_view text) { return faultOfName(text).empty(); }

bool isAnyText(std::string_view text) { return !text.empty(); }

bool isBackground(const BackgroundSpec& background) {
  return background.paddingPercent >= 0 && background.cornerRadius >= 0 &&
         background.shadowStrength >= 0 && background.shadowStrength <= 1;
}

bool isGif(const GifExportOptions& options) {
  const auto* const width = std::get_if<GifExportOptions::Width>(&options.size);
  return width == nullptr || width->pixels > 0;
}

/// Builds the table, one call a setting.
class Table {
 public:
  std::vector<Setting> rows;
  SettingGroup group = SettingGroup::capture;

  template <class T>
  Setting& add(std::string_view key, Member<T> member, std::string type, std::string allowed) {
    static const SettingsValues probe;
    Setting row;
    row.key = key;
    row.group = group;
    row.type = std::move(type);
    row.allowed = std::move(allowed);
    row.place = static_cast<std::size_t>(reinterpret_cast<const char*>(&(probe.*member)) -
                                         reinterpret_cast<const char*>(&probe));
    row.parse = anyText;
    return rows.emplace_back(std::move(row));
  }

  /// How a switch is read that is absent or holds something else than a Boolean.
  enum class Rule { presentOrOn, plain, orDefault };

  Setting& flag(std::string_view key, Member<bool> member, Rule rule) {
    Setting& row = add(key, member, "true or false", "true or false");
    row.choices = {"true", "false"};
    row.load = [member, rule](const Stored& stored, const SettingsValues& defaults,
                              SettingsValues& values) {
      const bool* const flag = stored ? held<bool>(*stored) : nullptr;
      if (flag != nullptr) {
        values.*member = *flag;
      } else if (rule == Rule::plain) {
        values.*member = stored && numberOf(*stored).value_or(0) != 0;
      } else {
        values.*member = rule == Rule::presentOrOn || defaults.*member;
      }
    };
    row.store = [member](const SettingsValues& values) { return JSONValue{values.*member}; };
    row.accepts = [](const JSONValue& value) { return held<bool>(value) != nullptr; };
    row.parse = flagText;
    return row;
  }

  template <NamedEnum Enum>
  void choice(std::string_view key, Member<Enum> member) {
    Setting& row = add(key, member, "choice", "one of " + allNames<Enum>());
    for (const auto& entry : enumNames<Enum>) row.choices.emplace_back(entry.name);
    const auto read = [](const JSONValue& value) -> std::optional<Enum> {
      const auto* const name = held<std::string>(value);
      return name == nullptr ? std::nullopt : enumFromName<Enum>(*name);
    };
    row.load = [member, read](const Stored& stored, const SettingsValues& defaults,
                              SettingsValues& values) {
      values.*member = (stored ? read(*stored) : std::nullopt).value_or(defaults.*member);
    };
    row.store = [member](const SettingsValues& values) {
      return JSONValue{std::string(nameOf(values.*member))};
    };
    row.accepts = [read](const JSONValue& value) { return read(value).has_value(); };
    row.parse = plainText;
  }

  /// A choice stored as a number. An absent key reads as 0, which `zero` stands for; where that is
  /// another number, 0 is no choice.
  template <NamedEnum Enum>
  void numbered(std::string_view key, Member<Enum> member, Enum zero,
                Enum (*fromNumber)(std::int64_t), std::int64_t (*toNumber)(Enum)) {
    std::vector<std::string> numbers;
    for (const auto& entry : enumNames<Enum>) {
      if (toNumber(entry.value) == 0 && toNumber(zero) != 0) continue;
      numbers.push_back(std::to_string(toNumber(entry.value)));
    }
    Setting& row = add(key, member, "number", fmt::format("one of {}", fmt::join(numbers, ", ")));
    row.choices = std::move(numbers);
    row.load = [member, zero, fromNumber, toNumber](const Stored& stored, const SettingsValues&,
                                                    SettingsValues& values) {
      const double number = stored ? numberOf(*stored).value_or(0) : 0;
      const Enum found = fromNumber(static_cast<std::int64_t>(std::clamp(number, -1e6, 1e6)));
      values.*member = toNumber(found) == 0 ? zero : found;
    };
    row.store = [member, toNumber](const SettingsValues& values) {
      return JSONValue{toNumber(values.*member)};
    };
    row.accepts = [zero, fromNumber, toNumber](const JSONValue& value) {
      const auto number = integerOf(value);
      return number && toNumber(fromNumber(*number)) == *number &&
             (*number != 0 || toNumber(zero) == 0);
    };
  }

  /// A whole number. Absent, 0 and what is no number mean the default; others are clamped.
  void whole(std::string_view key, Member<int> member, int least, int most) {
    Setting& row =
        add(key, member, "number", fmt::format("a whole number from {} to {}", least, most));
    row.least = least;
    row.most = most;
    row.load = [member, least, most](const Stored& stored, const SettingsValues& defaults,
                                     SettingsValues& values) {
      const double number = stored ? std::trunc(numberOf(*stored).value_or(0)) : 0;
      values.*member = number == 0 ? defaults.*member
                                   : static_cast<int>(std::clamp<double>(number, least, most));
    };
    row.store = [member](const SettingsValues& values) {
      return JSONValue{std::int64_t{values.*member}};
    };
    row.accepts = [least, most](const JSONValue& value) {
      const auto number = integerOf(value);
      return number && *number >= least && *number <= most;
    };
  }

  void number(std::string_view key, Member<double> member, double least, double most) {
    Setting& row = add(key, member, "number", fmt::format("a number from {} to {}", least, most));
    row.least = least;
    row.most = most;
    row.load = [member, least, most](const Stored& stored, const SettingsValues& defaults,
                                     SettingsValues& values) {
      const auto found = stored ? numberOf(*stored) : std::nullopt;
      values.*member = found ? std::clamp(*found, least, most) : defaults.*member;
    };
    row.store = [member](const SettingsValues& values) { return JSONValue{values.*member}; };
    row.accepts = [least, most](const JSONValue& value) {
      const auto found = numberOf(value);
      return found && *found >= least && *found <= most;
    };
  }

  Setting& text(std::string_view key, Member<std::string> member, bool (*fits)(std::string_view),
                std::string allowed) {
    Setting& row = add(key, member, "text", std::move(allowed));
    row.load = [member, fits](const Stored& stored, const SettingsValues& defaults,
                              SettingsValues& values) {
      const auto* const found = stored ? held<std::string>(*stored) : nullptr;
      values.*member = found != nullptr && fits(*found) ? *found : defaults.*member;
    };
    row.store = [member](const SettingsValues& values) { return JSONValue{values.*member}; };
    row.accepts = [fits](const JSONValue& value) {
      const auto* const found = held<std::string>(value);
      return found != nullptr && fits(*found);
    };
    row.parse = plainText;
    return row;
  }

  Setting& optionalText(std::string_view key, Member<std::optional<std::string>> member,
                        bool (*fits)(std::string_view), std::string allowed) {
    Setting& row = add(key, member, "text, optional", "\"none\" or " + std::move(allowed));
    row.load = [member, fits](const Stored& stored, const SettingsValues&, SettingsValues& values) {
      const auto* const found = stored ? held<std::string>(*stored) : nullptr;
      (values.*member).reset();
      if (found != nullptr && fits(*found)) values.*member = *found;
    };
    row.store = [member](const SettingsValues& values) -> Stored {
      if (!(values.*member)) return std::nullopt;
      return JSONValue{*(values.*member)};
    };
    row.accepts = [fits](const JSONValue& value) {
      const auto* const found = held<std::string>(value);
      return isNone(value) || (found != nullptr && fits(*found));
    };
    row.parse = noneOr<plainText>;
    return row;
  }

  /// A record, list or map; what cannot be decoded counts as absent.
  template <class T>
  Setting& composite(std::string_view key, Member<T> member, std::string allowed,
                     bool (*fits)(const T&) = nullptr) {
    Setting& row = add(key, member, "JSON", std::move(allowed));
    row.load = [member](const Stored& stored, const SettingsValues& defaults,
                        SettingsValues& values) {
      auto found = stored ? decoded<T>(*stored) : std::nullopt;
      values.*member = found ? *std::move(found) : defaults.*member;
    };
    row.store = [member](const SettingsValues& values) { return encoded(values.*member); };
    row.accepts = [fits](const JSONValue& value) {
      return isWhole<T>(value) && (fits == nullptr || fits(*decoded<T>(value)));
    };
    return row;
  }

  /// An absent key means the default, null means that the user took the hot key away.
  void hotKey(std::string_view key, Member<std::optional<HotKeySpec>> member) {
    Setting& row = add(key, member, "hot key",
                       "\"none\" or a key such as \"Ctrl+Shift+Print\", with the modifiers Ctrl, "
                       "Alt, Shift and Super; a key that writes needs Ctrl, Alt or Super");
    row.load = [member](const Stored& stored, const SettingsValues& defaults,
                        SettingsValues& values) {
      const auto found = stored ? decoded<HotKeySpec>(*stored) : std::nullopt;
      const bool taken = stored && isNone(*stored);
      const bool isUsable = found && !isForTyping(*found);
      values.*member = taken ? std::nullopt : isUsable ? found : defaults.*member;
    };
    row.store = [member](const SettingsValues& values) {
      return values.*member ? encoded(*(values.*member)) : JSONValue{nullptr};
    };
    row.accepts = [](const JSONValue& value) {
      if (isNone(value)) return true;
      const auto spec = decoded<HotKeySpec>(value);
      return spec && isWhole<HotKeySpec>(value) && !isForTyping(*spec);
    };
    row.parse = noneOr<hotKeyText>;
    row.words = [member](const SettingsValues& values) {
      return values.*member ? displayText(*(values.*member)) : "none";
    };
  }

  void rememberedRegion(std::string_view key, Member<std::optional<RememberedRegion>> member) {
    Setting& row = add(key, member, "JSON, optional",
                       "\"none\" or an object with \"displayUUID\", \"rect\", \"displayPointSize\" "
                       "and \"displayPixelSize\"");
    row.resets = false;
    row.load = [member](const Stored& stored, const SettingsValues&, SettingsValues& values) {
      values.*member = stored ? decoded<RememberedRegion>(*stored) : std::nullopt;
    };
    row.store = [member](const SettingsValues& values) -> Stored {
      if (!(values.*member)) return std::nullopt;
      return encoded(*(values.*member));
    };
    row.accepts = [](const JSONValue& value) {
      return isNone(value) || isWhole<RememberedRegion>(value);
    };
    row.parse = noneOr<anyText>;
  }

  /// A set is stored as a list.
  void textSet(std::string_view key, Member<std::set<std::string>> member) {
    using List = std::vector<std::string>;
    Setting& row = add(key, member, "JSON", textsWords);
    row.load = [member](const Stored& stored, const SettingsValues& defaults,
                        SettingsValues& values) {
      const auto found = stored ? decoded<List>(*stored) : std::nullopt;
      values.*member =
          found ? std::set<std::string>(found->begin(), found->end()) : defaults.*member;
    };
    row.store = [member](const SettingsValues& values) {
      return encoded(List((values.*member).begin(), (values.*member).end()));
    };
    row.accepts = [](const JSONValue& value) { return isWhole<List>(value); };
  }
};

std::int64_t secondsOf(CaptureDelay delay) { return lengthOf(delay).count(); }
std::int64_t retentionNumber(RetentionPolicy policy) { return daysOf(policy); }

// Member and key have the same name, always.
#define VT_SETTING(name) #name, &SettingsValues::name

void addHotKeys(Table& table) {
  table.group = SettingGroup::shortcuts;
  table.hotKey(VT_SETTING(captureHotKey));
  table.hotKey(VT_SETTING(historyHotKey));
  table.hotKey(VT_SETTING(recordHotKey));
  table.hotKey(VT_SETTING(zoomHotKey));
  table.hotKey(VT_SETTING(scrollHotKey));
  table.hotKey(VT_SETTING(windowHotKey));
  table.hotKey(VT_SETTING(fullscreenHotKey));
  table.hotKey(VT_SETTING(comparisonHotKey));
  table.hotKey(VT_SETTING(timedCaptureHotKey));
  table.hotKey(VT_SETTING(previousAreaHotKey));
  table.hotKey(VT_SETTING(captureTextHotKey));
  table.hotKey(VT_SETTING(openClipboardHotKey));
  table.hotKey(VT_SETTING(radialMenuHotKey));
  table.hotKey(VT_SETTING(recordInStudioHotKey));
  table.hotKey(VT_SETTING(copyRecentHotKey));
}

void addCapture(Table& table) {
  using enum Table::Rule;
  table.group = SettingGroup::state;
  table.rememberedRegion(VT_SETTING(rememberedRegion));
  table.group = SettingGroup::capture;
  table.numbered(VT_SETTING(captureDelaySeconds), CaptureDelay::none, delayOfSeconds, secondsOf);
  // A timer of no length is none.
  table.numbered(VT_SETTING(timedCaptureLastDelaySeconds), CaptureDelay::five, delayOfSeconds,
                 secondsOf);
  table.flag(VT_SETTING(copyToClipboardAfterCapture), presentOrOn);
  table.flag(VT_SETTING(copyToClipboardAfterDone), presentOrOn);
  table.numbered(VT_SETTING(retentionDays), RetentionPolicy::off, retentionOfDays, retentionNumber);
  table.flag(VT_SETTING(adjustBeforeCapturing), plain);
  table.flag(VT_SETTING(hideDesktopIconsWhileCapturing), plain);
  table.choice(VT_SETTING(desktopCoverStyle));
  table.optionalText(VT_SETTING(desktopCoverImagePath), isAbsolutePath,
                     "the absolute path of an image");
  table.text(VT_SETTING(desktopCoverColor), isColour,
             "a color: \"#\" and six lower-case hexadecimal digits");
  table.flag(VT_SETTING(includeWindowShadow), presentOrOn);
  table.flag(VT_SETTING(showQuickAccessOverlay), presentOrOn);
  table.choice(VT_SETTING(overlayPosition));
  table.flag(VT_SETTING(thumbnailAutoDismiss), presentOrOn);
  table.whole(VT_SETTING(thumbnailIdleSeconds), 2, 120);
  table.flag(VT_SETTING(openAnnotateAfterCapture), plain);
  table.flag(VT_SETTING(smartRedactAfterCapture), plain);
  table.flag(VT_SETTING(smartRedactFaces), plain);
  table.flag(VT_SETTING(smartRedactPeople), plain);
  table.choice(VT_SETTING(defaultRedactStyle));
  table.flag(VT_SETTING(joinCopiedTextLines), presentOrOn);
  table.flag(VT_SETTING(keepTextClips), presentOrOn);
  table.flag(VT_SETTING(indexScreenshotText), presentOrOn).resets = false;
  table.optionalText(VT_SETTING(activeCollectionID), isAnyText, "a collection, by its id or name");
  table.text(VT_SETTING(storageDirectory), isAbsolutePath, folderWords);
  table.choice(VT_SETTING(exportFormat));
  table.number(VT_SETTING(jpegQuality), 0.05, 1);
  table
      .text(VT_SETTING(filenameTemplate), isFileNameBase,
            "a name of at most 120 bytes without \"/\" that does not begin with a point")
      .fault = faultOfName;
  table.flag(VT_SETTING(cardFormatRow), orDefault);
  table.flag(VT_SETTING(cardCompress), orDefault);
  table.flag(VT_SETTING(cardRedact), orDefault);
  table.flag(VT_SETTING(playSounds), presentOrOn);
  table.flag(VT_SETTING(showMenuBarIcon), presentOrOn);
  table.flag(VT_SETTING(checkForBetaUpdates), plain);
}

void addShelfAndEditor(Table& table) {
  using enum Table::Rule;
  table.group = SettingGroup::shelf;
  table.choice(VT_SETTING(shelfEdge));
  table.choice(VT_SETTING(shelfHandleVisibility));
  table.choice(VT_SETTING(shelfOpenTrigger));
  table.choice(VT_SETTING(shelfTileSize));
  table.choice(VT_SETTING(shelfClickAction));
  table.group = SettingGroup::editor;
  table.composite(VT_SETTING(editorBackground),
                  "an object with \"fill\" ({\"none\":{}}, {\"solid\":{\"_0\":color}} or "
                  "{\"gradient\":{\"_0\":id}}), \"paddingPercent\" and \"cornerRadius\" from 0, "
                  "\"shadow\" and \"shadowStrength\" from 0 to 1",
                  isBackground);
  table.flag(VT_SETTING(editorInspectorShown), orDefault);
  table.textSet(VT_SETTING(editorInspectorFolds));
  table.composite(
      VT_SETTING(editorToolStyles),
      "an object from tool names to styles: objects with \"color\", \"widthIdx\" and, where the "
      "tool has them, others, among them \"cornerRadius\" from 0, \"sides\" from 3 to 12 "
      "and \"starInset\" from 0 to 0.7");
}

void addRecording(Table& table) {
  using enum Table::Rule;
  table.group = SettingGroup::recording;
  table.flag(VT_SETTING(captureMicrophone), orDefault);
  table.flag(VT_SETTING(captureSystemAudio), orDefault);
  table.flag(VT_SETTING(recordingClickHighlight), orDefault);
  table.flag(VT_SETTING(recordingKeystrokeOverlay), orDefault);
  table.flag(VT_SETTING(recordsInStudio), orDefault);
  table.flag(VT_SETTING(studioRecordKeystrokes), orDefault);
  table.flag(VT_SETTING(studioKeystrokesAllKeys), orDefault);
  table.flag(VT_SETTING(cameraOverlayEnabled), orDefault);
  table.flag(VT_SETTING(showRecordingControls), orDefault);
  table.flag(VT_SETTING(keepNotificationsOutOfRecordings), orDefault);
  table.whole(VT_SETTING(studioFrameRate), 10, 120);
  table.choice(VT_SETTING(studioQuality));
  table.composite(VT_SETTING(studioFavouriteGradients), textsWords).resets = false;
  table.optionalText(VT_SETTING(microphoneDeviceID), isAnyText, "the id of a microphone");
  table.optionalText(VT_SETTING(microphoneDeviceName), isAnyText, "the name of a microphone");
  table.optionalText(VT_SETTING(cameraDeviceID), isAnyText, "the id of a camera");
  table.choice(VT_SETTING(recordingControlsStyle));
  table.choice(VT_SETTING(cameraBubbleShape));
  table.composite(VT_SETTING(cameraBubbleStyle),
                  "an object with \"size\" from 0.05 to 0.5, \"mirrored\" and \"border\"");
  table.composite(VT_SETTING(cameraBubblePlacement),
                  "an object with the numbers \"x\" and \"y\" from 0 to 1");
  table.group = SettingGroup::gif;
  table.flag(VT_SETTING(gifAskBeforeConverting), orDefault);
  table.composite(VT_SETTING(gifExportOptions),
                  "an object with \"size\" ({\"full\":{}}, {\"half\":{}} or "
                  "{\"width\":{\"_0\":pixels}}), \"framesPerSecond\" from 1 to 60, \"speed\" from "
                  "0.1 to 10, \"dithering\" and \"loopsForever\"",
                  isGif);
  table.flag(VT_SETTING(gifUseExternalEncoder), orDefault);
}

void addAgentAndState(Table& table) {
  using enum Table::Rule;
  table.group = SettingGroup::agent;
  table.flag(VT_SETTING(mcpEnabled), orDefault);
  table.flag(VT_SETTING(mcpAutoStart), orDefault);
  table.whole(VT_SETTING(mcpPort), 1024, 65535);
  table.flag(VT_SETTING(mcpAllowRead), orDefault);
  table.flag(VT_SETTING(mcpAllowCapture), orDefault);
  table.flag(VT_SETTING(mcpAllowExport), plain);
  table.choice(VT_SETTING(mcpApprovalMode));
  table.optionalText(VT_SETTING(mcpExportDirectory), isAbsolutePath, folderWords);
  table.group = SettingGroup::state;
  table.flag(VT_SETTING(hasCompletedOnboarding), plain).resets = false;
  table.flag(VT_SETTING(hasCapturedSuccessfully), plain).resets = false;
  table.composite(VT_SETTING(filingUnfinishedAtQuit), textsWords).resets = false;
}

#undef VT_SETTING

}  // namespace

const std::vector<Setting>& settingsTable() {
  static const std::vector<Setting> table = [] {
    Table building;
    addHotKeys(building);
    addCapture(building);
    addShelfAndEditor(building);
    addRecording(building);
    addAgentAndState(building);
    for (Setting& row : building.rows) {
      if (const SettingRow* const offered = findSettingRow(row.key)) row.meaning = offered->meaning;
    }
    return std::move(building.rows);
  }();
  return table;
}

const Setting* findSetting(std::string_view key) {
  const auto& table = settingsTable();
  const auto found = std::ranges::find(table, key, &Setting::key);
  return found == table.end() ? nullptr : &*found;
}

}  // namespace vantorel
