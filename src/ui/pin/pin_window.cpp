#include "ui/pin/pin_window.hpp"

#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QStyleHints>
#include <QTimer>
#include <algorithm>
#include <cmath>
#include <utility>

#include "base/area_downscale.hpp"
#include "ui/annotate/shown_name.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/shared_image.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int capsuleButton = 28;
constexpr int capsuleGap = 8;  ///< from the pin's edge
constexpr double wheelNotch = 120;
constexpr double wheelStep = 60;  ///< points that a notch scrolls
/// From here on a person wants to see the pixels.
constexpr double pixelsFrom = 4;

Pt pointOf(const QPointF& at) { return {at.x(), at.y()}; }

/// One that is shown where the pointer is; the last one while there is none there.
int pinsShown = 0;

}  // namespace

/// What can be done with it, over its lower edge while the pointer is on it.
class PinWindow::Capsule final : public QWidget {
 public:
  explicit Capsule(PinWindow& pin) : QWidget(&pin), pin_(pin) {
    PinModel& model = *pin.model_;
    add(IconName::copy, QStringLiteral("Copy"), QStringLiteral("Ctrl+C"),
        [&model] { model.copy(); });
    add(IconName::passThrough, QStringLiteral("Let clicks through"), QStringLiteral("T"),
        [&model] { model.setClickThrough(true); });
    add(IconName::close, QStringLiteral("Close"), QStringLiteral("Esc"),
        [&model] { model.close(); });
    hide();
  }

  void arrange() {
    const QRect panel = pin_.seenPart();
    // In a small pin there is room for the way out alone.
    const int fit = std::max(1, (panel.width() - capsuleGap) / (capsuleButton + tokens::space4));
    const int shown =
        fit >= static_cast<int>(buttons_.size()) ? static_cast<int>(buttons_.size()) : 1;
    int x = tokens::space4;
    for (std::size_t i = 0; i < buttons_.size(); ++i) {
      const bool isShown = i + static_cast<std::size_t>(shown) >= buttons_.size();
      buttons_[i]->setVisible(isShown);
      if (!isShown) continue;
      buttons_[i]->setGeometry(x, tokens::space4, capsuleButton, capsuleButton);
      x += capsuleButton;
    }
    resize(x + tokens::space4, capsuleButton + 2 * tokens::space4);
    move(panel.center().x() - width() / 2,
         std::max(panel.top(), panel.bottom() + 1 - height() - capsuleGap));
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(floatingColors().innerLine, 1));
    painter.setBrush(floatingColors().opaquePanel);
    const double round = height() / 2.0;
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), round, round);
  }

 private:
  void add(IconName symbol, const QString& name, const QString& key, std::function<void()> run) {
    auto* const button = new FloatingButton(symbol, name, key, this);
    button->setFocusPolicy(Qt::NoFocus);
    // Posted: closing takes the button away from below its own event.
    connect(button, &QAbstractButton::clicked, &pin_, std::move(run), Qt::QueuedConnection);
    buttons_.push_back(button);
  }

  PinWindow& pin_;
  std::vector<FloatingButton*> buttons_;
};

PinWindow::PinWindow(std::shared_ptr<PinModel> model, std::shared_ptr<NativeWindows> native,
                     std::function<void()> closed)
    : FloatingSurface(native, QString::fromStdString(model->title())),
      model_(std::move(model)),
      closed_(std::move(closed)),
      capsule_(new Capsule(*this)),
      grab_(std::move(native), InputGrab::Wants::keyboard,
            [this](InputGrab::Missing) { giveKeysBack(); }) {
  setRadius(tokens::buttonRadius);
  setMouseTracking(true);
  observation_ = model_->observe([this](const PinModel::Change& change) { follow(change); });
  const auto keep = [this] { keepWithinDisplays(); };
  const auto watch = [this, keep](QScreen* screen) {
    connect(screen, &QScreen::availableGeometryChanged, this, keep);
  };
  for (QScreen* const screen : QGuiApplication::screens()) watch(screen);
  connect(qGuiApp, &QGuiApplication::screenAdded, this, watch);
  connect(qGuiApp, &QGuiApplication::screenRemoved, this, keep, Qt::QueuedConnection);

  keepWithinDisplays();
  const QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
  if (screen == nullptr) screen = QGuiApplication::primaryScreen();
  const QRect area = screen->availableGeometry();
  model_->placeOn({double(area.x()), double(area.y()), double(area.width()), double(area.height())},
                  pinsShown++);
}

