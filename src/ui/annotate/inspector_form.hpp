#pragma once

#include <QWidget>
#include <vector>

namespace vantorel {

class RoleLabel;

/// Rows of the inspector: a quiet label and what it names, or something over the whole width. Rows
/// come and go; labels that would leave too little room stand above what they name. Lives on the
/// main thread.
class InspectorForm : public QWidget {
 public:
  explicit InspectorForm(QWidget* parent = nullptr);

  /// Takes the field, which is named by the label for screen readers unless it has a name.
  /// Beside a field whose policy is `Minimum` the label has no more room than that leaves.
  /// `outset`, so many px does the field reach over its room on both sides.
  void addRow(const QString& label, QWidget* field, int outset = 0);
  /// Without a label.
  void addWide(QWidget* field, int outset = 0);

  void setRowVisible(QWidget* field, bool isVisible);
  /// Marks a row whose shapes differ with "–".
  void setRowMixed(QWidget* field, bool isMixed);
  /// Turns a row off, with the reason as its tooltip; on with none.
  void setRowOff(QWidget* field, const QString& reason);
  [[nodiscard]] bool isEmpty() const;

 protected:
  bool event(QEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  struct Row {
    RoleLabel* label = nullptr;
    QString words;
    QWidget* field = nullptr;
    int outset = 0;
    bool isVisible = true;
  };

  /// Gives every row its place, and itself the height they take.
  void layOut();
  [[nodiscard]] int labelWidth() const;
  [[nodiscard]] Row* rowOf(const QWidget* field);

  std::vector<Row> rows_;
};

}  // namespace vantorel
