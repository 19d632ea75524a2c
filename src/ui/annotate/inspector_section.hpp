#pragma once

#include <QWidget>
#include <functional>

class QBoxLayout;

namespace vantorel {

/// A part of the inspector below its title, which folds it away. What is folded stays so until the
/// program ends. Lives on the main thread.
class InspectorSection : public QWidget {
 public:
  /// `key` is what it is remembered by; `isOpen` is how it begins.
  InspectorSection(const QString& key, bool isOpen, QWidget* parent = nullptr);

  void setTitle(const QString& title);
  [[nodiscard]] QString title() const;

  /// At the end of the title's line: a button, or words that are shown while it is folded.
  void setTrailing(QWidget* trailing);
  void setFoldedWords(const QString& words);

  /// Below what is there already.
  void addContent(QWidget* content);

  /// Gives what it holds its place at once, instead of with the next turns of the loop.
  void settle();

  [[nodiscard]] bool isOpen() const { return isOpen_; }
  void setOpen(bool isOpen);
  std::function<void()> onUnfolded;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  class Header;

  QString key_;
  Header* header_;
  QWidget* body_;
  QBoxLayout* content_;
  bool isOpen_;
};

}  // namespace vantorel
