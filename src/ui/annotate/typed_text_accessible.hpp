#pragma once

#include <QString>

#include "ui/kit/accessible_item.hpp"

namespace vantorel {

class AnnotateCanvas;

/// The text that is typed on the canvas, as screen readers see it: its letters, the caret and what
/// is marked. What an input method composes is not part of it yet. Places are UTF-16 units of the
/// text, as the toolkit counts. Not valid while nothing is typed.
class TypedTextAccessible : public AccessibleItem,
                            public QAccessibleTextInterface,
                            public QAccessibleEditableTextInterface {
 public:
  TypedTextAccessible(QAccessibleInterface& whole, AnnotateCanvas& canvas)
      : AccessibleItem(whole), canvas_(canvas) {}

  /// What hands an event to screen readers.
  using Tell = void (*)(QAccessibleEvent* event);

  /// Tells them what is other than it was when they were told last.
  void announce(Tell tell);

  [[nodiscard]] bool isValid() const override;
  [[nodiscard]] QString text(QAccessible::Text what) const override;
  [[nodiscard]] QRect rect() const override;
  [[nodiscard]] QAccessible::Role role() const override { return QAccessible::EditableText; }
  [[nodiscard]] QAccessible::State state() const override;
  void* interface_cast(QAccessible::InterfaceType type) override;

  void selection(int index, int* from, int* to) const override;
  [[nodiscard]] int selectionCount() const override;
  void addSelection(int from, int to) override { select(from, to); }
  void removeSelection(int index) override;
  void setSelection(int index, int from, int to) override;
  [[nodiscard]] int cursorPosition() const override;
  void setCursorPosition(int position) override { select(position, position); }
  [[nodiscard]] QString text(int from, int to) const override;
  [[nodiscard]] int characterCount() const override;
  [[nodiscard]] QRect characterRect(int offset) const override;
  [[nodiscard]] int offsetAtPoint(const QPoint& point) const override;
  void scrollToSubstring(int, int) override {}
  QString attributes(int offset, int* from, int* to) const override;

  void deleteText(int from, int to) override { replaceText(from, to, {}); }
  void insertText(int at, const QString& text) override { replaceText(at, at, text); }
  void replaceText(int from, int to, const QString& text) override;

 private:
  struct Told {
    QString text;
    int caret = 0;
    int anchor = 0;
  };
  [[nodiscard]] QString all() const;
  [[nodiscard]] Told now() const;
  [[nodiscard]] std::size_t bytesBefore(int offset) const;
  void select(int from, int to);
  void announceLetters(const QString& before, const QString& after, Tell tell);

  AnnotateCanvas& canvas_;
  bool isTold_ = false;
  Told told_;
};

}  // namespace vantorel
