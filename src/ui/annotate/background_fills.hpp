#pragma once

#include <QWidget>
#include <functional>
#include <string>

#include "editor/records/background_spec.hpp"

class QButtonGroup;

namespace vantorel {

/// The fills of a background in two rows: none, one color, and the gradients. Radio buttons to
/// screen readers. Lives on the main thread.
class BackgroundFills : public QWidget {
 public:
  explicit BackgroundFills(QWidget* parent = nullptr);

  /// `solid` is what the one color is now. A gradient that is not offered is shown by none.
  void setCurrent(const BackgroundFill& fill, const std::string& solid);

  std::function<void(const BackgroundFill& fill)> onPicked;

  /// What the rings reach over the row on each side, in px.
  static constexpr int outset = 4;

  [[nodiscard]] QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  bool event(QEvent* event) override;

 private:
  void place();
  [[nodiscard]] BackgroundFill fillOf(int index) const;

  QButtonGroup* group_;
  std::string solid_ = "#007aff";
};

}  // namespace vantorel
