#include "settings/setting_rows.hpp"

#include <algorithm>

#include "app/records/shortcut_id.hpp"
#include "base/check.hpp"

namespace vantorel {
namespace {

using enum SettingsPane;
using Control = SettingControl;

void addGeneral(std::vector<SettingRow>& rows) {
  rows.push_back({.key = "showMenuBarIcon",
                  .meaning = "the icon in the tray is shown",
                  .pane = general,
                  .label = "Show the tray icon",
                  .explanation = "Without it, use the keys or start Vantorel again."});
  rows.push_back({.key = "playSounds",
                  .meaning = "a capture taken at the desktop is heard",
                  .pane = general,
                  .label = "Play sounds"});
  rows.push_back(
      {.key = "exportFormat",
       .meaning = "format of new captures",
       .pane = general,
       .group = "Files",
       .label = "Format",
       .control = Control::choice,
       .choices = {{"png", "PNG"}, {"jpeg", "JPEG"}, {"heic", "HEIC"}, {"webp", "WebP"}}});
  rows.push_back({.key = "jpegQuality",
                  .meaning = "quality of jpeg, heic and webp",
                  .pane = general,
                  .group = "Files",
                  .label = "Quality",
                  .explanation = "For JPEG, HEIC and WebP.",
                  .control = Control::number,
                  .shown = {.scale = 100, .step = 5, .unit = " %"}});
  rows.push_back({.key = "filenameTemplate",
                  .meaning = "what the names of captures begin with",
                  .pane = general,
                  .group = "Files",
                  .label = "Name",
                  .control = Control::text});
}

void addCapture(std::vector<SettingRow>& rows) {
  rows.push_back(
      {.key = "captureDelaySeconds",
       .meaning = "seconds before a capture; 0 is at once",
       .pane = capture,
       .label = "Delay",
       .explanation = "Before every capture.",
       .control = Control::choice,
       .choices = {{"0", "None"}, {"3", "3 seconds"}, {"5", "5 seconds"}, {"10", "10 seconds"}}});
  rows.push_back({.key = "timedCaptureLastDelaySeconds",
                  .meaning = "seconds before the next capture after a delay",
                  .pane = capture,
                  .label = "Self-timer",
                  .explanation = "Used by “Capture with self-timer”. The menu changes it too.",
                  .control = Control::choice,
                  .choices = {{"3", "3 seconds"}, {"5", "5 seconds"}, {"10", "10 seconds"}}});
  rows.push_back({.key = "adjustBeforeCapturing",
                  .meaning = "an area that was dragged stays up to be adjusted",
                  .pane = capture,
                  .label = "Adjust before capturing",
                  .explanation = "An area that was dragged stays up; Return takes it."});
  rows.push_back({.key = "includeWindowShadow",
                  .meaning =
                      "captures of windows that draw their own shadow have it; what a compositor "
                      "adds they never have",
                  .pane = capture,
                  .group = "Windows",
                  .label = "Keep the shadow of windows",
                  .explanation = "Where a window draws its own."});
  rows.push_back({.key = "hideDesktopIconsWhileCapturing",
                  .meaning = "the desktop's icons are covered meanwhile",
                  .pane = capture,
                  .group = "Desktop icons",
                  .label = "Hide desktop icons while capturing"});
  rows.push_back(
      {.key = "desktopCoverStyle",
       .meaning = "what covers them",
       .pane = capture,
       .group = "Desktop icons",
       .label = "Cover them with",
       .control = Control::choice,
       .choices = {{"wallpaper", "The wallpaper"}, {"custom", "An image"}, {"color", "A color"}},
       .needs = {"hideDesktopIconsWhileCapturing", "true"}});
  rows.push_back({.key = "desktopCoverImagePath",
                  .meaning = "the image that covers them, with the style custom",
                  .pane = capture,
                  .group = "Desktop icons",
                  .label = "Image",
                  .control = Control::picture,
                  .needs = {"desktopCoverStyle", "custom"}});
  rows.push_back({.key = "desktopCoverColor",
                  .meaning = "the color that covers them, with the style color",
                  .pane = capture,
                  .group = "Desktop icons",
                  .label = "Color",
                  .control = Control::color,
                  .needs = {"desktopCoverStyle", "color"}});
}

void addAfterCapture(std::vector<SettingRow>& rows) {
  rows.push_back({.key = "copyToClipboardAfterCapture",
                  .meaning = "each new capture is copied",
                  .pane = afterCapture,
                  .label = "Copy to the clipboard"});
  rows.push_back(
      {.key = "openAnnotateAfterCapture",
       .meaning = "each new capture is opened in Annotate, while Vantorel is in the tray",
       .pane = afterCapture,
       .label = "Open in Annotate"});
  rows.push_back({.key = "activeCollectionID",
                  .meaning = "collection that new captures are filed into",
                  .pane = afterCapture,
                  .label = "New captures go into",
                  .explanation = "The tray's menu changes it too.",
                  .control = Control::collection});
  rows.push_back({.key = "showQuickAccessOverlay",
                  .meaning = "a card of each new capture slides in",
                  .pane = afterCapture,
                  .group = "Card",
                  .label = "Show a card",
                  .explanation = "At the edge of the display the capture was made on."});
  rows.push_back({.key = "overlayPosition",
                  .meaning = "edge of the display at which cards stand",
                  .pane = afterCapture,
                  .group = "Card",
                  .label = "Edge",
                  .control = Control::choice,
                  .choices = {{"left", "Left"}, {"right", "Right"}},
                  .needs = {"showQuickAccessOverlay", "true"}});
  rows.push_back({.key = "thumbnailAutoDismiss",
                  .meaning = "a card goes by itself after a while",
                  .pane = afterCapture,
                  .group = "Card",
                  .label = "Goes by itself",
                  .explanation = "Otherwise it stays until you close it.",
                  .needs = {"showQuickAccessOverlay", "true"}});
  rows.push_back({.key = "thumbnailIdleSeconds",
                  .meaning = "seconds after which a card goes by itself",
                  .pane = afterCapture,
                  .group = "Card",
                  .label = "Goes after",
                  .explanation = "It stays while the pointer is on it.",
                  .control = Control::number,
                  .shown = {.unit = " s"},
                  .needs = {"thumbnailAutoDismiss", "true"}});
  rows.push_back({.key = "cardFormatRow",
                  .meaning = "the card offers other formats, each with its size",
                  .pane = afterCapture,
                  .group = "Card",
                  .label = "Offer other formats",
                  .needs = {"showQuickAccessOverlay", "true"}});
  rows.push_back({.key = "cardCompress",
                  .meaning = "the card offers to compress",
                  .pane = afterCapture,
                  .group = "Card",
                  .label = "Offer to compress",
                  .needs = {"showQuickAccessOverlay", "true"}});
  rows.push_back({.key = "cardRedact",
                  .meaning = "the card has the row that covers sensitive text",
                  .pane = afterCapture,
                  .group = "Card",
                  .label = "Offer to redact",
                  .needs = {"showQuickAccessOverlay", "true"}});
}

/// In the order of the commands, under their titles.
void addShortcuts(std::vector<SettingRow>& rows) {
  const auto add = [&](ShortcutID id, std::string_view meaning, std::string_view explanation = {},
                       std::string_view group = {}) {
    const auto* const info = std::ranges::find(shortcutTable, id, &ShortcutInfo::id);
    VT_CHECK(info != shortcutTable.end());
    rows.push_back({.key = info->settingsKey,
                    .meaning = meaning,
                    .pane = shortcuts,
                    .group = group,
                    .label = info->title,
                    .explanation = explanation,
                    .control = Control::shortcut});
  };
  add(ShortcutID::capture, "captures an area", "Drag an area; Space switches to window.");
  add(ShortcutID::previousArea, "captures the area that was dragged last");
  add(ShortcutID::captureText, "copies the text of an area", "Its text goes to the clipboard.");
  add(ShortcutID::fullscreen, "captures the main display");
  add(ShortcutID::window, "captures a window");
  add(ShortcutID::history, "opens History");
  add(ShortcutID::openClipboard, "opens the clipboard's image in Annotate");
  add(ShortcutID::copyRecent1,
      "copies the newest capture; with a digit, the next digits copy the ones before",
      "With a digit, the next digits copy the ones before.", "Copy recent captures");
  rows.back().label = "Copy recent capture 1 to 10";
  add(ShortcutID::scroll, "captures what is scrolled; again, ends that and files it",
      "Scroll the page; press it again to finish.", "More captures");
  add(ShortcutID::timedCapture, "captures an area after a delay, the one used last",
      "After the delay used last.", "More captures");
}

void addAnnotate(std::vector<SettingRow>& rows) {
  rows.push_back({.key = "copyToClipboardAfterDone",
                  .meaning = "Done in Annotate copies the picture as well",
                  .pane = annotate,
                  .label = "Done copies the picture",
                  .explanation = "To the clipboard, with everything drawn and covered."});
}

void addText(std::vector<SettingRow>& rows) {
  rows.push_back({.key = "indexScreenshotText",
                  .meaning = "the text of captures is read in the background, for the search",
                  .pane = text,
                  .label = "Read the text of captures",
                  .explanation = "In the background, so that History finds them by it."});
  rows.push_back({.key = "keepTextClips",
                  .meaning = "text taken from the screen is kept in the library as well",
                  .pane = text,
                  .group = "Capture Text",
                  .label = "Keep text clips in History",
                  .explanation = "Text taken from the screen is copied; this keeps it as well."});
  rows.push_back({.key = "joinCopiedTextLines",
                  .meaning = "the lines of copied text are joined to paragraphs",
                  .pane = text,
                  .group = "Capture Text",
                  .label = "Join lines",
                  .explanation = "What ran over several lines is copied as one."});
  rows.push_back({.key = "smartRedactAfterCapture",
                  .meaning = "what is sensitive in a new capture is covered before it is filed",
                  .pane = text,
                  .group = "Smart Redact",
                  .label = "Redact new captures",
                  .explanation = "Before they are filed and copied. The untouched picture is kept "
                                 "where only you can read it."});
  rows.push_back({.key = "smartRedactFaces",
                  .meaning = "Smart Redact looks for faces as well",
                  .pane = text,
                  .group = "Smart Redact",
                  .label = "Look for faces"});
  rows.push_back({.key = "smartRedactPeople",
                  .meaning = "Smart Redact looks for people as well",
                  .pane = text,
                  .group = "Smart Redact",
                  .label = "Look for people"});
  rows.push_back(
      {.key = "defaultRedactStyle",
       .meaning = "how Smart Redact covers what it finds",
       .pane = text,
       .group = "Smart Redact",
       .label = "Cover with",
       .control = Control::choice,
       .choices = {{"gaussianBlur", "Blur"}, {"pixelate", "Pixels"}, {"solidBox", "A solid box"}}});
}

void addLibrary(std::vector<SettingRow>& rows) {
  rows.push_back({.key = "storageDirectory",
                  .meaning = "folder of the captures; they move along when it changes",
                  .pane = library,
                  .label = "Folder",
                  .control = Control::folder});
  rows.push_back(
      {.key = "retentionDays",
       .meaning = "age at which captures go to the Trash, once you have agreed; 0 is never",
       .pane = library,
       .group = "Auto-delete",
       .label = "Move captures to the Trash",
       .explanation = "Age is counted from each capture’s last edit. Starred captures, captures in "
                      "a Collection and Studio projects stay.",
       .control = Control::choice,
       .choices = {{"0", "Never"},
                   {"7", "After 7 days"},
                   {"30", "After 30 days"},
                   {"90", "After 90 days"},
                   {"365", "After 1 year"}}});
}

}  // namespace

const std::vector<SettingRow>& settingRows() {
  static const std::vector<SettingRow> all = [] {
    std::vector<SettingRow> rows;
    addGeneral(rows);
    addCapture(rows);
    addAfterCapture(rows);
    addShortcuts(rows);
    addAnnotate(rows);
    addText(rows);
    addLibrary(rows);
    return rows;
  }();
  return all;
}

const SettingRow* findSettingRow(std::string_view key) {
  const auto found = std::ranges::find(settingRows(), key, &SettingRow::key);
  return found == settingRows().end() ? nullptr : &*found;
}

}  // namespace vantorel
