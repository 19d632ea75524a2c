#include "ui/card/card_windows.hpp"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <algorithm>
#include <ranges>
#include <utility>

#include "base/log.hpp"
#include "ui/card/card_capsule.hpp"
#include "ui/card/card_drawer.hpp"
#include "ui/card/card_layout.hpp"
#include "ui/card/card_scanning.hpp"
#include "ui/card/card_window.hpp"
#include "ui/kit/screen_pixels.hpp"

namespace vantorel {
namespace {

constexpr int drawerDelay = 200;  // ms
constexpr int drawerGrace = 350;  // ms, for the way across the gap

}  // namespace

CardWindows::CardWindows(CardStack& stack, std::shared_ptr<NativeWindows> native)
    : stack_(stack),
      native_(std::move(native)),
      grab_(native_, InputGrab::Wants::keyboard, [this](InputGrab::Missing) {
        logInfo("Card", "another program holds the keyboard");
        giveFocusBack();
      }) {
  opening_.setSingleShot(true);
  opening_.setInterval(drawerDelay);
  QObject::connect(&opening_, &QTimer::timeout, [this] {
    const auto wanted = pointedCard_ ? pointedCard_ : focused_;
    if (wanted) openDrawer(*wanted, false);
  });
  closing_.setSingleShot(true);
  closing_.setInterval(drawerGrace);
  QObject::connect(&closing_, &QTimer::timeout, [this] {
    const bool isWanted = isDrawerPointed_ || (drawer_ && pointedCard_ == drawer_->number());
    if (!isWanted && !focused_) closeDrawer();
    updateHeld();
  });
  arranging_.setSingleShot(true);
  arranging_.setInterval(0);
  QObject::connect(&arranging_, &QTimer::timeout, [this] { arrange(); });
  const auto rearrange = [this] { arranging_.start(); };
  const auto follow = [this, rearrange](QScreen* screen) {
    QObject::connect(screen, &QScreen::availableGeometryChanged, &arranging_, rearrange);
  };
  for (QScreen* const screen : QGuiApplication::screens()) follow(screen);
  QObject::connect(qGuiApp, &QGuiApplication::screenAdded, &arranging_,
                   [follow, rearrange](QScreen* screen) {
                     follow(screen);
                     rearrange();
                   });
  QObject::connect(qGuiApp, &QGuiApplication::screenRemoved, &arranging_, rearrange);
  QObject::connect(qGuiApp, &QGuiApplication::primaryScreenChanged, &arranging_, rearrange);
  // Posted: what changes the stack may be one of these windows, in an event of its own.
  observation_ = stack_.observe([this] { arranging_.start(); });
}

CardWindows::~CardWindows() { hideAll(); }

void CardWindows::hideAll() {
  closeDrawer();
  giveFocusBack();
  windows_.clear();
  leaving_.clear();
  capsules_.clear();
  scanning_.reset();
}

CardWindow* CardWindows::windowOf(std::uint64_t number) const {
  const auto found = windows_.find(number);
  return found == windows_.end() ? nullptr : found->second.get();
}

/// Where the capture was made, or where the pointer is.
QScreen* CardWindows::screenOf(const Card& card) const {
  const QList<QScreen*> all = QGuiApplication::screens();
  if (const auto known = screens_.find(card.number);
      known != screens_.end() && all.contains(known->second)) {
    return known->second;
  }
  QScreen* best = nullptr;
  qint64 most = 0;
  const QRect shown(card.shown.x, card.shown.y, card.shown.width, card.shown.height);
  for (QScreen* const screen : all) {
    const QRect common = screen_pixels::areaOf(*screen) & shown;
    const qint64 size = common.isEmpty() ? 0 : qint64{common.width()} * common.height();
    if (size > most) {
      best = screen;
      most = size;
    }
  }
  if (best == nullptr) best = QGuiApplication::screenAt(QCursor::pos());
  return best != nullptr ? best : QGuiApplication::primaryScreen();
}

CardWindow* CardWindows::makeWindow(const Card& card) {
  CardWindow::Neighbours neighbours{
      .pointed = [this](CardWindow& window, bool isInside) { pointed(window.number(), isInside); },
      .moveFocus = [this](CardWindow& window, int step) { moveFocus(window.number(), step); },
      .giveFocusBack = [this] { giveFocusBack(); },
      .openDrawer = [this](CardWindow& window) { openDrawer(window.number(), true); },
      .isLeft = [this] { return stack_.side() == OverlayPosition::left; },
      .drawerKey =
          [this](int key) { return drawer_ != nullptr && focused_ && drawer_->press(key); }};
  std::unique_ptr<CardWindow>& window = windows_[card.number];
  window = std::make_unique<CardWindow>(stack_, card.number, native_, std::move(neighbours));
  return window.get();
}

/// What waits to become a card stands below the newest one.
void CardWindows::arrangeScanning() {
  const std::string words = stack_.scanningWords();
  if (words.empty()) return scanning_.reset();
  if (scanning_ == nullptr) scanning_ = std::make_unique<CardScanning>(native_);
  scanning_->setWords(words);
  QScreen* screen = scanning_->isVisible() ? scanning_->screen() : nullptr;
  if (screen == nullptr) screen = QGuiApplication::screenAt(QCursor::pos());
  if (screen == nullptr) screen = QGuiApplication::primaryScreen();
  if (screen == nullptr) return scanning_.reset();
  const QSize size = scanning_->panelSize();
  const QRect area = screen->availableGeometry();
  const bool isLeft = stack_.side() == OverlayPosition::left;
  const int x = isLeft ? area.left() + card_layout::edge
                       : area.right() + 1 - card_layout::edge - size.width();
  scanning_->setPanelGeometry(
      {QPoint(x, area.bottom() + 1 - card_layout::edge - size.height()), size});
  if (!scanning_->isVisible()) scanning_->show();
}

QRect CardWindows::workAreaOf(const QScreen& screen) const {
  QRect area = screen.availableGeometry();
  if (scanning_ != nullptr && scanning_->screen() == &screen) {
    area.setBottom(area.bottom() - scanning_->panelSize().height() - card_layout::gap);
  }
  return area;
}

void CardWindows::arrange() {
  const bool isLeft = stack_.side() == OverlayPosition::left;
  arrangeScanning();
  // Away with those that have gone.
  std::vector<std::uint64_t> gone;
  for (const auto& [number, window] : windows_) {
    if (stack_.find(number) == nullptr) gone.push_back(number);
  }
  std::map<QScreen*, std::vector<const Card*>> byScreen;
  for (const Card& card : stack_.cards()) {
    QScreen* const screen = screenOf(card);
    if (screen == nullptr) return;
    screens_[card.number] = screen;
    byScreen[screen].push_back(&card);
  }
  std::erase_if(screens_, [this](const auto& one) { return stack_.find(one.first) == nullptr; });
  std::map<QScreen*, std::pair<int, QRect>> capsules;
  for (const auto& [screen, cards] : byScreen) {
    QList<int> heights;
    for (const Card* const card : cards) {
      heights.push_back(CardWindow::heightOf(*card));
    }
    const auto placed = [&](int capsuleWidth) {
      return card_layout::arranged(heights, workAreaOf(*screen), isLeft, capsuleWidth);
    };
    auto arrangement = placed(0);
    if (arrangement.more > 0) {
      arrangement = placed(CardCapsule::wantedWidth(arrangement.more));
      capsules[screen] = {arrangement.more, arrangement.capsule};
    }
    for (std::size_t i = 0; i < cards.size(); ++i) {
      const auto index = static_cast<qsizetype>(i);
      CardWindow* window = windowOf(cards[i]->number);
      if (index >= arrangement.cards.size()) {
        if (window != nullptr) gone.push_back(cards[i]->number);
        continue;
      }
      if (window == nullptr) window = makeWindow(*cards[i]);
      window->refresh();
      window->place(arrangement.cards[index]);
    }
  }
  for (const std::uint64_t number : gone) {
    if (pointedCard_ == number) pointedCard_.reset();
    const bool hadKeyboard = focused_ == number;
    auto window = std::move(windows_.extract(number).mapped());
    CardWindow* const leaving = window.get();
    leaving_.push_back(std::move(window));
    leaving->leave([this, leaving] {
      // In an event of its own animation.
      QTimer::singleShot(0, &arranging_, [this, leaving] {
        std::erase_if(leaving_, [leaving](const auto& one) { return one.get() == leaving; });
      });
    });
    if (hadKeyboard) moveFocus(number, 0);
  }
  std::erase_if(capsules_, [&](const auto& one) { return !capsules.contains(one.first); });
  for (const auto& [screen, capsule] : capsules) {
    std::unique_ptr<CardCapsule>& window = capsules_[screen];
    if (window == nullptr) {
      window = std::make_unique<CardCapsule>(native_, [this] { stack_.openHistory(); });
    }
    window->setCount(capsule.first);
    window->setPanelGeometry(capsule.second);
    if (!window->isVisible()) window->show();
  }
  if (drawer_ != nullptr) {
    const Card* const card = stack_.find(drawer_->number());
    if (card == nullptr || windowOf(drawer_->number()) == nullptr || stack_.rows(*card).isEmpty()) {
      closeDrawer();
    } else {
      drawer_->refresh();
      placeDrawer();
    }
  }
  updateHeld();
}

// ---- pointer

void CardWindows::pointed(std::uint64_t number, bool isInside) {
  if (isInside) {
    // Told again and again while buttons come and go under the pointer.
    if (std::exchange(pointedCard_, number) == number) return;
    if (drawer_ == nullptr || drawer_->number() != number) opening_.start();
  } else if (pointedCard_ == number) {
    pointedCard_.reset();
    opening_.stop();
    closing_.start();
  }
  updateHeld();
}

void CardWindows::drawerPointed(bool isInside) {
  isDrawerPointed_ = isInside;
  if (!isInside) closing_.start();
  updateHeld();
}

void CardWindows::updateHeld() {
  stack_.setHeld(pointedCard_.has_value() || isDrawerPointed_ || focused_.has_value());
}

void CardWindows::openDrawer(std::uint64_t number, bool withKeyboard) {
  const Card* const card = stack_.find(number);
  if (card == nullptr || stack_.rows(*card).isEmpty() || windowOf(number) == nullptr) return;
  if (drawer_ == nullptr || drawer_->number() != number) {
    closeDrawer();
    drawer_ = std::make_unique<CardDrawer>(
        stack_, number, native_, [this](bool isInside) { drawerPointed(isInside); },
        [this] {
          // From within one of its own events.
          QTimer::singleShot(0, &arranging_, [this] { closeDrawer(); });
        });
    placeDrawer();
    drawer_->show();
  }
  if (!withKeyboard) return;
  drawer_->setKeyboard(true);
  windowOf(number)->setKeysElsewhere(true);
}

void CardWindows::placeDrawer() {
  const CardWindow* const window = windowOf(drawer_->number());
  const auto screen = screens_.find(drawer_->number());
  if (window == nullptr || screen == screens_.end()) return;
  const QRect panel = card_layout::besideCard(window->restingPanel(), drawer_->panelSize(),
                                              screen->second->availableGeometry(),
                                              stack_.side() == OverlayPosition::left);
  if (drawer_->panelGeometry() != panel) drawer_->setPanelGeometry(panel);
}

void CardWindows::closeDrawer() {
  isDrawerPointed_ = false;
  if (drawer_ == nullptr) return;
  if (CardWindow* const window = windowOf(drawer_->number())) window->setKeysElsewhere(false);
  drawer_.reset();
}

// ---- keyboard

bool CardWindows::takeKeyboard() {
  const auto number = stack_.cardForKeyboard();
  if (!number) return false;
  arrange();
  focus(*number);
  return true;
}

void CardWindows::focus(std::uint64_t number) {
  CardWindow* const window = windowOf(number);
  if (window == nullptr) return;
  if (focused_) {
    grab_.release();
    if (CardWindow* const before = windowOf(*focused_)) before->setKeyboard(false);
    closeDrawer();
  }
  focused_ = number;
  window->setKeyboard(true);
  opening_.start();
  grab_.take(*window->windowHandle());
  // A press elsewhere is meant for what is there, and for the keyboard to go there, too.
  presses_ = native_->observePresses([this](WindowID pressed) {
    if (!isOfCards(pressed)) giveFocusBack();
  });
  updateHeld();
}

void CardWindows::moveFocus(std::uint64_t from, int step) {
  std::vector<std::uint64_t> shown;
  for (const Card& card : stack_.cards()) {
    if (windowOf(card.number) != nullptr) shown.push_back(card.number);
  }
  const auto found = std::ranges::find(shown, from);
  if (found == shown.end()) {
    // Its card has gone: the newest of the others has the keyboard now.
    if (shown.empty()) return giveFocusBack();
    return focus(shown.front());
  }
  const std::ptrdiff_t to = (found - shown.begin()) + step;
  if (to < 0 || to >= std::ssize(shown)) return;
  focus(shown[static_cast<std::size_t>(to)]);
}

void CardWindows::giveFocusBack() {
  if (!focused_) return;
  presses_.end();
  grab_.release();
  if (CardWindow* const window = windowOf(*focused_)) window->setKeyboard(false);
  focused_.reset();
  if (!pointedCard_) opening_.stop();
  if (!isDrawerPointed_) closeDrawer();
  updateHeld();
}

bool CardWindows::isOfCards(WindowID window) const {
  const auto is = [window](const auto& one) {
    return one != nullptr && WindowID{one->winId()} == window;
  };
  return is(drawer_) || std::ranges::any_of(windows_ | std::views::values, is) ||
         std::ranges::any_of(capsules_ | std::views::values, is);
}

}  // namespace vantorel
