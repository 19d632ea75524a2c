#pragma once

#include <QString>
#include <QWidget>
#include <functional>
#include <optional>
#include <vector>

#include "ui/kit/icons.hpp"

class QBoxLayout;
class QButtonGroup;
class QPainter;

namespace vantorel {

/// A few choices side by side, of which one is on: radio buttons to screen readers, arrows move
/// between them. Where the words have no room beside each other they stand below each other. Lives
/// on the main thread.
class SegmentedControl : public QWidget {
 public:
  /// Paints a choice's picture into the middle of `area`.
  using Picture = std::function<void(QPainter& painter, const QRectF& area, const QColor& ink)>;

  struct Segment {
    QString label;  ///< the accessible name where there is an icon or a picture
    QString toolTip;
    std::optional<IconName> icon;
    Picture picture{};
  };

  /// `small` is for inspectors and bars.
  enum class Size { usual, small };

  explicit SegmentedControl(std::vector<Segment> segments, QWidget* parent = nullptr,
                            Size size = Size::usual);

  [[nodiscard]] int current() const;
  /// None is on at -1. Does not call `onChosen`.
  void setCurrent(int index);
  void setSegmentEnabled(int index, bool isEnabled, const QString& toolTip);

  /// Called with the index when the user chooses another one.
  void onChosen(std::function<void(int index)> chosen) { chosen_ = std::move(chosen); }

  /// Of a small one, whose words may stand below each other.
  [[nodiscard]] int heightForWidth(int width) const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  [[nodiscard]] bool fitsInRow(int width) const;

  QBoxLayout* row_;
  QButtonGroup* group_;
  std::function<void(int)> chosen_;
};

}  // namespace vantorel
