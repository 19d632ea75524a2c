#pragma once

#include <QColor>
#include <QPalette>

namespace vantorel {

/// The colors of windows, each worked out from the desktop's palette so that it can be read
/// whatever that palette is: text that is not off has a contrast of 4.5:1, symbols, focus and
/// states 3:1.
struct PaletteRoles {
  QColor window;
  QColor base;  ///< fields, lists
  QColor side;  ///< side bars
  QColor work;  ///< behind a picture
  QColor text;
  QColor quiet;        ///< second lines and explanations
  QColor line;         ///< between things
  QColor fieldBorder;  ///< around buttons and fields
  QColor hover;
  QColor press;
  QColor accentFill;  ///< under `onAccent`
  QColor onAccent;
  QColor accentText;  ///< links, symbols of what is on
  QColor focus;
  QColor selection;  ///< under `text` and `accentText`
  QColor danger;
  QColor warning;  ///< on `warningGround` and on the window
  QColor warningGround;
  QColor switchOff;
  bool isDark = false;
  bool isHighContrast = false;
};

/// Kept for the palettes asked about last. Main thread.
[[nodiscard]] PaletteRoles rolesOf(const QPalette& palette);

/// What floats over the screen is dark on every desktop.
struct FloatingColors {
  QColor panel;  ///< partly transparent; `opaquePanel` without a compositor
  QColor opaquePanel;
  QColor text;
  QColor quiet;
  QColor key;  ///< key caps
  QColor accent;
  QColor innerLine;
  QColor stop;
  QColor dot;  ///< recording
  QColor hover;
  QColor press;
};
[[nodiscard]] const FloatingColors& floatingColors();

/// From 1 (none) to 21, of opaque colors.
[[nodiscard]] double contrast(const QColor& one, const QColor& other);

/// `part` of `to` over `from`, in sRGB: 0 is `from`, 1 is `to`.
[[nodiscard]] QColor mixed(const QColor& from, const QColor& to, double part);

}  // namespace vantorel
