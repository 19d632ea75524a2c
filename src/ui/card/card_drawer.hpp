#pragma once

#include <QAbstractButton>
#include <functional>
#include <memory>
#include <vector>

#include "app/card_stack.hpp"
#include "ui/kit/floating_surface.hpp"

namespace vantorel {

class DrawerCell;

/// The rows beside a card: its formats with what each would weigh, Compress, Redact and Copy
/// Text. Lives on the main thread.
class CardDrawer : public FloatingSurface {
 public:
  CardDrawer(CardStack& stack, std::uint64_t number, std::shared_ptr<NativeWindows> native,
             std::function<void(bool isInside)> pointed, std::function<void()> closed);
  ~CardDrawer() override;

  [[nodiscard]] std::uint64_t number() const { return number_; }

  /// Takes over what the rows have become.
  void refresh();

  /// The panel's size for what it shows now.
  [[nodiscard]] QSize panelSize() const;

  /// The keys are for its rows, or no longer.
  void setKeyboard(bool hasKeyboard);
  /// True when the key was for it.
  bool press(int key);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void enterEvent(QEnterEvent* event) override;
  void leaveEvent(QEvent* event) override;

 private:
  [[nodiscard]] int columns() const;
  [[nodiscard]] int cellHeight() const;
  [[nodiscard]] static int rowHeight(const DrawerCell& row);
  [[nodiscard]] int labelHeight() const;
  /// Those below the formats that are shown, from the top.
  [[nodiscard]] std::vector<DrawerCell*> shownRows() const;
  void layOut();

  CardStack& stack_;
  std::uint64_t number_;
  std::function<void(bool)> pointed_;
  std::function<void()> closed_;
  CardRows rows_;
  std::vector<DrawerCell*> formats_;
  DrawerCell* compress_;
  DrawerCell* redact_;
  DrawerCell* copyText_;
  int current_ = -1;  ///< of all that are shown; none without the keyboard
};

}  // namespace vantorel
