#include "ui/card/card_window.hpp"

#include <QApplication>
#include <QDrag>
#include <QFileDialog>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QTimerEvent>
#include <QUrl>
#include <algorithm>
#include <utility>

#include "ui/card/card_layout.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/shared_image.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

using State = Card::State;

constexpr QSize buttonSize(42, 36);
constexpr int closeSide = 28;
constexpr int tickTime = 50;  // ms
constexpr int undoRing = 20;
constexpr int pictureRadius = tokens::floatingRadius;
constexpr QColor letterbox(0x15, 0x17, 0x1a);
constexpr double failedOpacity = 0.6;

QString text(const std::string& words) { return QString::fromStdString(words); }

/// A dark capsule with a symbol and a few words.
void paintCapsule(QPainter& painter, QPoint at, std::optional<IconName> symbol,
                  const QString& words, int most, double ratio) {
  const FloatingColors& colors = floatingColors();
  const QFont font = tokens::smallFont();
  const QFontMetrics metrics(font);
  const int iconRoom = symbol ? rowIconSize : 0;
  const QString shown = metrics.elidedText(words, Qt::ElideRight, most - iconRoom - 24);
  const int height = std::max(26, metrics.height() + 8);
  const QRect area(at, QSize(metrics.horizontalAdvance(shown) + iconRoom + 20, height));
  painter.setPen(Qt::NoPen);
  painter.setBrush(colors.panel);
  painter.drawRoundedRect(area, height / 2.0, height / 2.0);
  if (symbol) {
    painter.drawPixmap(area.left() + 7, area.top() + (height - 14) / 2,
                       iconPixmap(*symbol, {14, 14}, ratio, colors.text));
  }
  painter.setPen(colors.text);
  painter.setFont(font);
  painter.drawText(area.adjusted(8 + iconRoom, 0, -8, 0), Qt::AlignVCenter | Qt::AlignLeft, shown);
}

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
  const QString open = text(stack_.openLabel());
  add(CardAction::copy, IconName::copy, QStringLiteral("Copy"), QStringLiteral("C"));
  add(CardAction::saveAs, IconName::save, QStringLiteral("Save as"), QStringLiteral("S"));
  add(CardAction::open, open == QLatin1String("Annotate") ? IconName::annotate : IconName::image,
      open, QStringLiteral("E"));
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
    return tokens::controlHeight(card_layout::undoHeight, tokens::bodyFont());
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
    button.setCurrent(hasKeyboard_ && i == current_);
  }
  close_->setGeometry(panel.right() + 1 - 8 - closeSide, panel.top() + 8, closeSide, closeSide);
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
    grabMouse();
    grabKeyboard();
  } else {
    releaseKeyboard();
    releaseMouse();
  }
  refresh();
}

// ---- painting

void CardWindow::paintEvent(QPaintEvent* event) {
  FloatingSurface::paintEvent(event);
  const Card* const shown = card();
  if (shown == nullptr) return;
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  painter.setClipPath(panelPath());
  if (shown->state == State::trashed) return paintUndo(painter, *shown);
  paintPicture(painter, *shown);
  if (showsActions()) paintScrim(painter);
  if (shown->state == State::failed && !showsActions()) {
    paintSentence(painter, text(shown->sentence));
  }
  paintBadge(painter, *shown);
  if (shown->state == State::busy) paintBusy(painter);
  painter.setClipping(false);
  painter.setPen(QPen(isTranslucent() ? floatingColors().innerLine : floatingColors().key, 1));
  painter.setBrush(Qt::NoBrush);
  painter.drawRoundedRect(QRectF(panelRect()).adjusted(0.5, 0.5, -0.5, -0.5), pictureRadius - 0.5,
                          pictureRadius - 0.5);
}

void CardWindow::paintPicture(QPainter& painter, const Card& card) {
  if (picture_.isNull()) return;
  const QRect panel = panelRect();
  QRectF area = panel;
  if (!card_layout::fills(picture_.size())) {
    // Never larger than it is.
    const QSize most = picture_.size().boundedTo(panel.size());
    area = QRectF(QPointF(), QSizeF(picture_.size().scaled(most, Qt::KeepAspectRatio)));
    area.moveCenter(QRectF(panel).center());
  }
  if (card.state == State::failed) painter.setOpacity(failedOpacity);
  painter.drawImage(area, picture_);
  painter.setOpacity(1);
}

void CardWindow::paintBadge(QPainter& painter, const Card& card) {
  if (card.badge.empty()) return;
  const QRect panel = panelRect();
  const bool isLength = !card.isWarning && card.badge != "Copied";
  const std::optional<IconName> symbol = card.isWarning ? std::optional(IconName::warning)
                                         : isLength     ? std::optional(IconName::play)
                                                        : std::optional(IconName::check);
  if (isLength && showsActions()) return;
  const int most = panel.width() - 16 - (showsActions() ? closeSide + 8 : 0);
  const QPoint at(panel.left() + 8,
                  isLength ? panel.bottom() + 1 - 8 -
                                 std::max(26, QFontMetrics(tokens::smallFont()).height() + 8)
                           : panel.top() + 8);
  paintCapsule(painter, at, symbol, text(card.badge), most, devicePixelRatioF());
}

