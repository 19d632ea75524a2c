#pragma once

#include <QFont>

namespace vantorel::tokens {

// Measures in px at scale 1, times in milliseconds. Everything that is laid out takes its spaces,
// radii and heights from here.

inline constexpr int space4 = 4;
inline constexpr int space8 = 8;
inline constexpr int space12 = 12;
inline constexpr int space16 = 16;
inline constexpr int space24 = 24;
inline constexpr int space32 = 32;
inline constexpr int space48 = 48;

inline constexpr int keyCapRadius = 4;  ///< check boxes too
inline constexpr int buttonRadius = 6;  ///< fields too
inline constexpr int tileRadius = 8;
inline constexpr int groupRadius = 10;  ///< popups too
inline constexpr int floatingRadius = 14;

// Least heights: see `controlHeight`.
inline constexpr int control = 32;
inline constexpr int smallControl = 28;  ///< in inspectors and bars
inline constexpr int tool = 36;
inline constexpr int navigationRow = 32;
inline constexpr int listRow = 44;
inline constexpr int settingsRow = 48;

/// The least side of what can be clicked.
inline constexpr int hitArea = 24;

inline constexpr int focusRing = 2;     ///< width
inline constexpr int focusRingGap = 1;  ///< from what has the focus

// Motion. All are 0 where the desktop has animations off: see `motion`.
inline constexpr int hoverTime = 120;
inline constexpr int barTime = 180;  ///< bars and cards
inline constexpr int previewTime = 240;

/// What works shows that it does after so long, not before.
inline constexpr int busyDelay = 150;

/// How much what cannot be used shows of its color.
inline constexpr double offOpacity = 0.45;

/// `time`, or 0 where the desktop wants no animations.
[[nodiscard]] int motion(int time);

// From the desktop's font. Body is the application's font itself.
[[nodiscard]] QFont smallFont();
[[nodiscard]] QFont bodyFont();
[[nodiscard]] QFont strongFont();
[[nodiscard]] QFont titleFont();
[[nodiscard]] QFont largeFont();

/// The height of what holds one line of `font` and has `token` at least.
[[nodiscard]] int controlHeight(int token, const QFont& font);
[[nodiscard]] int controlHeight(int token = control);

}  // namespace vantorel::tokens
