#include "ui/card/card_window.hpp"

#include <QApplication>
#include <QDrag>
#include <QFileDialog>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QStyle>
#include <QTimerEvent>
#include <QUrl>
#include <algorithm>
#include <utility>

#include "ui/card/card_layout.hpp"
#include "ui/card/card_painting.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/picture_save_dialog.hpp"
#include "ui/kit/shared_image.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

using State = Card::State;

constexpr QSize buttonSize(42, 36);
constexpr QColor letterbox(0x15, 0x17, 0x1a);

QString text(const std::string& words) { return QString::fromStdString(words); }

}  // namespace

CardWindow::CardWindow(CardStack& stack, std::uint64_t number,
                       std::shared_ptr<NativeWindows> native, Neighbours neighbours)
    : FloatingSurface(std::move(native), QStringLiteral("Vantorel card")),
      stack_(stack),
      number_(number),
      neighbours_(std::move(neighbours)),
      motion_(this, "pos") {
  setFocusPolicy(Qt::StrongFocus);
  setMouseTracking(true);
  setPanelColor(letterbox);
  const auto add = [&](CardAction action, IconName symbol, const QString& name,
                       const QString& key) {
    auto* const button = new FloatingButton(symbol, name, key, this);
    connect(button, &QAbstractButton::clicked, this, [this, action] { perform(action); });
    buttons_.push_back({action, button});
  };
  const QString open =
      card() != nullptr ? text(CardStack::openLabel(*card())) : QStringLiteral("Annotate");
  add(CardAction::copy, IconName::copy, QStringLiteral("Copy"), QStringLiteral("C"));
  add(CardAction::saveAs, IconName::save, QStringLiteral("Save as"), QStringLiteral("S"));
  add(CardAction::open, open == QLatin1String("Annotate") ? IconName::annotate : IconName::image,
      open, QStringLiteral("E"));
  add(CardAction::pin, IconName::pin, QStringLiteral("Pin"), QStringLiteral("P"));
  add(CardAction::reveal, IconName::reveal, QStringLiteral("Reveal"), QStringLiteral("R"));
  add(CardAction::trash, IconName::trash, QStringLiteral("Move to Trash"), QStringLiteral("Del"));
  close_ = new FloatingButton(IconName::close, QStringLiteral("Close"), {}, this);
  close_->setRound(true);
  connect(close_, &QAbstractButton::clicked, this, [this] { stack_.dismiss(number_); });
  refresh();
}

bool CardWindow::isTrashed() const { return card() != nullptr && card()->state == State::trashed; }

bool CardWindow::showsActions() const {
  return card() != nullptr && !isTrashed() && (isPointed_ || hasKeyboard_);
}

int CardWindow::heightOf(const Card& card) {
  if (card.state == State::trashed) {
    return cardUndoHeight(card, card_layout::width);
  }
  if (!card.picture.isEmpty()) {
    return card_layout::cardHeight({card.picture.width(), card.picture.height()});
  }
  return card_layout::cardHeight(
      {card.entry->pixelWidth.value_or(16), card.entry->pixelHeight.value_or(9)});
}

void CardWindow::refresh() {
  const Card* const shown = card();
  if (shown == nullptr) return;
  if (const auto* const pixels = shown->picture.isEmpty() ? nullptr : shown->picture.row(0).data();
      pixels != pictureOf_) {
    pictureOf_ = pixels;
    // What stands in the place of an opaque picture's alpha means nothing.
    picture_ =
        pixels == nullptr
            ? QImage()
            : sharedImage(shown->picture).convertToFormat(QImage::Format_ARGB32_Premultiplied);
  }
  if (shown->state == State::busy && !busySince_.isValid()) busySince_.start();
  if (shown->state != State::busy) busySince_.invalidate();
  for (const Button& button : buttons_) {
    button.widget->setObstacle(text(stack_.obstacle(*shown, button.action)));
  }
  const QString name = Path(shown->entry->path).filename().c_str();
  setAccessibleName(shown->sentence.empty() ? name
                                            : name + QStringLiteral(", ") + text(shown->sentence));
  setPanelColor(shown->state == State::trashed ? QColor() : letterbox);
  setToolTip(shown->state == State::trashed ? QStringLiteral("Restore from the Trash (Ctrl+Z)")
                                            : QString());
  layOut();
  updateTimers();
  update();
}

