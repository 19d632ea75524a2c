#pragma once

#include <QColor>
#include <QDBusMessage>
#include <QFileSystemWatcher>
#include <QFont>
#include <QObject>
#include <QPalette>
#include <QTimer>
#include <memory>
#include <optional>

#include "platform/native_windows.hpp"

namespace vantorel {

/// Colors and writes the toolkit's windows as the desktop does, now and at each change. On KDE, all
/// colors and the font of its own settings, which the toolkit reads only at the start. Elsewhere
/// light or dark and the accent as the desktop's portal says; where that has no wish, as the look
/// that the desktop shares through the display server, which is known before the first window is
/// painted. The font is that look's, else the portal's: one made for another desktop knows but that
/// one's. Without any of them all stays light. One for the application, whose windows it outlives.
/// Lives on the main thread.
class DesktopPalette : public QObject {
  Q_OBJECT

 public:
  explicit DesktopPalette(std::shared_ptr<NativeWindows> native);
  ~DesktopPalette() override;

  /// From the first window on: before it is built. Asks the display server, and the portal without
  /// waiting. Once is enough.
  static void follow();

 private Q_SLOTS:
  void settingChanged(const QDBusMessage& change);

 private:
  void start();
  void followLook();
  void followPortal();
  void ask(const char* space, const char* key);
  void take(const QString& space, const QString& key, QVariant value);

  void followSettingsOfKDE();
  void readSettingsOfKDE();

  /// Puts together what is known.
  void applyColors();
  void applyFont();

  std::shared_ptr<NativeWindows> native_;
  bool isFollowing_ = false;
  DesktopLook look_;
  Observation lookChanges_;
  std::optional<bool> wantsDark_;  // the portal
  QColor accent_;
  QString portalFont_;
  QFont usualFont_;  // the toolkit's own
  QFileSystemWatcher* watcher_ = nullptr;
  QTimer settled_;
};

/// A whole palette, light or dark; `accent` where the desktop names one.
[[nodiscard]] QPalette desktopPalette(bool isDark, const QColor& accent = {});

/// The palette that a file of KDE's settings ("kdeglobals") describes; what it does not name is
/// light or dark as its window is. Blocks; any thread.
[[nodiscard]] QPalette paletteOfKDE(const QString& file);

/// The font that such a file names, or KDE's usual one. Blocks; any thread.
[[nodiscard]] QFont fontOfKDE(const QString& file);

/// The font in words as the desktops of GNOME's kin write it, "Cantarell Bold 11"; nothing where
/// they name none.
[[nodiscard]] std::optional<QFont> fontNamed(const QString& words);

}  // namespace vantorel
