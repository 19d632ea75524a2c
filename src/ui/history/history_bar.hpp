#pragma once

#include <QWidget>
#include <functional>
#include <memory>

#include "app/history_model.hpp"

class QMenu;
class QToolButton;

namespace vantorel {

class HistorySearchField;
class SegmentedControl;

/// The bar above the captures: what is searched, by which filters, and how it is shown. Lives on
/// the main thread.
class HistoryBar : public QWidget {
 public:
  HistoryBar(std::shared_ptr<HistoryModel> model, QWidget* parent);

  [[nodiscard]] HistorySearchField& search() { return *search_; }

  /// Takes up the model's query.
  void refresh();

  /// Without the filter's label.
  void setNarrow(bool isNarrow);
  void setMode(int mode);

  std::function<void()> onSidebar;
  std::function<void(int mode)> onMode;

  /// Below the button that has the rest.
  std::function<void(const QPoint& global)> onMore;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void showFilters();
  void fillKinds(QMenu& menu);
  void fillApplications(QMenu& menu);
  void fillDates(QMenu& menu);
  void addChoice(QMenu& menu, const QString& label, bool isOn,
                 std::function<void(HistoryQuery&)> change);

  std::shared_ptr<HistoryModel> model_;
  HistorySearchField* search_;
  QToolButton* filter_;
  SegmentedControl* modes_;
};

}  // namespace vantorel
