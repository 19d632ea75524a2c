#include "ui/scrolling/scrolling_panel_window.hpp"

#include <QAccessible>
#include <QFontMetrics>
#include <QKeyEvent>
#include <QPainter>
#include <QStyle>
#include <algorithm>
#include <utility>

#include "base/count_text.hpp"
#include "ui/kit/accessible_role.hpp"
#include "ui/kit/box_painting.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/shared_image.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr QSize usualBar(250, 52);
constexpr int previewHeight = 136;
constexpr QColor previewGround(0x15, 0x17, 0x1a);
constexpr QColor warningText(0xf3, 0xc5, 0x6b);

QString sightWords(ScrollingSight sight) {
  switch (sight) {
    case ScrollingSight::waiting:
    case ScrollingSight::joined: return QStringLiteral("Scroll on");
    case ScrollingSight::tooFast: return QStringLiteral("Too fast, scroll back");
    case ScrollingSight::panes: return QStringLiteral("Two panes move");
    case ScrollingSight::nothing: return QStringLiteral("Nothing to follow");
    case ScrollingSight::full: return QStringLiteral("As large as it gets");
    case ScrollingSight::scaleChanged: return QStringLiteral("The size changed");
  }
  std::unreachable();
}

QString wordsOf(const ScrollingProgress& progress) {
  switch (progress.phase) {
    case ScrollingProgress::Phase::saving: return QStringLiteral("Saving");
    case ScrollingProgress::Phase::unsaved: return QStringLiteral("Not saved");
    case ScrollingProgress::Phase::following: return sightWords(progress.sight);
  }
  std::unreachable();
}

bool isWarning(const ScrollingProgress& progress) {
  if (progress.phase != ScrollingProgress::Phase::following) {
    return progress.phase == ScrollingProgress::Phase::unsaved;
  }
  return progress.sight != ScrollingSight::waiting && progress.sight != ScrollingSight::joined;
}

QString heightWords(int height) {
  return QString::fromStdString(countText(static_cast<std::uint64_t>(std::max(0, height)))) +
         QStringLiteral(" px");
}

/// Of the longest that may be told: nothing moves while it changes.
int statusWidth() {
  const QFontMetrics small(tokens::smallFont());
  int width = QFontMetrics(tokens::strongFont()).horizontalAdvance(QStringLiteral("000,000 px"));
  for (const auto sight : {ScrollingSight::joined, ScrollingSight::tooFast, ScrollingSight::panes,
                           ScrollingSight::nothing}) {
    width = std::max(width, small.horizontalAdvance(sightWords(sight)));
  }
  return width + 2;
}

/// Between the buttons: of large letters more.
int buttonGap() {
  return std::max(+tokens::space4, QFontMetrics(tokens::strongFont()).height() / 4);
}

int barHeight() {
  const int lines =
      QFontMetrics(tokens::strongFont()).height() + QFontMetrics(tokens::smallFont()).height();
  return std::max({usualBar.height(), lines + tokens::space16,
                   tokens::controlHeight(tokens::smallControl) + tokens::space16});
}

}  // namespace

/// A word on the dark bar.
class ScrollingPanelWindow::Button final : public QAbstractButton {
 public:
  Button(const QString& text, bool isMain, QWidget* parent)
      : QAbstractButton(parent), isMain_(isMain) {
    setAccessibleRole(*this, QAccessible::PushButton);
    setWords(text);
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::NoFocus);  // the panel has the keys
    setCursor(Qt::ArrowCursor);
  }

  void setWords(const QString& words) {
    if (text() == words) return;
    setText(words);
    setAccessibleName(words);
    update();
  }
  void setCurrent(bool isCurrent) {
    if (std::exchange(isCurrent_, isCurrent) == isCurrent) return;
    setAccessibleCurrent(*this, isCurrent);
    update();
  }

  [[nodiscard]] QSize sizeHint() const override { return sizeFor(text()); }
  [[nodiscard]] static QSize sizeFor(const QString& words) {
    const QFontMetrics metrics(tokens::strongFont());
    return {metrics.horizontalAdvance(words) + 2 * std::max(10, metrics.height() / 2),
            tokens::controlHeight(tokens::smallControl)};
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    const FloatingColors& colors = floatingColors();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!isEnabled()) painter.setOpacity(tokens::offOpacity);
    QColor fill = isMain_ ? QColor(0x2a, 0x6f, 0xdb) : colors.key;
    if (isEnabled() && (isDown() || underMouse())) fill = fill.lighter(isDown() ? 130 : 115);
    paintBox(painter, rect(), tokens::buttonRadius, fill, Qt::NoPen);
    painter.setFont(tokens::strongFont());
    painter.setPen(isMain_ ? QColor(Qt::white) : colors.text);
    painter.drawText(rect(), Qt::AlignCenter, text());
    if (isCurrent_) {
      paintFocusRing(painter, QRectF(rect()).adjusted(2, 2, -2, -2), tokens::buttonRadius - 1,
                     Qt::white);
    }
  }

 private:
  bool isMain_;
  bool isCurrent_ = false;
};

