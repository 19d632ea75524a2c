#pragma once

#include <QString>
#include <QWidget>
#include <functional>
#include <optional>

#include "app/history_notice.hpp"
#include "ui/kit/entrance.hpp"
#include "ui/kit/tokens.hpp"

class QAbstractButton;

namespace vantorel {

/// Why something was not done, over the lower edge of the History window: what is listed does not
/// move for it. Read out by screen readers when it comes. Lives on the main thread.
class NoticeBar : public QWidget {
 public:
  explicit NoticeBar(QWidget* parent);

  /// Nothing: it goes.
  void show(const std::optional<HistoryNotice>& notice);

  /// Where its lower edge is, in the parent.
  void setBottom(int bottom);

  std::function<void()> onHidden;  ///< its button was pressed

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void place();
  [[nodiscard]] QRect placed(const QRect& area) const;  ///< mirrored with the window

  QAbstractButton* hide_;
  QString text_;
  QRect words_;
  int bottom_ = 0;
  Entrance entrance_{tokens::barTime, [this] { place(); }};
};

}  // namespace vantorel