void PinWindow::bringForward() {
  show();
  raise();
}

void PinWindow::requestClose(std::function<void(bool)> done) {
  done(true);
  end();
}

/// Its window stays until whoever has it lets go.
void PinWindow::end() {
  if (!closed_) return;
  giveKeysBack();
  hide();
  --pinsShown;
  std::exchange(closed_, nullptr)();
}

void PinWindow::follow(const PinModel::Change& change) {
  if (change.closed) return end();
  if (change.picture) {
    scaled_ = {};
    setWindowTitle(shownName(model_->title(), QStringLiteral("Pin")));
    update();
  }
  if (change.part) {
    scaled_ = {};
    update();
  }
  if (change.frame) place();
  if (change.look) showLook();
  if (change.keys) {
    bringForward();
    takeKeys();
  }
}

void PinWindow::place() {
  const Box& frame = model_->frame();
  setPanelGeometry(QRect(qRound(frame.x), qRound(frame.y), std::max(1, qRound(frame.w)),
                         std::max(1, qRound(frame.h))));
}

void PinWindow::showLook() {
  setWindowOpacity(model_->opacity());
  const bool isThrough = model_->letsClicksThrough();
  setClickThrough(isThrough);
  QString state =
      QStringLiteral("Pinned picture, %1 % opaque").arg(qRound(model_->opacity() * 100));
  if (isThrough) state += QStringLiteral(", clicks go through");
  if (!model_->said().empty())
    state += QStringLiteral(". ") + QString::fromStdString(model_->said());
  setAccessibleDescription(state);
  if (isThrough) {
    capsule_->hide();
    giveKeysBack();
  }
  update();
}

void PinWindow::keepWithinDisplays() {
  std::vector<Box> displays;
  for (const QScreen* const screen : QGuiApplication::screens()) {
    const QRect area = screen->availableGeometry();
    displays.push_back(
        {double(area.x()), double(area.y()), double(area.width()), double(area.height())});
  }
  model_->setDisplays(std::move(displays));
}

/// What of the panel is on the display that the pointer is on, or on the one it is on itself.
QRect PinWindow::seenPart() const {
  const QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
  const QRect panel = panelRect();
  if (screen == nullptr) return panel;
  const QRect seen = panel & screen->availableGeometry().translated(-pos());
  return seen.isEmpty() ? panel : seen;
}

// ---- painting

/// In device pixels.
QSize PinWindow::paintedSize() const {
  const double ratio = devicePixelRatioF();
  return {std::max(1, qRound(panelRect().width() * ratio)),
          std::max(1, qRound(panelRect().height() * ratio))};
}

void PinWindow::paintPicture(QPainter& painter) {
  const Image picture = model_->picture().cropped(model_->shownPart());
  const QSize size = paintedSize();
  if (size.width() <= picture.width() && size.height() <= picture.height()) {
    if (scaled_.isNull()) {
      // What skips pixels breaks small text up.
      const Image smaller = downscaled(picture, {size.width(), size.height()});
      scaled_ = sharedImage(smaller).copy();
      scaled_.setDevicePixelRatio(devicePixelRatioF());
    }
    return painter.drawImage(panelRect().topLeft(), scaled_);
  }
  // Most of an enlarged one may lie beyond the displays.
  QRegion seen;
  for (const QScreen* const screen : QGuiApplication::screens()) seen += screen->geometry();
  painter.setClipRegion(seen.translated(-pos()), Qt::IntersectClip);
  painter.setRenderHint(QPainter::SmoothPixmapTransform, model_->zoom() < pixelsFrom);
  painter.drawImage(panelRect(), sharedImage(picture));
}

void PinWindow::paintEvent(QPaintEvent* event) {
  FloatingSurface::paintEvent(event);
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.save();
  if (isTranslucent()) painter.setClipPath(panelPath());
  paintPicture(painter);
  painter.restore();
  paintEdge(painter);
  if (!model_->said().empty()) paintSaid(painter);
}