void CardWindow::layOut() {
  const bool isShown = showsActions();
  const QRect panel = panelRect();
  const int count = static_cast<int>(buttons_.size());
  // Spread over the width, as wide as a hand expects them.
  const int step = (panel.width() - 8) / count;
  for (int i = 0; i < count; ++i) {
    const int index = layoutDirection() == Qt::RightToLeft ? count - 1 - i : i;
    FloatingButton& button = *buttons_[static_cast<std::size_t>(i)].widget;
    button.setGeometry(
        QRect(QPoint(panel.left() + 4 + index * step + (step - buttonSize.width()) / 2,
                     panel.bottom() + 1 - 6 - buttonSize.height()),
              buttonSize));
    button.setVisible(isShown);
    button.setCurrent(hasKeyboard_ && !areKeysElsewhere_ && i == current_);
  }
  close_->setGeometry(QStyle::visualRect(
      layoutDirection(), panel,
      QRect(panel.right() + 1 - 8 - cardCloseSide, panel.top() + 8, cardCloseSide, cardCloseSide)));
  close_->setVisible(isShown);
}

void CardWindow::place(const QRect& panel) {
  if (isLeaving()) return;
  const int margin = shadowMargin();
  const QRect window = panel.adjusted(-margin, -margin, margin, margin);
  const bool isNew = !isVisible();
  if (!isNew && motion_.state() == QAbstractAnimation::Running &&
      motion_.endValue().toPoint() == window.topLeft() && size() == window.size()) {
    return;
  }
  motion_.stop();
  const int time = tokens::motion(tokens::barTime);
  QPoint from = pos();
  if (isNew) {
    from = window.topLeft() +
           QPoint(neighbours_.isLeft() ? -card_layout::slide : card_layout::slide, 0);
  } else if (size() != window.size()) {
    // What shrinks or grows keeps its foot.
    from.setY(geometry().bottom() + 1 - window.height());
  }
  if (time == 0 || from == window.topLeft()) {
    setGeometry(window);
  } else {
    setGeometry(QRect(from, window.size()));
    motion_.setStartValue(from);
    motion_.setEndValue(window.topLeft());
    motion_.setDuration(time);
    motion_.setEasingCurve(QEasingCurve::OutCubic);
    motion_.start();
  }
  if (isNew) show();
  layOut();
}

QRect CardWindow::restingPanel() const {
  const bool moves = motion_.state() == QAbstractAnimation::Running && !isLeaving();
  const int margin = shadowMargin();
  return QRect(moves ? motion_.endValue().toPoint() : pos(), size())
      .adjusted(margin, margin, -margin, -margin);
}

void CardWindow::leave(std::function<void()> gone) {
  if (isLeaving()) return;
  gone_ = std::move(gone);
  tick_.stop();
  const int time = tokens::motion(tokens::barTime) * 2 / 3;
  motion_.stop();
  const auto end = [this] {
    hide();
    if (const auto told = std::exchange(gone_, [] {})) told();
  };
  if (time == 0 || !isVisible()) return end();
  motion_.setStartValue(pos());
  motion_.setEndValue(pos() +
                      QPoint(neighbours_.isLeft() ? -card_layout::slide : card_layout::slide, 0));
  motion_.setDuration(time);
  motion_.setEasingCurve(QEasingCurve::InCubic);
  connect(&motion_, &QAbstractAnimation::finished, this, end);
  motion_.start();
}

void CardWindow::setKeyboard(bool hasKeyboard) {
  if (hasKeyboard == hasKeyboard_) return;
  hasKeyboard_ = hasKeyboard;
  if (hasKeyboard) {
    grabKeyboard();
  } else {
    releaseKeyboard();
  }
  refresh();
}

void CardWindow::setKeysElsewhere(bool areElsewhere) {
  if (std::exchange(areKeysElsewhere_, areElsewhere) == areElsewhere) return;
  layOut();
  update();
}

// ---- painting