void CardWindow::paintSentence(QPainter& painter, const QString& sentence) {
  const FloatingColors& colors = floatingColors();
  const QFont font = tokens::smallFont();
  const QFontMetrics metrics(font);
  const QRect panel = panelRect();
  const QRect room = panel.adjusted(36, 8, -10, -8);
  QRect words = metrics.boundingRect(room, Qt::TextWordWrap, sentence);
  words.setHeight(std::min(words.height(), panel.height() - 16));
  const QRect ground(panel.left(), panel.bottom() + 1 - words.height() - 16, panel.width(),
                     words.height() + 16);
  painter.fillRect(ground, colors.panel);
  painter.drawPixmap(ground.left() + 10, ground.top() + 8 + (metrics.height() - 16) / 2,
                     iconPixmap(IconName::warning, {16, 16}, devicePixelRatioF(), colors.text));
  painter.setFont(font);
  painter.setPen(colors.text);
  painter.drawText(ground.adjusted(36, 8, -10, -8), Qt::TextWordWrap | Qt::AlignLeft, sentence);
}

/// Behind the actions, with the words of the one that the pointer or the keyboard is on.
void CardWindow::paintScrim(QPainter& painter) {
  const FloatingColors& colors = floatingColors();
  const QRect panel = panelRect();
  const int height = std::min(panel.height(), 96);
  QLinearGradient scrim(0, panel.bottom() + 1 - height, 0, panel.bottom() + 1);
  scrim.setColorAt(0, QColor(10, 11, 13, 0));
  scrim.setColorAt(0.5, QColor(10, 11, 13, 200));
  scrim.setColorAt(1, QColor(10, 11, 13, 235));
  painter.fillRect(QRect(panel.left(), panel.bottom() + 1 - height, panel.width(), height), scrim);

  const FloatingButton* named = nullptr;
  for (std::size_t i = 0; i < buttons_.size(); ++i) {
    if (hasKeyboard_ && static_cast<int>(i) == current_) named = buttons_[i].widget;
  }
  for (const Button& button : buttons_) {
    if (button.widget->underMouse()) named = button.widget;
  }
  QString words = named != nullptr ? named->label() : QString();
  QString key = named != nullptr ? named->key() : QString();
  const Card* const shown = card();
  if (named == nullptr && shown->state == State::failed) words = text(shown->sentence);
  if (words.isEmpty()) return;
  const QFont font = tokens::smallFont();
  const QFontMetrics metrics(font);
  const int keyRoom = key.isEmpty() ? 0 : metrics.horizontalAdvance(key) + 18;
  words = metrics.elidedText(words, Qt::ElideRight, panel.width() - 24 - keyRoom);
  const int line = std::max(26, metrics.height() + 8);
  QRect area(0, panel.bottom() + 1 - 6 - buttonSize.height() - line - 2,
             metrics.horizontalAdvance(words) + keyRoom + 16, line);
  const int center = named != nullptr ? named->geometry().center().x() : panel.center().x();
  area.moveLeft(std::clamp(center - area.width() / 2, panel.left() + 6,
                           std::max(panel.left() + 6, panel.right() - 6 - area.width())));
  painter.setPen(Qt::NoPen);
  painter.setBrush(colors.panel);
  painter.drawRoundedRect(area, tokens::tileRadius, tokens::tileRadius);
  painter.setFont(font);
  painter.setPen(colors.text);
  painter.drawText(area.adjusted(8, 0, 0, 0), Qt::AlignVCenter | Qt::AlignLeft, words);
  if (key.isEmpty()) return;
  const QRect cap(area.right() - keyRoom + 4, area.top() + 4, keyRoom - 8, line - 8);
  painter.setPen(Qt::NoPen);
  painter.setBrush(colors.key);
  painter.drawRoundedRect(cap, tokens::keyCapRadius, tokens::keyCapRadius);
  painter.setPen(colors.text);
  painter.drawText(cap, Qt::AlignCenter, key);
}

void CardWindow::paintBusy(QPainter& painter) {
  if (!busySince_.isValid() || busySince_.elapsed() < tokens::busyDelay) return;
  const QRect panel = panelRect();
  const double width = panel.width() * 0.35;
  const double way = panel.width() + width;
  const bool moves = tokens::motion(tickTime) != 0;
  const double part = moves ? double(busySince_.elapsed() % 1200) / 1200 : 0.5;
  painter.fillRect(QRectF(panel.left() - width + way * part, panel.bottom() - 1.0, width, 2),
                   floatingColors().accent);
}

QRect CardWindow::undoButton() const {
  const QRect panel = panelRect();
  const int width =
      QFontMetrics(tokens::strongFont()).horizontalAdvance(QStringLiteral("Undo")) + 24;
  return {panel.right() + 1 - 12 - undoRing - 8 - width, panel.top() + 6, width,
          panel.height() - 12};
}