/// Who has the keyboard, and what lets clicks through, is seen by it.
void PinWindow::paintEdge(QPainter& painter) const {
  const FloatingColors& colors = floatingColors();
  const bool isMarked = hasKeys_ || model_->letsClicksThrough();
  QPen pen(isMarked ? colors.accent : colors.key, isMarked ? 2 : 1);
  if (model_->letsClicksThrough()) pen.setStyle(Qt::DashLine);
  painter.setBrush(Qt::NoBrush);
  painter.setPen(pen);
  const double inset = isMarked ? 1 : 0.5;
  painter.drawRoundedRect(QRectF(panelRect()).adjusted(inset, inset, -inset, -inset),
                          radius() - inset, radius() - inset);
}

void PinWindow::paintSaid(QPainter& painter) const {
  const FloatingColors& colors = floatingColors();
  const QString said = QString::fromStdString(model_->said());
  const int most = std::max(1, panelRect().width() - 2 * capsuleGap - 2 * tokens::space12);
  QRect text = fontMetrics().boundingRect(QRect(0, 0, most, panelRect().height()),
                                          Qt::AlignCenter | Qt::TextWordWrap, said);
  QRect label = text.adjusted(-tokens::space12, -tokens::space4, tokens::space12, tokens::space4);
  label.moveCenter({panelRect().center().x(), panelRect().top() + capsuleGap + label.height() / 2});
  const double round = std::min(label.height() / 2.0, double(tokens::space12));
  painter.setPen(QPen(colors.innerLine, 1));
  painter.setBrush(colors.opaquePanel);
  painter.drawRoundedRect(label, round, round);
  painter.setPen(colors.text);
  painter.drawText(label, Qt::AlignCenter | Qt::TextWordWrap, said);
}

void PinWindow::moveEvent(QMoveEvent* event) {
  FloatingSurface::moveEvent(event);
  // What was beyond the displays was not painted.
  const PixelRect picture = model_->shownPart();
  const QSize size = paintedSize();
  if (size.width() > picture.width || size.height() > picture.height) update();
  if (capsule_->isVisible()) capsule_->arrange();
}

void PinWindow::resizeEvent(QResizeEvent* event) {
  FloatingSurface::resizeEvent(event);
  scaled_ = {};
  capsule_->arrange();
}

// ---- pointer

void PinWindow::enterEvent(QEnterEvent*) {
  capsule_->arrange();
  capsule_->show();
}

/// The keys are the pin's while the pointer is on it, and no longer: the program below is typed in
/// again without a click.
void PinWindow::leaveEvent(QEvent*) {
  capsule_->hide();
  giveKeysBack();
}

void PinWindow::mousePressEvent(QMouseEvent* event) {
  if (event->button() == Qt::MiddleButton) return model_->close();
  if (event->button() != Qt::LeftButton) return;
  raise();
  dragged_ = event->globalPosition().toPoint();
  wasMoved_ = false;
}

void PinWindow::mouseMoveEvent(QMouseEvent* event) {
  if (!dragged_) return;
  const QPoint now = event->globalPosition().toPoint();
  const QPoint by = now - *dragged_;
  if (!wasMoved_ && by.manhattanLength() < QGuiApplication::styleHints()->startDragDistance()) {
    return;
  }
  wasMoved_ = true;
  dragged_ = now;
  model_->moveBy(by.x(), by.y());
}

void PinWindow::mouseReleaseEvent(QMouseEvent*) {
  if (!std::exchange(dragged_, std::nullopt)) return;
  if (!wasMoved_) takeKeys();
}

void PinWindow::wheelEvent(QWheelEvent* event) {
  const double steps = event->angleDelta().y() / wheelNotch;
  if (steps == 0) return;
  if (model_->scrolls() && !event->modifiers().testFlag(Qt::ControlModifier)) {
    return model_->scrollBy(-steps * wheelStep);
  }
  model_->zoomBy(steps, pointOf(event->globalPosition()));
}

