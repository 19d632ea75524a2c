#pragma once

#include <QString>
#include <QWidget>
#include <functional>
#include <optional>
#include <vector>

#include "ui/kit/icons.hpp"

class QAbstractButton;
class QButtonGroup;

namespace vantorel {

/// A few choices side by side, of which one is on: radio buttons to screen readers, arrows move
/// between them.
class SegmentedControl : public QWidget {
 public:
  struct Segment {
    QString label;  ///< the accessible name where there is an icon
    QString toolTip;
    std::optional<IconName> icon;
  };

  explicit SegmentedControl(std::vector<Segment> segments, QWidget* parent = nullptr);

  [[nodiscard]] int current() const;
  /// Does not call `onChosen`.
  void setCurrent(int index);
  void setSegmentEnabled(int index, bool isEnabled, const QString& toolTip);

  /// Called with the index when the user chooses another one.
  void onChosen(std::function<void(int index)> chosen) { chosen_ = std::move(chosen); }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QButtonGroup* group_;
  std::function<void(int)> chosen_;
};

}  // namespace vantorel
