#include "ui/kit/window_frame.hpp"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QContextMenuEvent>
#include <QFontMetrics>
#include <QKeyEvent>
#include <QMenu>
#include <QRadioButton>
#include <QScreen>
#include <QShortcut>
#include <QVBoxLayout>
#include <QWindow>
#include <algorithm>
#include <chrono>
#include <utility>

#include "ui/kit/accessible_role.hpp"
#include "ui/kit/desktop_palette.hpp"
#include "ui/kit/message_band.hpp"
#include "ui/kit/tokens.hpp"
#include "ui/kit/vantorel_style.hpp"

namespace vantorel {
namespace {

/// Of the display's work area, for a window that was never placed.
constexpr double greatestShare = 0.9;
constexpr int titleBarRoom = 32;  // px, about

/// As long as window managers take to frame a window, or to move all of them when displays change.
constexpr std::chrono::milliseconds settlingTime{500};

QList<QRect> workAreasNow() {
  QList<QRect> areas;
  for (const QScreen* const screen : QGuiApplication::screens()) {
    areas.push_back(screen->availableGeometry());
  }
  return areas;
}

/// What holds words of the usual size, for those of the desktop's font.
QSize grownWithFont(const QSize& size) {
  constexpr double usualHeight = 17;
  constexpr double toBeFelt = 1.2;
  const double factor = QFontMetrics(tokens::bodyFont()).height() / usualHeight;
  return factor < toBeFelt ? size : size * std::min(factor, 2.0);
}

}  // namespace

std::string displaysKey() {
  QStringList parts;
  for (const QScreen* const screen : QGuiApplication::screens()) {
    const QRect area = screen->geometry();
    parts.push_back(QStringLiteral("%1 %2x%3+%4+%5@%6")
                        .arg(screen->name())
                        .arg(area.width())
                        .arg(area.height())
                        .arg(area.x())
                        .arg(area.y())
                        .arg(screen->devicePixelRatio()));
  }
  parts.sort();
  return parts.join(QStringLiteral(", ")).toStdString();
}

QRect keptOnScreen(const QRect& wanted, const QSize& least, const QList<QRect>& workAreas) {
  if (workAreas.isEmpty()) return wanted;
  QRect area = workAreas.front();
  qint64 most = 0;
  for (const QRect& candidate : workAreas) {
    const QRect common = candidate & wanted;
    const qint64 shown = common.isEmpty() ? 0 : qint64{common.width()} * common.height();
    if (shown > most) {
      area = candidate;
      most = shown;
    }
  }
  const QSize size = wanted.size().expandedTo(least).boundedTo(area.size());
  const int x = std::clamp(wanted.x(), area.x(), area.x() + area.width() - size.width());
  const int y = std::clamp(wanted.y(), area.y(), area.y() + area.height() - size.height());
  return {QPoint(x, y), size};
}

WindowFrame::WindowFrame(std::string name, const QString& title, Measures measures,
                         std::function<void()> onClosed)
    : name_(std::move(name)),
      plainLeast_(measures.least),
      measures_(measures),
      onClosed_(std::move(onClosed)),
      layout_(new QVBoxLayout(this)),
      message_(new MessageBand(this)) {
  useVantorelStyle();
  DesktopPalette::follow();
  setAccessibleRole(*this, QAccessible::Window);
  setWindowTitle(title);
  setAccessibleName(title);
  if (measures_.growsWithFont) measures_.least = grownWithFont(plainLeast_);
  setMinimumSize(measures_.least);
  layout_->setContentsMargins(0, 0, 0, 0);
  layout_->setSpacing(0);
  layout_->addWidget(message_);
  message_->hide();
  auto* const close = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_W), this);
  connect(close, &QShortcut::activated, this, [this] { this->close(); });
  followDisplays();
  addKey(QKeySequence(Qt::CTRL | Qt::Key_Q), &WindowActions::quit);
  addKey(QKeySequence(Qt::Key_F1), &WindowActions::showHelp);
  addKey(QKeySequence(Qt::CTRL | Qt::Key_Comma), &WindowActions::showSettings);
  // The toolkit knows the menu key alone.
  connect(new QShortcut(Qt::SHIFT | Qt::Key_F10, this), &QShortcut::activated, this,
          [this] { showContextMenu(); });
}

WindowFrame::~WindowFrame() = default;

