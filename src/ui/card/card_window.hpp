#pragma once

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QImage>
#include <QPropertyAnimation>
#include <functional>
#include <memory>
#include <vector>

#include "app/card_stack.hpp"
#include "ui/card/card_painting.hpp"
#include "ui/card/card_press.hpp"
#include "ui/kit/floating_button.hpp"
#include "ui/kit/floating_surface.hpp"

namespace vantorel {

/// The window of one card: its picture, over which its actions come when the pointer or the
/// keyboard is on it; while a deletion can be undone, the bar that does. Lives on the main thread.
class CardWindow : public FloatingSurface {
 public:
  /// What the cards around it do.
  struct Neighbours {
    std::function<void(CardWindow& card, bool isInside)> pointed;
    std::function<void(CardWindow& card, int step)> moveFocus;  ///< 1 is up, to an older one
    std::function<void()> giveFocusBack;
    std::function<void(CardWindow& card)> openDrawer;
    std::function<bool()> isLeft;
    std::function<bool(int key)> drawerKey;  ///< whether the drawer took it
  };

  CardWindow(CardStack& stack, std::uint64_t number, std::shared_ptr<NativeWindows> native,
             Neighbours neighbours);

  [[nodiscard]] std::uint64_t number() const { return number_; }

  /// Takes over what the card has become.
  void refresh();

  [[nodiscard]] static int heightOf(const Card& card);

  /// Shows it there; the first time it slides in from the edge.
  void place(const QRect& panel);
  /// Where it is, or is on its way to.
  [[nodiscard]] QRect restingPanel() const;
  /// Slides it out, and tells `gone`, once.
  void leave(std::function<void()> gone);
  [[nodiscard]] bool isLeaving() const { return gone_ != nullptr; }

  /// Takes keys as a menu does, or gives them back. The window that has the focus keeps it: window
  /// managers take it away from those that float above them.
  void setKeyboard(bool hasKeyboard);

  /// The keys are for the rows beside it: none of its own buttons is the one that Return presses.
  void setKeysElsewhere(bool areElsewhere);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void enterEvent(QEnterEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void timerEvent(QTimerEvent* event) override;

 private:
  struct Button {
    CardAction action;
    FloatingButton* widget;
  };

  [[nodiscard]] const Card* card() const { return stack_.find(number_); }
  [[nodiscard]] bool isTrashed() const;
  [[nodiscard]] bool showsActions() const;
  void perform(CardAction action);
  void saveAs();
  void layOut();
  void updateTimers();
  [[nodiscard]] CardLabel labelOf(const Card& card) const;
  void dragOut();
  void startDrag();

  CardStack& stack_;
  std::uint64_t number_;
  Neighbours neighbours_;
  std::vector<Button> buttons_;
  QImage picture_;                           ///< what the card shows, as it is painted
  const std::uint8_t* pictureOf_ = nullptr;  ///< the pixels it was made from
  FloatingButton* close_;
  QPropertyAnimation motion_;
  std::function<void()> gone_;
  QBasicTimer tick_;  ///< while something moves: busy line, ring of the undo
  QElapsedTimer busySince_;
  int current_ = 2;  ///< the button that Return presses: opening it, at first
  bool isPointed_ = false;
  bool hasKeyboard_ = false;
  bool areKeysElsewhere_ = false;

  // A press under way.
  enum class Press { none, held, waiting, undo };
  Press press_ = Press::none;
  CardPress movement_;
  std::optional<CardStack::Dragged> dragged_;
};

}  // namespace vantorel
