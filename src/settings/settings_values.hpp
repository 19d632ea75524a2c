#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "app/records/hot_key_spec.hpp"
#include "capture/records/capture_target.hpp"
#include "capture/records/export_format.hpp"
#include "capture/records/remembered_region.hpp"
#include "editor/records/background_spec.hpp"
#include "editor/records/shape_style.hpp"
#include "editor/records/tool_style.hpp"
#include "library/records/retention_policy.hpp"
#include "recording/records/gif_export.hpp"
#include "settings/setting_choices.hpp"

namespace vantorel {

/// X keysym of the Print key, which asks for a picture of the screen on every desktop.
inline constexpr std::uint32_t printKey = 0xff61;

/// Every setting with its default. The key of a setting is the name of its member.
struct SettingsValues {
  // Hot keys; empty is unassigned.
  std::optional<HotKeySpec> captureHotKey = HotKeySpec{printKey, 0};
  std::optional<HotKeySpec> historyHotKey;
  std::optional<HotKeySpec> recordHotKey = HotKeySpec{printKey, HotKeySpec::command};
  std::optional<HotKeySpec> zoomHotKey;
  std::optional<HotKeySpec> scrollHotKey;
  std::optional<HotKeySpec> windowHotKey = HotKeySpec{printKey, HotKeySpec::option};
  std::optional<HotKeySpec> fullscreenHotKey = HotKeySpec{printKey, HotKeySpec::shift};
  std::optional<HotKeySpec> comparisonHotKey;
  std::optional<HotKeySpec> timedCaptureHotKey;
  std::optional<HotKeySpec> previousAreaHotKey = HotKeySpec{printKey, HotKeySpec::control};
  std::optional<HotKeySpec> captureTextHotKey;
  std::optional<HotKeySpec> openClipboardHotKey;
  std::optional<HotKeySpec> radialMenuHotKey;
  std::optional<HotKeySpec> recordInStudioHotKey;
  std::optional<HotKeySpec> copyRecentHotKey;

  // Capture and library.
  std::optional<RememberedRegion> rememberedRegion;
  CaptureDelay captureDelaySeconds = CaptureDelay::none;
  CaptureDelay timedCaptureLastDelaySeconds = CaptureDelay::five;
  bool copyToClipboardAfterCapture = true;
  bool copyToClipboardAfterDone = true;
  RetentionPolicy retentionDays = RetentionPolicy::off;
  bool adjustBeforeCapturing = false;
  bool hideDesktopIconsWhileCapturing = false;
  DesktopCoverStyle desktopCoverStyle = DesktopCoverStyle::wallpaper;
  std::optional<std::string> desktopCoverImagePath;
  std::string desktopCoverColor = "#3a3a3c";
  bool includeWindowShadow = true;
  bool showQuickAccessOverlay = true;
  OverlayPosition overlayPosition = OverlayPosition::right;
  bool thumbnailAutoDismiss = true;
  int thumbnailIdleSeconds = 6;
  bool openAnnotateAfterCapture = false;
  bool smartRedactAfterCapture = false;
  bool smartRedactFaces = false;
  bool smartRedactPeople = false;
  RedactStyle defaultRedactStyle = RedactStyle::solidBox;  // the one nobody can undo
  bool joinCopiedTextLines = true;
  bool keepTextClips = true;
  bool indexScreenshotText = true;
  std::optional<std::string> activeCollectionID;
  std::string storageDirectory;  ///< absolute; the default depends on the user's folders
  ExportFormat exportFormat = ExportFormat::png;
  double jpegQuality = 0.85;
  std::string filenameTemplate = "Screenshot";
  bool cardFormatRow = true;
  bool cardCompress = true;
  bool cardRedact = true;
  bool playSounds = true;
  bool showMenuBarIcon = true;
  bool checkForBetaUpdates = false;

  // Shelf.
  ShelfEdge shelfEdge = ShelfEdge::right;
  ShelfHandleVisibility shelfHandleVisibility = ShelfHandleVisibility::onApproach;
  ShelfOpenTrigger shelfOpenTrigger = ShelfOpenTrigger::onClick;
  ShelfTileSize shelfTileSize = ShelfTileSize::medium;
  ShelfClickAction shelfClickAction = ShelfClickAction::open;

  // Editor.
  BackgroundSpec editorBackground;
  bool editorInspectorShown = true;
  std::set<std::string> editorInspectorFolds;
  ToolStyles editorToolStyles;

  // Recording and Studio.
  bool captureMicrophone = false;
  bool captureSystemAudio = false;
  bool recordingClickHighlight = true;
  bool recordingKeystrokeOverlay = false;
  bool recordsInStudio = false;
  bool studioRecordKeystrokes = false;
  bool studioKeystrokesAllKeys = false;
  bool cameraOverlayEnabled = false;
  bool showRecordingControls = true;
  bool keepNotificationsOutOfRecordings = true;
  int studioFrameRate = 60;
  StudioQuality studioQuality = StudioQuality::high;
  std::vector<std::string> studioFavouriteGradients;
  std::optional<std::string> microphoneDeviceID;
  std::optional<std::string> microphoneDeviceName;
  std::optional<std::string> cameraDeviceID;
  RecordingControlsStyle recordingControlsStyle = RecordingControlsStyle::pill;
  CameraBubbleShape cameraBubbleShape = CameraBubbleShape::circle;
  CameraBubbleStyle cameraBubbleStyle;
  CameraBubblePlacement cameraBubblePlacement;

  // GIF.
  bool gifAskBeforeConverting = true;
  GifExportOptions gifExportOptions;
  bool gifUseExternalEncoder = false;

  // Agent server.
  bool mcpEnabled = false;
  bool mcpAutoStart = false;
  int mcpPort = 47821;
  bool mcpAllowRead = true;
  bool mcpAllowCapture = false;
  bool mcpAllowExport = false;
  MCPApprovalMode mcpApprovalMode = MCPApprovalMode::askEveryTime;
  std::optional<std::string> mcpExportDirectory;

  // What the program remembers of its own life.
  bool hasCompletedOnboarding = false;
  bool hasCapturedSuccessfully = false;
  std::vector<std::string> filingUnfinishedAtQuit;

  bool operator==(const SettingsValues&) const = default;
};

}  // namespace vantorel
