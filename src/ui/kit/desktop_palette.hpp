#pragma once

#include <QDBusMessage>
#include <QObject>

namespace vantorel {

/// Colors the toolkit's windows light or dark as the desktop's portal says, now and at each change.
/// KDE's own colors the toolkit knows by itself. Without a portal all stays light. Lives on the
/// main thread.
class DesktopPalette : public QObject {
  Q_OBJECT

 public:
  ~DesktopPalette() override;

  /// From now on; asks the portal without waiting. Once is enough.
  void follow();

 private Q_SLOTS:
  void settingChanged(const QDBusMessage& change);

 private:
  bool isFollowing_ = false;
};

}  // namespace vantorel