void PinWindow::contextMenuEvent(QContextMenuEvent* event) {
  auto* const menu = new QMenu(this);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  const auto add = [&](IconName symbol, const QString& label, const QString& key,
                       std::function<void()> run) {
    QAction* const action = menu->addAction(icon(symbol), label + '\t' + key);
    connect(action, &QAction::triggered, this, std::move(run), Qt::QueuedConnection);
  };
  PinModel& model = *model_;
  add(IconName::copy, QStringLiteral("Copy"), QStringLiteral("Ctrl+C"), [&model] { model.copy(); });
  menu->addSeparator();
  add(IconName::plus, QStringLiteral("Larger"), QStringLiteral("+"), [&model] { model.zoomIn(); });
  add(IconName::minus, QStringLiteral("Smaller"), QStringLiteral("\u2212"),
      [&model] { model.zoomOut(); });
  add(IconName::fit, QStringLiteral("Original Size"), QStringLiteral("0"),
      [&model] { model.resetZoom(); });
  add(IconName::opacity, QStringLiteral("More Transparent"), QStringLiteral("["),
      [&model] { model.fade(-1); });
  add(IconName::opacity, QStringLiteral("Less Transparent"), QStringLiteral("]"),
      [&model] { model.fade(1); });
  add(IconName::passThrough, QStringLiteral("Let Clicks Through"), QStringLiteral("T"),
      [&model] { model.setClickThrough(true); });
  menu->addSeparator();
  add(IconName::close, QStringLiteral("Close"), QStringLiteral("Esc"), [&model] { model.close(); });
  giveKeysBack();
  menu->popup(event->globalPos());
}

// ---- keys

void PinWindow::takeKeys() {
  if (hasKeys_ || windowHandle() == nullptr) return;
  hasKeys_ = true;
  grabKeyboard();
  grab_.take(*windowHandle());
  // A press elsewhere is meant for what is there, and for the keyboard to go there, too.
  presses_ = native().observePresses([this](WindowID pressed) {
    if (pressed != WindowID{winId()}) giveKeysBack();
  });
  update();
}

void PinWindow::giveKeysBack() {
  if (!std::exchange(hasKeys_, false)) return;
  presses_.end();
  grab_.release();
  releaseKeyboard();
  update();
}

void PinWindow::keyPressEvent(QKeyEvent* event) {
  const auto modifiers = event->modifiers() & ~(Qt::KeypadModifier | Qt::ShiftModifier);
  if (event->matches(QKeySequence::Copy)) return model_->copy();
  if (event->matches(QKeySequence::Close)) return model_->close();
  // Layouts that have these behind AltGr write them all the same.
  if (event->text() == QStringLiteral("[")) return model_->fade(-1);
  if (event->text() == QStringLiteral("]")) return model_->fade(1);
  if (modifiers != Qt::NoModifier) return;
  const int step = event->modifiers().testFlag(Qt::ShiftModifier) ? 10 : 1;
  switch (event->key()) {
    case Qt::Key_Escape: return model_->close();
    case Qt::Key_Return:
    case Qt::Key_Enter: return giveKeysBack();
    case Qt::Key_Tab: return passKeysOn();
    case Qt::Key_Plus:
    case Qt::Key_Equal: return model_->zoomIn();
    case Qt::Key_Minus: return model_->zoomOut();
    case Qt::Key_0:
      return underMouse() ? model_->resetZoom(pointOf(QCursor::pos())) : model_->resetZoom();
    case Qt::Key_T: return model_->setClickThrough(true);
    case Qt::Key_PageUp: return model_->scrollBy(-panelRect().height() * 0.9);
    case Qt::Key_PageDown: return model_->scrollBy(panelRect().height() * 0.9);
    case Qt::Key_Left: return moveWithPointer({-step, 0});
    case Qt::Key_Right: return moveWithPointer({step, 0});
    case Qt::Key_Up: return moveWithPointer({0, -step});
    case Qt::Key_Down: return moveWithPointer({0, step});
    default: FloatingSurface::keyPressEvent(event);
  }
}

void PinWindow::passKeysOn() {
  giveKeysBack();
  model_->passKeysOn();
}

/// The pointer stays on the pin, and the keys with it.
void PinWindow::moveWithPointer(QPoint by) {
  model_->moveBy(by.x(), by.y());
  const auto pointer = native().pointer();
  if (!pointer || !underMouse()) return;
  const double ratio = devicePixelRatioF();
  native().movePointer({pointer->x + qRound(by.x() * ratio), pointer->y + qRound(by.y() * ratio)});
}

}  // namespace vantorel
