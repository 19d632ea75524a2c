#pragma once

#include <QString>
#include <QWidget>
#include <functional>

class QLabel;
class QPushButton;
class QToolButton;

namespace vantorel {

/// One sentence across a window with one action or none, and a button that puts it away. Read out
/// by screen readers when it comes. Lives on the main thread.
class MessageBand : public QWidget {
 public:
  explicit MessageBand(QWidget* parent = nullptr);

  void show(const QString& sentence, const QString& actionLabel, std::function<void()> action);
  [[nodiscard]] QString sentence() const;

  /// What the button that puts it away is called, where "Hide" is the action's name, and its key.
  void setClosing(const QString& name, const QString& key);

  std::function<void()> onClosed;  ///< by its button

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QLabel* sentence_;
  QPushButton* action_;
  QToolButton* close_;
  std::function<void()> onAction_;
};

}  // namespace vantorel