void CardWindow::paintUndo(QPainter& painter, const Card& card) {
  const FloatingColors& colors = floatingColors();
  const QRect panel = panelRect();
  painter.setFont(tokens::bodyFont());
  painter.setPen(colors.text);
  const QRect button = undoButton();
  const QRect words(panel.left() + 14, panel.top(), button.left() - panel.left() - 18,
                    panel.height());
  painter.drawText(
      words, Qt::AlignVCenter | Qt::AlignLeft,
      painter.fontMetrics().elidedText(text(card.sentence), Qt::ElideRight, words.width()));
  const bool isUnder = isPointed_ && button.contains(mapFromGlobal(QCursor::pos()));
  if (isUnder || hasKeyboard_) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(isUnder ? colors.press : colors.hover);
    painter.drawRoundedRect(button, tokens::buttonRadius, tokens::buttonRadius);
  }
  painter.setFont(tokens::strongFont());
  painter.setPen(colors.accent);
  painter.drawText(button, Qt::AlignCenter, QStringLiteral("Undo"));
  const QRectF ring(panel.right() + 1 - 12 - undoRing, panel.center().y() - undoRing / 2.0 + 0.5,
                    undoRing, undoRing);
  const double left = stack_.undoLeft(card);
  if (tokens::motion(tickTime) == 0) {
    painter.setFont(tokens::smallFont());
    painter.setPen(colors.quiet);
    painter.drawText(ring, Qt::AlignCenter, QString::number(qRound(left * 8)));
    return;
  }
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(colors.key, 2));
  painter.drawEllipse(ring.adjusted(2, 2, -2, -2));
  painter.setPen(QPen(colors.accent, 2, Qt::SolidLine, Qt::RoundCap));
  painter.drawArc(ring.adjusted(2, 2, -2, -2), 90 * 16, static_cast<int>(left * 360 * 16));
}

void CardWindow::resizeEvent(QResizeEvent* event) {
  FloatingSurface::resizeEvent(event);
  layOut();
}

void CardWindow::updateTimers() {
  const Card* const shown = card();
  const bool moves =
      shown != nullptr && (shown->state == State::busy || shown->state == State::trashed);
  if (moves && !tick_.isActive()) tick_.start(tickTime, this);
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
  // Every press is this window's then; it ends that, and does nothing else.
  if (hasKeyboard_) {
    press_ = Press::none;
    return neighbours_.giveFocusBack();
  }
  if (event->button() == Qt::MiddleButton) {
    // Dismissed at the release: what lies below must not get that one.
    press_ = Press::none;
    return;
  }
  if (event->button() != Qt::LeftButton || card() == nullptr) return;
  if (isTrashed()) {
    press_ = undoButton().contains(event->pos()) ? Press::undo : Press::none;
    return;
  }
  press_ = Press::held;
  pressedAt_ = event->globalPosition();
  lastAt_ = pressedAt_;
  velocity_ = {};
  lastTime_ = 0;
  pressTime_.start();
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
  const QPointF now = event->globalPosition();
  const qint64 time = pressTime_.elapsed();
  if (time > lastTime_) {
    velocity_ = (now - lastAt_) * 1000.0 / double(time - lastTime_);
    lastAt_ = now;
    lastTime_ = time;
  }
  switch (card_layout::gestureOf(now - pressedAt_, velocity_, neighbours_.isLeft())) {
    case card_layout::Gesture::none: return;
    case card_layout::Gesture::flick: press_ = Press::none; return stack_.dismiss(number_);
    case card_layout::Gesture::drag: return dragOut();
  }
}

void CardWindow::mouseReleaseEvent(QMouseEvent* event) {
  const Press press = std::exchange(press_, Press::none);
  if (event->button() == Qt::MiddleButton) return stack_.dismiss(number_);
  if (event->button() != Qt::LeftButton || !panelRect().contains(event->pos())) return;
  if (press == Press::undo && undoButton().contains(event->pos())) return stack_.undo(number_);
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
    case CardAction::reveal: neighbours_.giveFocusBack(); return stack_.reveal(number_);
    case CardAction::trash: return stack_.trash(number_);
  }
}

void CardWindow::saveAs() {
  const Card* const shown = card();
  if (shown == nullptr) return;
  neighbours_.giveFocusBack();
  auto* const dialog = new QFileDialog(nullptr, QStringLiteral("Save as"), QString(),
                                       QStringLiteral("PNG (*.png);;JPEG (*.jpg);;HEIC (*.heic);;"
                                                      "WebP (*.webp)"));
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setAcceptMode(QFileDialog::AcceptSave);
  dialog->setWindowFlag(Qt::WindowStaysOnTopHint);
  dialog->selectFile(text(stack_.suggestedFileName(*shown)));
  // The card waits for the answer, however long that takes.
  neighbours_.pointed(*this, true);
  const QPointer<CardWindow> self(this);
  connect(dialog, &QFileDialog::fileSelected, dialog,
          [&stack = stack_, number = number_](const QString& file) {
            stack.saveAs(number, Path(file.toLocal8Bit().toStdString()));
          });
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
