#pragma once

#include <QWidget>
#include <string>
#include <vector>

class QPainter;

namespace vantorel {

/// Names of keys that are pressed together: "Ctrl", "Print".
using KeyCapNames = std::vector<std::string>;

/// How wide they are in a row, parted by "+".
[[nodiscard]] int keyCapsWidth(const KeyCapNames& caps);

/// The height of one.
[[nodiscard]] int keyCapHeight();

/// Paints them from the left edge of `area` on (in a mirrored layout: from the right), in its
/// middle.
void paintKeyCaps(QPainter& painter, const QRect& area, const KeyCapNames& caps,
                  const QWidget& widget);

/// Keys as they are drawn on keyboards; several ways stand side by side, parted by "or". Lives on
/// the main thread.
class KeyCaps : public QWidget {
 public:
  explicit KeyCaps(QWidget* parent = nullptr);

  /// Without any way it shows `none` instead.
  void setKeys(const std::vector<KeyCapNames>& ways, const QString& none);

  /// "Ctrl+Print or F9".
  [[nodiscard]] QString words() const;

  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  std::vector<KeyCapNames> ways_;
  QString none_;
};

}  // namespace vantorel
