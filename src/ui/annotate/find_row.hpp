#pragma once

#include <QCheckBox>
#include <QString>
#include <functional>

namespace vantorel {

/// What a line of Smart Redact's finds shows.
struct FindLine {
  QString words;
  QString number;  ///< at its end: how many there are; may be empty
  Qt::CheckState state = Qt::Checked;
  bool isPart = false;    ///< one find, below its kind
  bool isFolded = false;  ///< of a kind: its finds are not listed

  bool operator==(const FindLine&) const = default;
};

/// A kind of finds, or one of them: a check, what it is and how many. All of a kind's line checks
/// it, but for the arrow at its end, which lists its finds. Lives on the main thread.
class FindRow : public QCheckBox {
 public:
  explicit FindRow(QWidget* parent);

  void show(const FindLine& line);
  [[nodiscard]] const FindLine& line() const { return line_; }

  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

  std::function<void(bool isChosen)> onChosen;
  std::function<void(bool isFolded)> onFolded;  ///< of a kind
  /// The pointer or the keyboard has come to it, or gone.
  std::function<void(bool isPointed)> onPointed;

 protected:
  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  [[nodiscard]] bool hitButton(const QPoint& at) const override;
  void nextCheckState() override;
  void mousePressEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  [[nodiscard]] QRect arrowArea() const;
  [[nodiscard]] QRect placed(const QRect& area) const;
  void fold(bool isFolded);

  FindLine line_;
};

}  // namespace vantorel