void CardWindow::paintEvent(QPaintEvent* event) {
  FloatingSurface::paintEvent(event);
  const Card* const shown = card();
  if (shown == nullptr) return;
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  painter.setLayoutDirection(Qt::LeftToRight);
  painter.setClipPath(panelPath());
  const QRect panel = panelRect();
  if (shown->state == State::trashed) {
    const bool isUnder =
        isPointed_ && cardUndoButton(panel).contains(mapFromGlobal(QCursor::pos()));
    return paintCardUndo(painter, panel, *shown, {isUnder, hasKeyboard_, stack_.undoLeft(*shown)});
  }
  paintCardPicture(painter, panel, *shown, picture_);
  if (showsActions()) paintCardScrim(painter, panel, labelOf(*shown));
  if (shown->state == State::failed && !showsActions()) {
    paintCardSentence(painter, panel, text(shown->sentence));
  }
  paintCardBadge(painter, panel, *shown, showsActions());
  if (busySince_.isValid()) paintCardBusy(painter, panel, busySince_.elapsed());
  painter.setClipping(false);
  paintPanelLine(painter, isTranslucent() ? floatingColors().innerLine : floatingColors().key);
}

/// Of the action that the pointer, or else the keyboard, is on.
CardLabel CardWindow::labelOf(const Card& card) const {
  const FloatingButton* named = nullptr;
  for (std::size_t i = 0; i < buttons_.size(); ++i) {
    if (hasKeyboard_ && !areKeysElsewhere_ && static_cast<int>(i) == current_)
      named = buttons_[i].widget;
  }
  for (const Button& button : buttons_) {
    if (button.widget->underMouse()) named = button.widget;
  }
  const QRect panel = panelRect();
  CardLabel label{.center = panel.center().x(),
                  .bottom = panel.bottom() + 1 - 6 - buttonSize.height() - 2};
  if (named != nullptr) {
    label.words = named->label();
    label.key = named->key();
    label.center = named->geometry().center().x();
  } else if (card.state == State::failed) {
    label.words = text(card.sentence);
  }
  return label;
}

void CardWindow::resizeEvent(QResizeEvent* event) {
  FloatingSurface::resizeEvent(event);
  layOut();
}

void CardWindow::updateTimers() {
  const Card* const shown = card();
  const bool moves =
      shown != nullptr && (shown->state == State::busy || shown->state == State::trashed);
  if (moves && !tick_.isActive()) tick_.start(cardTickTime, this);
  if (!moves) tick_.stop();
}

void CardWindow::timerEvent(QTimerEvent* event) {
  if (event->timerId() != tick_.timerId()) return;
  update();
}

// ---- pointer

void CardWindow::enterEvent(QEnterEvent*) {
  if (std::exchange(isPointed_, true)) return;
  neighbours_.pointed(*this, true);
  refresh();
}

void CardWindow::leaveEvent(QEvent*) {
  isPointed_ = false;
  neighbours_.pointed(*this, false);
  refresh();
}

void CardWindow::mousePressEvent(QMouseEvent* event) {
  if (hasKeyboard_) neighbours_.giveFocusBack();
  if (event->button() == Qt::MiddleButton) {
    // Dismissed at the release: what lies below must not get that one.
    press_ = Press::none;
    return;
  }
  if (event->button() != Qt::LeftButton || card() == nullptr) return;
  if (isTrashed()) {
    press_ = cardUndoButton(panelRect()).contains(event->pos()) ? Press::undo : Press::none;
    return;
  }
  press_ = Press::held;
  movement_.begin(event->globalPosition());
  dragged_.reset();
  // Made while the hand begins to move, so that nothing is waited for.
  stack_.prepareDrag(number_, [self = QPointer<CardWindow>(this)](CardStack::Dragged dragged) {
    if (self == nullptr) return;
    self->dragged_ = std::move(dragged);
    if (self->press_ == Press::waiting) self->startDrag();
  });
}

void CardWindow::mouseMoveEvent(QMouseEvent* event) {
  if (isTrashed()) return update();
  if (press_ != Press::held) return;
  switch (movement_.move(event->globalPosition(), neighbours_.isLeft())) {
    case card_layout::Gesture::none: return;
    case card_layout::Gesture::flick: press_ = Press::none; return stack_.dismiss(number_);
    case card_layout::Gesture::drag: return dragOut();
  }
}

void CardWindow::mouseReleaseEvent(QMouseEvent* event) {
  const Press press = std::exchange(press_, Press::none);
  if (event->button() == Qt::MiddleButton) return stack_.dismiss(number_);
  if (event->button() != Qt::LeftButton || !panelRect().contains(event->pos())) return;
  if (press == Press::undo && cardUndoButton(panelRect()).contains(event->pos()))
    return stack_.undo(number_);
  if (press == Press::held) stack_.open(number_);
}

void CardWindow::dragOut() {
  press_ = Press::waiting;
  if (dragged_) startDrag();
}

