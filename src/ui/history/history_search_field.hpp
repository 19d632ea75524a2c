#pragma once

#include <QLineEdit>
#include <functional>
#include <vector>

#include "library/history_query.hpp"

namespace vantorel {

class FilterChip;

/// The field that captures are searched in: its text, and before it a chip for each filter. Lives
/// on the main thread.
class HistorySearchField : public QLineEdit {
 public:
  explicit HistorySearchField(QWidget* parent = nullptr);

  /// Takes up the query's words and filters; nobody is told of it.
  void show(const HistoryQuery& query);
  /// Whether a change of the text comes from that.
  [[nodiscard]] bool isShowing() const { return isShowing_; }

  /// A filter is to go: its chip was clicked, or Backspace was struck before the text.
  std::function<void(HistoryFilter)> onRemoved;

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  struct Chip {
    HistoryFilter filter = HistoryFilter::kind;
    QString label;
    FilterChip* button = nullptr;
  };
  void arrange();
  void remove(HistoryFilter filter);

  std::vector<Chip> chips_;
  bool isShowing_ = false;
};

}  // namespace vantorel
