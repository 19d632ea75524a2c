#pragma once

#include <QColor>
#include <functional>
#include <string>

#include "ui/annotate/edit_step.hpp"
#include "ui/annotate/popover.hpp"

class QLineEdit;
class QSlider;

namespace vantorel {

/// Any opaque color, by hand or as it is written. All that is tried in it is one step to undo.
/// Lives on the main thread.
class ColorPopover : public Popover {
 public:
  /// Shows it by `anchor`. `step` is what the change is called in the undo menu; `picked` is called
  /// with "#rrggbb" at each change.
  static void open(const std::shared_ptr<EditorModel>& model, const std::string& step,
                   QWidget* anchor, const QString& color,
                   std::function<void(const std::string& color)> picked);

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  class Field;
  class Hue;

  ColorPopover(const std::shared_ptr<EditorModel>& model, const std::string& step, QWidget* anchor,
               const QColor& color, std::function<void(const std::string&)> picked);

  enum class Source { field, hue, text, sample };
  void take(const QColor& color, Source source);

  EditStep step_;
  std::function<void(const std::string&)> picked_;
  Field* field_;
  Hue* hue_;
  QLineEdit* text_;
  QString last_;
};

/// The opaque color that `text` writes, "#fff" and "1b1e28" too; not valid where it is none.
[[nodiscard]] QColor writtenColor(const QString& text);

}  // namespace vantorel