void WindowFrame::addKey(const QKeySequence& key, std::function<void()> WindowActions::* action) {
  auto* const shortcut = new QShortcut(key, this);
  connect(shortcut, &QShortcut::activated, this, [this, action] {
    if (const auto run = actions_.*action) run();
  });
}

void WindowFrame::showContextMenu() {
  QWidget* const target = focusWidget() != nullptr ? focusWidget() : this;
  const QPoint at = target->inputMethodQuery(Qt::ImCursorRectangle).toRect().center();
  QContextMenuEvent event(QContextMenuEvent::Keyboard, at, target->mapToGlobal(at));
  QCoreApplication::sendEvent(target, &event);
}

void WindowFrame::setContent(QWidget* content) { layout_->addWidget(content, 1); }

void WindowFrame::addActionsTo(QMenu& menu) {
  const auto add = [&](const char* label, const QKeySequence& key,
                       const std::function<void()>& run) {
    if (run) menu.addAction(QString::fromUtf8(label), key, this, run);
  };
  add("Settings…", QKeySequence(Qt::CTRL | Qt::Key_Comma), actions_.showSettings);
  add("Help", QKeySequence(Qt::Key_F1), actions_.showHelp);
  add("Quit Vantorel", QKeySequence(Qt::CTRL | Qt::Key_Q), actions_.quit);
}

void WindowFrame::bringForward() {
  if (!isVisible()) {
    show();
  } else if (isMinimized()) {
    setWindowState(windowState() & ~Qt::WindowMinimized);
  }
  raise();
  activateWindow();
}

void WindowFrame::showMessage(const QString& sentence, const QString& actionLabel,
                              std::function<void()> action) {
  message_->show(sentence, actionLabel, std::move(action));
}

void WindowFrame::hideMessage() { message_->hide(); }

/// A small screen may have less room than the window likes.
void WindowFrame::fitLeastSize() {
  if (const QScreen* const shownOn = screen()) {
    const QSize room = shownOn->availableGeometry().size() - QSize(0, titleBarRoom);
    setMinimumSize(measures_.least.boundedTo(room));
  }
}

void WindowFrame::place() {
  isPlaced_ = true;
  displays_ = displaysKey();
  fitLeastSize();
  const auto before = places_ != nullptr ? places_->restore(name_, displays_) : std::nullopt;
  if (before) {
    QRect area(before->x, before->y, before->width, before->height);
    if (measures_.sizesItself) area.setSize(openingSize());
    area.moveTopLeft(besideOthers(area.topLeft()));
    setGeometry(keptOnScreen(area, measures_.least, workAreasNow()));
    if (before->isMaximized) setWindowState(windowState() | Qt::WindowMaximized);
    return;
  }
  // Where a new window goes the window manager knows; it only has to fit.
  resize(openingSize());
}

QSize WindowFrame::openingSize() const {
  const QScreen* const screen = this->screen();
  QSize most = measures_.usual;
  if (screen != nullptr) most = screen->availableGeometry().size() * greatestShare;
  return measures_.usual.boundedTo(most).expandedTo(minimumSize());
}

/// Not right over another window of the kind, which would be hidden by it.
QPoint WindowFrame::besideOthers(QPoint at) const {
  const auto isTaken = [&] {
    return std::ranges::any_of(QApplication::topLevelWidgets(), [&](const QWidget* other) {
      const auto* const frame = dynamic_cast<const WindowFrame*>(other);
      return frame != nullptr && frame != this && frame->name_ == name_ && frame->isVisible() &&
             frame->geometry().topLeft() == at;
    });
  };
  while (isTaken()) at += QPoint(tokens::space32, tokens::space32);
  return at;
}

void WindowFrame::followDisplays() {
  settling_.setSingleShot(true);
  settling_.setInterval(settlingTime);
  connect(&settling_, &QTimer::timeout, this, &WindowFrame::settle);
  const auto changed = [this] { settling_.start(); };
  const auto follow = [this, changed](const QScreen* screen) {
    connect(screen, &QScreen::geometryChanged, this, changed);
    connect(screen, &QScreen::availableGeometryChanged, this, changed);
    connect(screen, &QScreen::physicalDotsPerInchChanged, this, changed);
  };
  for (const QScreen* const screen : QGuiApplication::screens()) follow(screen);
  connect(qGuiApp, &QGuiApplication::screenAdded, this, [follow, changed](const QScreen* screen) {
    follow(screen);
    changed();
  });
  connect(qGuiApp, &QGuiApplication::screenRemoved, this, changed);
}

