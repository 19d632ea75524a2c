#pragma once

#include <xcb/xcb.h>

#include <array>
#include <string_view>

namespace vantorel {

/// The names we exchange with the server as numbers.
enum class XAtom {
  clientMachine,
  clientList,
  clientListStacking,
  compoundText,
  currentDesktop,
  edid,
  frameExtents,
  gtkApplicationID,
  gtkFrameExtents,
  oldWindowState,
  ping,
  protocols,
  resourceManager,
  rootPixmap,
  settings,
  utf8String,
  windowDesktop,
  windowName,
  windowPID,
  windowState,
  windowStateHidden,
  windowStateShaded,
  windowType,
  windowTypeDesktop,
  windowTypeDock,
  count,
};

inline constexpr std::array<std::string_view, static_cast<std::size_t>(XAtom::count)> xAtomNames{
    "WM_CLIENT_MACHINE",
    "_NET_CLIENT_LIST",
    "_NET_CLIENT_LIST_STACKING",
    "COMPOUND_TEXT",
    "_NET_CURRENT_DESKTOP",
    "EDID",
    "_NET_FRAME_EXTENTS",
    "_GTK_APPLICATION_ID",
    "_GTK_FRAME_EXTENTS",
    "WM_STATE",
    "_NET_WM_PING",
    "WM_PROTOCOLS",
    "RESOURCE_MANAGER",
    "_XROOTPMAP_ID",
    "_XSETTINGS_SETTINGS",
    "UTF8_STRING",
    "_NET_WM_DESKTOP",
    "_NET_WM_NAME",
    "_NET_WM_PID",
    "_NET_WM_STATE",
    "_NET_WM_STATE_HIDDEN",
    "_NET_WM_STATE_SHADED",
    "_NET_WM_WINDOW_TYPE",
    "_NET_WM_WINDOW_TYPE_DESKTOP",
    "_NET_WM_WINDOW_TYPE_DOCK",
};

}  // namespace vantorel
