#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QSize>
#include <cstddef>

namespace vantorel {

/// The symbols drawn for this program, by the names of their files: `starOn` is star-on.svg.
enum class IconName {
  annotate,
  area,
  areaAgain,
  arrow,
  assistant,
  background,
  camera,
  canvas,
  check,
  click,
  close,
  collection,
  collectionAdd,
  compress,
  convert,
  copy,
  counter,
  crop,
  display,
  down,
  ellipse,
  emoji,
  eye,
  eyeOff,
  eyedropper,
  filter,
  fit,
  folder,
  grid,
  grip,
  help,
  highlightArea,
  highlighter,
  image,
  images,
  info,
  inspector,
  keyboard,
  layers,
  left,
  list,
  lock,
  measure,
  mic,
  micOff,
  minus,
  more,
  movie,
  offline,
  opacity,
  passThrough,
  pause,
  pen,
  pin,
  play,
  plus,
  polygon,
  qr,
  record,
  rect,
  redact,
  redo,
  rename,
  reset,
  reveal,
  right,
  save,
  scroll,
  search,
  select,
  selectText,
  settings,
  shield,
  sidebar,
  sound,
  star,
  starOn,
  stop,
  text,
  textClip,
  timer,
  trash,
  undo,
  unlock,
  warning,
  window,
  zoomIn,
};

inline constexpr std::size_t iconCount = static_cast<std::size_t>(IconName::zoomIn) + 1;

/// What colors a symbol; see `PaletteRoles`.
enum class IconTint { text, quiet, accent, onAccent, danger, warning, floating };

/// Sides in px: in bars, in rows and buttons, in empty states.
inline constexpr int barIconSize = 20;
inline constexpr int rowIconSize = 16;
inline constexpr int emptyIconSize = 32;

/// Sharp at every size and screen, tinted by the application's palette of the moment it is painted,
/// so that it follows the desktop by itself. Off it is fainter, and on (checked) it has the accent.
/// Main thread.
[[nodiscard]] QIcon icon(IconName name, IconTint tint = IconTint::text);

/// As `icon`, in one color whatever the palette.
[[nodiscard]] QIcon icon(IconName name, const QColor& color);

/// A symbol of `size` px for a screen of `ratio` device pixels a px. Kept for the next who asks.
[[nodiscard]] QPixmap iconPixmap(IconName name, QSize size, double ratio, const QColor& color);

}  // namespace vantorel
