#pragma once

#include <QAbstractButton>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/observers.hpp"
#include "ui/annotate/annotate_inspector.hpp"
#include "ui/testing/ui_test_case.hpp"

namespace vantorel {

/// An inspector beside a piece of canvas, of an editor of 800 by 600 pixels. What hands do is over
/// when the toolkit has heard of it, so that nothing has to be waited for.
class InspectorTestCase : public UiTestCase {
 protected:
  InspectorTestCase();
  ~InspectorTestCase() override;

  void start(EditorDocument document = {});

  /// Whether it has the focus and the toolkit knows where the window manager has put it. The
  /// frame's size does not tell: once asked for, it may stay as it was before there was a frame.
  [[nodiscard]] bool isInPlace(const QWidget& shown);

  /// Brings what is asked for to the server, handles what comes back, and shows what the inspector
  /// would show some time later.
  void settle();

  void movePointer(QPoint to);
  void press(int button = 1);
  void release(int button = 1);
  void click(QPoint at, int button = 1);
  void strike(std::uint32_t keysym);

  /// Where pictures are kept.
  void keepPicture(const std::string& name);

  /// Of three layers, the capture lowest.
  [[nodiscard]] static EditorDocument layered();
  [[nodiscard]] static EditorDocument arrows(int count);

  [[nodiscard]] std::vector<std::string> order() const;

  /// The visible child of that accessible name.
  template <class Child = QAbstractButton>
  Child* named(const char* name, QWidget* in = nullptr) {
    for (Child* const child : (in != nullptr ? in : window.get())->findChildren<Child*>()) {
      if (child->accessibleName() == QString::fromUtf8(name) && child->isVisible()) return child;
    }
    ADD_FAILURE() << "no " << name;
    return nullptr;
  }

  [[nodiscard]] static QPoint middleOf(const QWidget& widget) {
    return widget.mapToGlobal(widget.rect().center());
  }

  void clickOn(QWidget* widget, int button = 1);
  void openSection(const char* title);

  Observers<> changes;
  std::shared_ptr<EditorModel> editor;
  InspectedEditor inspection;
  std::vector<std::string> reports;
  std::vector<std::string> missing;
  std::vector<std::string> oversized;
  std::string copied;
  int timesAdding = 0;
  std::unique_ptr<QWidget> window;
  QWidget* canvas = nullptr;
  AnnotateInspector* inspector = nullptr;

 private:
  class HeardInput;

  void fake(int type, int detail, QPoint at = {});

  std::unique_ptr<HeardInput> heard_;
};

}  // namespace vantorel
