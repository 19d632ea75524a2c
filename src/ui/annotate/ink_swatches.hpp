#pragma once

#include <QColor>
#include <QString>
#include <QWidget>
#include <functional>
#include <optional>
#include <vector>

class QAbstractButton;
class QButtonGroup;

namespace vantorel {

/// A row of round colors, of which one is on; behind them, where there is a picker, any other one.
/// Radio buttons to screen readers. Lives on the main thread.
class InkSwatches : public QWidget {
 public:
  /// `last` shows what is none of the others, and opens the picker.
  enum class Last { none, custom };

  explicit InkSwatches(const QString& name, Last last, QWidget* parent = nullptr);

  /// The nine fixed ones, which the keys 1 to 9 give as well.
  void setFixedColors();
  void setColors(const std::vector<QString>& colors);

  /// Rings one of them; one that is none of them is shown by the last, and an empty one by none.
  /// Without a color there are several.
  void setCurrent(const std::optional<QString>& color);

  std::function<void(const QString& color)> onPicked;
  /// Opens the picker at the last cell, with the color that is shown.
  std::function<void(QWidget* cell, const QString& color)> onCustom;

  /// What the rings reach over the row on each side, in px.
  static constexpr int outset = 4;

  [[nodiscard]] bool hasHeightForWidth() const override { return true; }
  [[nodiscard]] int heightForWidth(int width) const override;
  [[nodiscard]] QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  bool event(QEvent* event) override;

 private:
  class Cell;

  void addCell(const QString& color, const QString& name, const QString& toolTip);
  void place();
  [[nodiscard]] int columnsAt(int width) const;
  [[nodiscard]] int count() const;
  /// Whether the last one shows a color of its own.
  [[nodiscard]] bool isOwn() const;
  void paintCustom(class QPainter& painter, const QRectF& area) const;

  QString name_;
  std::vector<QString> colors_;
  std::vector<Cell*> cells_;
  QAbstractButton* custom_ = nullptr;
  QButtonGroup* group_;
  std::optional<QString> current_;
  bool isMixed_ = false;
};

/// What a color is called: one of the nine, or as it is written.
[[nodiscard]] QString inkName(const QString& color);

/// A round patch of color with the line that sets it off from its ground.
void paintInk(class QPainter& painter, const QRectF& area, const QColor& color,
              const QPalette& palette);

}  // namespace vantorel