void CardWindow::startDrag() {
  press_ = Press::none;
  if (!dragged_ || (dragged_->png.empty() && !dragged_->file)) return;
  auto* const offered = new QMimeData;
  if (dragged_->file) {
    offered->setUrls({QUrl::fromLocalFile(QString::fromLocal8Bit(dragged_->file->c_str()))});
  }
  if (!dragged_->png.empty()) {
    offered->setData(
        QStringLiteral("image/png"),
        QByteArray(dragged_->png.data(), static_cast<qsizetype>(dragged_->png.size())));
  }
  auto* const drag = new QDrag(this);
  drag->setMimeData(offered);
  if (!picture_.isNull()) {
    drag->setPixmap(QPixmap::fromImage(
        picture_.scaled(QSize(140, 90), Qt::KeepAspectRatio, Qt::SmoothTransformation)));
    drag->setHotSpot({12, 12});
  }
  const QPointer<CardWindow> self(this);
  drag->exec(Qt::CopyAction);
  // The pointer may be anywhere by now, and the toolkit does not say that it has left.
  if (self == nullptr || geometry().contains(QCursor::pos())) return;
  isPointed_ = false;
  neighbours_.pointed(*this, false);
  refresh();
}

// ---- actions and keys

void CardWindow::perform(CardAction action) {
  const Card* const shown = card();
  if (shown == nullptr || !stack_.obstacle(*shown, action).empty()) return;
  switch (action) {
    case CardAction::copy: return stack_.copy(number_);
    case CardAction::saveAs: return saveAs();
    case CardAction::open: neighbours_.giveFocusBack(); return stack_.open(number_);
    case CardAction::pin: neighbours_.giveFocusBack(); return stack_.pin(number_);
    case CardAction::reveal: neighbours_.giveFocusBack(); return stack_.reveal(number_);
    case CardAction::trash: return stack_.trash(number_);
  }
}

void CardWindow::saveAs() {
  const Card* const shown = card();
  if (shown == nullptr) return;
  neighbours_.giveFocusBack();
  QFileDialog* const dialog = makePictureSaveDialog(
      nullptr, text(stack_.suggestedFileName(*shown)),
      [&stack = stack_, entry = shown->entry](const Path& file) { stack.saveAs(entry, file); });
  dialog->setWindowFlag(Qt::WindowStaysOnTopHint);
  // The card waits for the answer, however long that takes.
  neighbours_.pointed(*this, true);
  const QPointer<CardWindow> self(this);
  connect(dialog, &QDialog::finished, dialog, [self] {
    if (self != nullptr && !self->isPointed_) self->neighbours_.pointed(*self, false);
  });
  dialog->show();
  dialog->activateWindow();
}

void CardWindow::keyPressEvent(QKeyEvent* event) {
  if (neighbours_.drawerKey(event->key())) return;
  const int count = static_cast<int>(buttons_.size());
  const bool isPlain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
  if (isTrashed()) {
    const bool isUndo = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter ||
                        event->key() == Qt::Key_Space || event->matches(QKeySequence::Undo);
    if (isUndo) return stack_.undo(number_);
  } else if (isPlain) {
    const auto step = [&](int by) {
      current_ = (current_ + by + count) % count;
      refresh();
    };
    const int forward = layoutDirection() == Qt::RightToLeft ? -1 : 1;
    switch (event->key()) {
      case Qt::Key_C: return perform(CardAction::copy);
      case Qt::Key_S: return perform(CardAction::saveAs);
      case Qt::Key_E: return perform(CardAction::open);
      case Qt::Key_P: return perform(CardAction::pin);
      case Qt::Key_R: return perform(CardAction::reveal);
      case Qt::Key_Delete: return perform(CardAction::trash);
      case Qt::Key_F: return neighbours_.openDrawer(*this);
      case Qt::Key_Right:
      case Qt::Key_Tab: return step(forward);
      case Qt::Key_Left: return step(-forward);
      case Qt::Key_Return:
      case Qt::Key_Enter:
      case Qt::Key_Space: return perform(buttons_[static_cast<std::size_t>(current_)].action);
      default: break;
    }
  }
  switch (event->key()) {
    case Qt::Key_Escape: return neighbours_.giveFocusBack();
    case Qt::Key_Up: return neighbours_.moveFocus(*this, 1);
    case Qt::Key_Down: return neighbours_.moveFocus(*this, -1);
    default: FloatingSurface::keyPressEvent(event);
  }
}

}  // namespace vantorel
