#pragma once

#include <QTimer>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "app/card_stack.hpp"
#include "platform/native_windows.hpp"
#include "ui/kit/input_grab.hpp"

class QScreen;

namespace vantorel {

class CardCapsule;
class CardDrawer;
class CardScanning;
class CardWindow;

/// The windows of the cards on all displays: who is where, the drawer beside one of them, and the
/// keyboard. Lives on the main thread; the stack must outlive it.
class CardWindows {
 public:
  CardWindows(CardStack& stack, std::shared_ptr<NativeWindows> native);
  ~CardWindows();

  /// Gives the keyboard to the newest card. False when there is no capture to make one of.
  bool takeKeyboard();

  /// What asks for many things of them at once may come from within one of their own events.
  void hideAll();

 private:
  void arrange();
  void arrangeScanning();
  [[nodiscard]] QRect workAreaOf(const QScreen& screen) const;
  CardWindow* makeWindow(const Card& card);
  [[nodiscard]] QScreen* screenOf(const Card& card) const;
  [[nodiscard]] CardWindow* windowOf(std::uint64_t number) const;

  void pointed(std::uint64_t number, bool isInside);
  void drawerPointed(bool isInside);
  void updateHeld();
  void openDrawer(std::uint64_t number, bool withKeyboard);
  void placeDrawer();
  void closeDrawer();

  void focus(std::uint64_t number);
  void moveFocus(std::uint64_t from, int step);
  void giveFocusBack();
  [[nodiscard]] bool isOfCards(WindowID window) const;

  CardStack& stack_;
  std::shared_ptr<NativeWindows> native_;
  std::map<std::uint64_t, std::unique_ptr<CardWindow>> windows_;
  std::map<std::uint64_t, QScreen*> screens_;  ///< where each card is
  std::vector<std::unique_ptr<CardWindow>> leaving_;
  std::map<QScreen*, std::unique_ptr<CardCapsule>> capsules_;
  std::unique_ptr<CardScanning> scanning_;
  std::unique_ptr<CardDrawer> drawer_;
  std::optional<std::uint64_t> pointedCard_;
  bool isDrawerPointed_ = false;
  std::optional<std::uint64_t> focused_;
  InputGrab grab_;  ///< of its window
  Observation presses_;
  QTimer opening_;  ///< of the drawer
  QTimer closing_;
  QTimer arranging_;
  Observation observation_;
};

}  // namespace vantorel