void WindowFrame::settle() {
  if (!isVisible() || isMinimized() || isFullScreen()) return;
  fitLeastSize();
  if (const std::string now = displaysKey(); displays_ != now) {
    displays_ = now;
    const auto before = places_ != nullptr ? places_->restore(name_, now) : std::nullopt;
    if (before) return putBack(*before);
  }
  keepOnScreen();
}

void WindowFrame::putBack(const WindowPlace& place) {
  if (place.isMaximized != isMaximized()) {
    setWindowState(windowState() ^ Qt::WindowMaximized);
  }
  if (place.isMaximized) return;
  const QRect wanted(place.x, place.y, place.width, place.height);
  setGeometry(
      keptOnScreen(wanted.marginsAdded(border()), measures_.least.grownBy(border()), workAreasNow())
          .marginsRemoved(border()));
}

/// What the window manager has put around the window. The widget's own frame is known only once it
/// has been moved.
QMargins WindowFrame::border() const {
  return windowHandle() != nullptr ? windowHandle()->frameMargins() : QMargins();
}

void WindowFrame::keepOnScreen() {
  if (isMaximized()) return;
  const QRect frame = geometry().marginsAdded(border());
  const QList<QRect> areas = workAreasNow();
  qint64 shown = 0;
  bool hasTitleBar = false;
  const QRect titleBar(frame.topLeft(), QSize(frame.width(), std::max(border().top(), 1)));
  for (const QRect& area : areas) {
    const QRect common = area & frame;
    if (!common.isEmpty()) shown += qint64{common.width()} * common.height();
    hasTitleBar = hasTitleBar || (area & titleBar).height() == titleBar.height();
  }
  // What somebody has pushed over an edge stays there, as long as it can be taken hold of.
  const bool isMostlyShown = 2 * shown >= qint64{frame.width()} * frame.height();
  if (areas.isEmpty() || (isMostlyShown && hasTitleBar)) return;
  setGeometry(
      keptOnScreen(frame, measures_.least.grownBy(border()), areas).marginsRemoved(border()));
}

void WindowFrame::remember() {
  if (places_ == nullptr || !isPlaced_ || !isVisible() || isMinimized() || isFullScreen()) return;
  const std::string displays = displaysKey();
  if (displays != displays_ || settling_.isActive()) return;
  // Of a maximized window counts where it was before.
  const QRect area = isMaximized() ? normalGeometry() : geometry();
  if (area.isEmpty()) return;
  places_->remember(name_, displays,
                    {.x = area.x(),
                     .y = area.y(),
                     .width = area.width(),
                     .height = area.height(),
                     .isMaximized = isMaximized()});
}

void WindowFrame::showEvent(QShowEvent* event) {
  if (!isPlaced_) place();
  QWidget::showEvent(event);
  // How wide its frame is, the window manager says only now.
  QTimer::singleShot(settlingTime, this, &WindowFrame::settle);
}

void WindowFrame::closeEvent(QCloseEvent* event) {
  if (!mayClose()) return event->ignore();
  remember();
  event->accept();
  if (const auto closed = std::exchange(onClosed_, nullptr)) closed();
}

void WindowFrame::moveEvent(QMoveEvent* event) {
  QWidget::moveEvent(event);
  remember();
}

void WindowFrame::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  remember();
}

void WindowFrame::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::FontChange && measures_.growsWithFont) {
    measures_.least = grownWithFont(plainLeast_);
    if (isPlaced_) fitLeastSize();
  }
  if (event->type() != QEvent::WindowStateChange) return;
  remember();
  // Displays may have changed while it was out of the way.
  if (displays_ != displaysKey()) settling_.start();
}

void WindowFrame::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape && event->modifiers() == Qt::NoModifier) return leave();
  if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
    // Dialogs do so by themselves; switches and choices are the space bar's.
    auto* const button = qobject_cast<QAbstractButton*>(focusWidget());
    if (button != nullptr && qobject_cast<QCheckBox*>(button) == nullptr &&
        qobject_cast<QRadioButton*>(button) == nullptr) {
      return button->click();
    }
  }
  QWidget::keyPressEvent(event);
}

}  // namespace vantorel
