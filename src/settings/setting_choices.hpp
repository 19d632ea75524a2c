#pragma once

#include "base/enum_names.hpp"
#include "base/json_record.hpp"

// The choices that only settings offer. Names are stored and never change.

namespace vantorel {

/// What lies over the desktop icons while capturing.
enum class DesktopCoverStyle { wallpaper, custom, color };
template <>
inline constexpr auto enumNames<DesktopCoverStyle> = std::to_array<EnumName<DesktopCoverStyle>>({
    {DesktopCoverStyle::wallpaper, "wallpaper"},
    {DesktopCoverStyle::custom, "custom"},
    {DesktopCoverStyle::color, "color"},
});

/// The side of the screen the thumbnail card appears on.
enum class OverlayPosition { left, right };
template <>
inline constexpr auto enumNames<OverlayPosition> = std::to_array<EnumName<OverlayPosition>>({
    {OverlayPosition::left, "left"},
    {OverlayPosition::right, "right"},
});

enum class ShelfEdge { top, bottom, left, right };
template <>
inline constexpr auto enumNames<ShelfEdge> = std::to_array<EnumName<ShelfEdge>>({
    {ShelfEdge::top, "top"},
    {ShelfEdge::bottom, "bottom"},
    {ShelfEdge::left, "left"},
    {ShelfEdge::right, "right"},
});

enum class ShelfHandleVisibility { always, onApproach, never };
template <>
inline constexpr auto enumNames<ShelfHandleVisibility> =
    std::to_array<EnumName<ShelfHandleVisibility>>({
        {ShelfHandleVisibility::always, "always"},
        {ShelfHandleVisibility::onApproach, "onApproach"},
        {ShelfHandleVisibility::never, "never"},
    });

enum class ShelfOpenTrigger { onClick, onHover };
template <>
inline constexpr auto enumNames<ShelfOpenTrigger> = std::to_array<EnumName<ShelfOpenTrigger>>({
    {ShelfOpenTrigger::onClick, "onClick"},
    {ShelfOpenTrigger::onHover, "onHover"},
});

enum class ShelfTileSize { small, medium, large };
template <>
inline constexpr auto enumNames<ShelfTileSize> = std::to_array<EnumName<ShelfTileSize>>({
    {ShelfTileSize::small, "small"},
    {ShelfTileSize::medium, "medium"},
    {ShelfTileSize::large, "large"},
});

enum class ShelfClickAction { open, copy, reveal };
template <>
inline constexpr auto enumNames<ShelfClickAction> = std::to_array<EnumName<ShelfClickAction>>({
    {ShelfClickAction::open, "open"},
    {ShelfClickAction::copy, "copy"},
    {ShelfClickAction::reveal, "reveal"},
});

enum class StudioQuality { high, standard };
template <>
inline constexpr auto enumNames<StudioQuality> = std::to_array<EnumName<StudioQuality>>({
    {StudioQuality::high, "high"},
    {StudioQuality::standard, "standard"},
});

enum class RecordingControlsStyle { pill, edgeTab };
template <>
inline constexpr auto enumNames<RecordingControlsStyle> =
    std::to_array<EnumName<RecordingControlsStyle>>({
        {RecordingControlsStyle::pill, "pill"},
        {RecordingControlsStyle::edgeTab, "edgeTab"},
    });

enum class CameraBubbleShape { circle, rectangle };
template <>
inline constexpr auto enumNames<CameraBubbleShape> = std::to_array<EnumName<CameraBubbleShape>>({
    {CameraBubbleShape::circle, "circle"},
    {CameraBubbleShape::rectangle, "rectangle"},
});

/// When an agent's capture asks the user first.
enum class MCPApprovalMode { askEveryTime, askOncePerSession, allow };
template <>
inline constexpr auto enumNames<MCPApprovalMode> = std::to_array<EnumName<MCPApprovalMode>>({
    {MCPApprovalMode::askEveryTime, "askEveryTime"},
    {MCPApprovalMode::askOncePerSession, "askOncePerSession"},
    {MCPApprovalMode::allow, "allow"},
});

/// The look of the camera's picture over a recording.
struct CameraBubbleStyle {
  double size = 0.18;  ///< its height as a fraction of the recorded area's height
  bool mirrored = true;
  bool border = true;
  json::Object extra;

  bool operator==(const CameraBubbleStyle&) const = default;
  template <class V, class S>
  static void describe(V& v, S& style);
};
VT_JSON_RECORD_DECLARATION(CameraBubbleStyle);

/// The centre of the camera's picture, as fractions of the recorded area.
struct CameraBubblePlacement {
  double x = 0.88;
  double y = 0.82;
  json::Object extra;

  bool operator==(const CameraBubblePlacement&) const = default;
  template <class V, class S>
  static void describe(V& v, S& placement);
};
VT_JSON_RECORD_DECLARATION(CameraBubblePlacement);

}  // namespace vantorel