/// Height and sight, for screen readers too.
class ScrollingPanelWindow::Status final : public QWidget {
 public:
  explicit Status(QWidget* parent) : QWidget(parent) {
    setAccessibleRole(*this, QAccessible::StatusBar);
    setAttribute(Qt::WA_TransparentForMouseEvents);
  }

  void tell(const ScrollingProgress& progress) {
    height_ = heightWords(progress.height);
    const QString words = wordsOf(progress);
    isWarning_ = isWarning(progress);
    setAccessibleName(height_ + QStringLiteral(", ") + words);
    update();
    // Of each row that comes nobody wants to hear.
    if (std::exchange(words_, words) == words) return;
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    const FloatingColors& colors = floatingColors();
    QPainter painter(this);
    const QFont strong = tokens::strongFont();
    const QFont small = tokens::smallFont();
    const int first = QFontMetrics(strong).height();
    const int second = QFontMetrics(small).height();
    const int top = (height() - first - second) / 2;
    const auto side =
        static_cast<int>(layoutDirection() == Qt::RightToLeft ? Qt::AlignRight : Qt::AlignLeft) |
        static_cast<int>(Qt::AlignVCenter) | static_cast<int>(Qt::AlignAbsolute);
    painter.setFont(strong);
    painter.setPen(colors.text);
    painter.setLayoutDirection(Qt::LeftToRight);  // the number before its unit in every language
    painter.drawText(QRect(0, top, width(), first), side, height_);
    painter.setLayoutDirection(layoutDirection());
    painter.setFont(small);
    painter.setPen(isWarning_ ? warningText : colors.quiet);
    painter.drawText(QRect(0, top + first, width(), second), side,
                     QFontMetrics(small).elidedText(words_, Qt::ElideRight, width()));
  }

 private:
  QString height_;
  QString words_;
  bool isWarning_ = false;
};

ScrollingPanelWindow::ScrollingPanelWindow(std::shared_ptr<NativeWindows> native, Actions actions)
    : FloatingSurface(native, QStringLiteral("Vantorel scrolling capture")),
      actions_(std::move(actions)),
      status_(new Status(this)),
      cancel_(new Button(QStringLiteral("Cancel"), false, this)),
      done_(new Button(QStringLiteral("Done"), true, this)),
      grab_(std::move(native), InputGrab::Wants::keyboard,
            [this](InputGrab::Missing) { giveKeysBack(); }) {
  // Posted: what they do takes the panel away from below its own event.
  connect(
      cancel_, &QAbstractButton::clicked, this, [this] { actions_.cancel(); },
      Qt::QueuedConnection);
  connect(
      done_, &QAbstractButton::clicked, this, [this] { actions_.done(); }, Qt::QueuedConnection);
  tell();
}

ScrollingPanelWindow::~ScrollingPanelWindow() { giveKeysBack(); }

QSize ScrollingPanelWindow::sizeAlone() const {
  const int buttons = Button::sizeFor(QStringLiteral("Cancel")).width() + buttonGap() +
                      std::max(Button::sizeFor(QStringLiteral("Done")).width(),
                               Button::sizeFor(QStringLiteral("Try Again")).width());
  const int usual = Button::sizeFor(QStringLiteral("Cancel")).width() + buttonGap() +
                    Button::sizeFor(QStringLiteral("Done")).width();
  // What is told of a failure is short, and may have the room that its button takes.
  const int words =
      QFontMetrics(tokens::smallFont()).horizontalAdvance(QStringLiteral("Not saved"));
  const int beside = 2 * tokens::space12 + tokens::space8;
  return {std::max({usualBar.width(), statusWidth() + usual + beside, words + buttons + beside}),
          barHeight()};
}

QSize ScrollingPanelWindow::sizeWithPreview() const {
  return sizeAlone() + QSize(0, previewHeight + tokens::space12);
}

void ScrollingPanelWindow::place(const QRect& panel, bool hasPreview) {
  hasPreview_ = hasPreview;
  setPanelGeometry(panel);
  arrange();
  update();
}

void ScrollingPanelWindow::setProgress(const ScrollingProgress& progress) {
  progress_ = progress;
  tell();
  if (hasPreview_) update(previewRect());
}

