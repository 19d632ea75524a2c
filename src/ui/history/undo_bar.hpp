#pragma once

#include <QBasicTimer>
#include <QWidget>
#include <memory>

#include "app/history_model.hpp"
#include "ui/kit/entrance.hpp"
#include "ui/kit/tokens.hpp"

class QPushButton;

namespace vantorel {

/// What was deleted and can be had back, with the time that is left, over the lower edge of the
/// History window. Lives on the main thread.
class UndoBar : public QWidget {
 public:
  UndoBar(std::shared_ptr<HistoryModel> model, QWidget* parent);

  /// Shows, changes or hides itself, and finds its place.
  void refresh();

  /// Where its lower edge is, in the parent.
  void setBottom(int bottom);

  /// How high it is without its shadow, in px.
  [[nodiscard]] static int barHeight();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void timerEvent(QTimerEvent* event) override;

 private:
  void place();
  [[nodiscard]] QRectF panel() const;
  [[nodiscard]] QRect placed(const QRect& area) const;  ///< mirrored with the window

  std::shared_ptr<HistoryModel> model_;
  QPushButton* undo_;
  QString text_;
  int textWidth_ = 0;
  QBasicTimer timer_;
  int bottom_ = 0;
  Entrance entrance_{tokens::barTime, [this] { place(); }};
};

}  // namespace vantorel
