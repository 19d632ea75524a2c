#pragma once

#include <QWidget>
#include <cstdint>
#include <functional>
#include <string>

#include "app/shortcut_recorder.hpp"

namespace vantorel {

/// The symbol that a hardware key writes without modifiers; 0 when not known. See
/// `NativeWindows::plainSymbol`.
using PlainSymbol = std::function<std::uint32_t(std::uint32_t hardwareKey)>;

/// A field in which a key is recorded: it has the keyboard to itself while it listens, so that keys
/// that other programs hold arrive here. Lives on the main thread.
class ShortcutField : public QWidget {
 public:
  ShortcutField(ShortcutRecorder& recorder, std::string setting, PlainSymbol plainSymbol,
                QWidget* parent = nullptr);
  ~ShortcutField() override;

  void setField(const ShortcutRecorder::Field& field);

  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

 protected:
  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;

 private:
  ShortcutRecorder& recorder_;
  std::string setting_;
  PlainSymbol plainSymbol_;
  ShortcutRecorder::Field field_;
};

}  // namespace vantorel
