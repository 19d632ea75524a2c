#pragma once

#include <QColor>
#include <QDBusMessage>
#include <QFileSystemWatcher>
#include <QFont>
#include <QObject>
#include <QPalette>
#include <QTimer>

namespace vantorel {

/// Colors and writes the toolkit's windows as the desktop does, now and at each change: light or
/// dark, accent and font as the desktop's portal says; on KDE all colors and the font of its own
/// settings, which the toolkit reads only at the start. Without either all stays light. One for
/// the application, made with the first window. Lives on the main thread.
class DesktopPalette : public QObject {
  Q_OBJECT

 public:
  /// From now on; asks without waiting. Once is enough.
  static void follow();

  ~DesktopPalette() override;

 private Q_SLOTS:
  void settingChanged(const QDBusMessage& change);

 private:
  explicit DesktopPalette(QObject* application);

  void followPortal();
  void ask(const char* space, const char* key);
  void take(const QString& space, const QString& key, QVariant value);

  void followSettingsOfKDE();
  void readSettingsOfKDE();

  bool isDark_ = false;
  QColor accent_;
  QFileSystemWatcher* watcher_ = nullptr;
  QTimer settled_;
};

/// A whole palette, light or dark; `accent` where the desktop names one.
[[nodiscard]] QPalette desktopPalette(bool isDark, const QColor& accent = {});

/// The palette that a file of KDE's settings ("kdeglobals") describes; what it does not name is
/// light or dark as its window is. Blocks; any thread.
[[nodiscard]] QPalette paletteOfKDE(const QString& file);

/// The font in words as the desktops of GNOME's kin write it, "Cantarell Bold 11"; the
/// application's own where there are none.
[[nodiscard]] QFont fontNamed(const QString& words);

}  // namespace vantorel