void ScrollingPanelWindow::tell() {
  using Phase = ScrollingProgress::Phase;
  status_->tell(progress_);
  const bool isSaving = progress_.phase == Phase::saving;
  done_->setWords(progress_.phase == Phase::unsaved ? QStringLiteral("Try Again")
                                                    : QStringLiteral("Done"));
  done_->setEnabled(!isSaving);
  cancel_->setEnabled(!isSaving);
  const QString trouble = QString::fromStdString(progress_.trouble);
  setToolTip(progress_.phase == Phase::unsaved ? trouble : QString());
  setAccessibleDescription(toolTip());
  arrange();
}

// ---- layout and painting

QRect ScrollingPanelWindow::barRect() const {
  const QRect panel = panelRect();
  return {panel.left(), panel.bottom() + 1 - barHeight(), panel.width(), barHeight()};
}

QRect ScrollingPanelWindow::previewRect() const {
  const QRect panel = panelRect();
  return {panel.left() + tokens::space12, panel.top() + tokens::space12,
          panel.width() - 2 * tokens::space12, previewHeight};
}

void ScrollingPanelWindow::arrange() {
  const QRect bar = barRect().adjusted(tokens::space12, 0, -tokens::space12, 0);
  const auto put = [&](QWidget* widget, int left, QSize size) {
    const QRect place(left, bar.top() + (bar.height() - size.height()) / 2, size.width(),
                      size.height());
    widget->setGeometry(QStyle::visualRect(layoutDirection(), bar, place));
  };
  const QSize done = done_->sizeHint();
  const QSize cancel = cancel_->sizeHint();
  const int doneLeft = bar.right() + 1 - done.width();
  const int cancelLeft = doneLeft - buttonGap() - cancel.width();
  put(done_, doneLeft, done);
  put(cancel_, cancelLeft, cancel);
  put(status_, bar.left(), {std::max(0, cancelLeft - tokens::space8 - bar.left()), bar.height()});
}

void ScrollingPanelWindow::resizeEvent(QResizeEvent* event) {
  FloatingSurface::resizeEvent(event);
  arrange();
}

void ScrollingPanelWindow::changeEvent(QEvent* event) {
  FloatingSurface::changeEvent(event);
  if (event->type() == QEvent::LayoutDirectionChange) arrange();
  const bool isFont =
      event->type() == QEvent::FontChange || event->type() == QEvent::ApplicationFontChange;
  if (isFont && actions_.resized) actions_.resized();
}

void ScrollingPanelWindow::paintPreview(QPainter& painter) const {
  const QRect box = previewRect();
  QPainterPath rounded;
  rounded.addRoundedRect(box, tokens::tileRadius, tokens::tileRadius);
  painter.fillPath(rounded, previewGround);
  if (progress_.preview.isEmpty()) return;
  painter.setClipPath(rounded);
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  const QSize size(progress_.preview.width(), progress_.preview.height());
  const QSize fitted = size.scaled(box.size(), Qt::KeepAspectRatio);
  QRect place(QPoint(), fitted.width() > size.width() ? size : fitted);
  place.moveCenter(box.center());
  painter.drawImage(place, sharedImage(progress_.preview));
  painter.setClipping(false);
}

void ScrollingPanelWindow::paintEvent(QPaintEvent* event) {
  FloatingSurface::paintEvent(event);
  if (!hasPreview_) return;
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  paintPreview(painter);
}

// ---- keys

void ScrollingPanelWindow::takeKeys() {
  if (current_ != nullptr || windowHandle() == nullptr) return;
  setCurrent(done_);
  grabKeyboard();
  grab_.take(*windowHandle());
  // A press elsewhere is meant for what is there, and for the keyboard to go there, too.
  presses_ = native().observePresses([this](WindowID pressed) {
    if (pressed != WindowID{winId()}) giveKeysBack();
  });
}

void ScrollingPanelWindow::giveKeysBack() {
  if (current_ == nullptr) return;
  setCurrent(nullptr);
  presses_.end();
  grab_.release();
  releaseKeyboard();
}

void ScrollingPanelWindow::setCurrent(Button* button) {
  if (current_ != nullptr) current_->setCurrent(false);
  current_ = button;
  if (current_ != nullptr) current_->setCurrent(true);
}

void ScrollingPanelWindow::pressCurrent() {
  if (current_ == nullptr || !current_->isEnabled()) return;
  Button* const pressed = current_;
  giveKeysBack();  // the page has them again, or the question that follows
  pressed->click();
}

void ScrollingPanelWindow::mousePressEvent(QMouseEvent*) { takeKeys(); }

void ScrollingPanelWindow::keyPressEvent(QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
    case Qt::Key_Left:
    case Qt::Key_Right: return setCurrent(current_ == done_ ? cancel_ : done_);
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space: return pressCurrent();
    case Qt::Key_Escape: return giveKeysBack();
    default: FloatingSurface::keyPressEvent(event);
  }
}

}  // namespace vantorel
