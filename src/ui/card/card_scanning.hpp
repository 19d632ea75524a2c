#pragma once

#include <QBasicTimer>
#include <string>

#include "ui/kit/floating_surface.hpp"

namespace vantorel {

/// "Scanning for sensitive text": stands where the card of a capture will be that is looked through
/// before anything of it is shown. Lets clicks through. Lives on the main thread.
class CardScanning : public FloatingSurface {
 public:
  explicit CardScanning(std::shared_ptr<NativeWindows> native);

  void setWords(const std::string& words);

  /// What the words and the turning ring take.
  [[nodiscard]] QSize panelSize() const;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void timerEvent(QTimerEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  QString words_;
  QBasicTimer timer_;
  int angle_ = 0;  ///< degrees
};

}  // namespace vantorel
