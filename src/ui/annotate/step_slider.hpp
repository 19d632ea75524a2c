#pragma once

#include <QString>
#include <QWidget>
#include <functional>
#include <optional>
#include <string>

#include "ui/annotate/edit_step.hpp"

class QSlider;

namespace vantorel {

class RoleLabel;

/// A slider with its value beside it. What is changed between its press and its release, or while a
/// key is held, is one step to undo. Lives on the main thread.
class StepSlider : public QWidget {
 public:
  struct Range {
    double least = 0;
    double most = 1;
    double step = 0.01;
    double page = 0.1;
  };

  /// `step` is what the change is called in the undo menu.
  StepSlider(std::shared_ptr<EditorModel> model, const QString& name, const std::string& step,
             Range range, QWidget* parent = nullptr);

  /// A value, or that there are several. Not while it is held.
  void show(std::optional<double> value);

  std::function<void(double)> onMoved;
  std::function<QString(double)> words = [](double value) { return QString::number(value); };

  [[nodiscard]] QSlider* slider() const { return slider_; }
  [[nodiscard]] QSize sizeHint() const override;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void moved(int position);
  void writeWords(std::optional<double> value);
  [[nodiscard]] int positionOf(double value) const;

  Range range_;
  QSlider* slider_;
  RoleLabel* words_;
  EditStep step_;
};

}  // namespace vantorel
