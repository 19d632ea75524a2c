#include "ui/capture/countdown_window.hpp"

#include <QBitmap>
#include <QCursor>
#include <QGuiApplication>
#include <QPainter>
#include <QScreen>
#include <QTimer>
#include <QWidget>
#include <utility>

namespace vantorel {
namespace {

constexpr int side = 168;
constexpr double radius = 28;

}  // namespace

class CountdownWindow::Panel : public QWidget {
 public:
  explicit Panel(NativeWindows& native) : isTranslucent_(native.canBeTransparent()) {
    setWindowFlags(Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus);
    setAttribute(Qt::WA_ShowWithoutActivating);
    // Without a compositor what is not covered would be black: the corners are cut off instead.
    setAttribute(Qt::WA_TranslucentBackground, isTranslucent_);
    setWindowTitle(QStringLiteral("Vantorel countdown"));
    setFixedSize(side, side);
    if (!isTranslucent_) {
      QBitmap mask(size());
      mask.clear();
      QPainter painter(&mask);
      painter.setBrush(Qt::color1);
      painter.drawRoundedRect(QRectF(rect()).adjusted(0, 0, -1, -1), radius, radius);
      painter.end();
      setMask(mask);
    }
    native.floatAboveAll(winId(), FloatingInput::none);
  }

  void count(int secondsLeft) {
    secondsLeft_ = secondsLeft;
    if (isVisible()) return update();
    const QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
    if (screen == nullptr) screen = QGuiApplication::primaryScreen();
    if (screen != nullptr) move(screen->geometry().center() - rect().center());
    QWidget::show();
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(24, 26, 30, isTranslucent_ ? 225 : 255));
    if (isTranslucent_) {
      painter.drawRoundedRect(rect(), radius, radius);
    } else {
      painter.drawRect(rect());
    }
    QFont font = QGuiApplication::font();
    font.setBold(true);
    font.setPixelSize(80);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(rect().adjusted(0, 0, 0, -28), Qt::AlignCenter, QString::number(secondsLeft_));
    font.setBold(false);
    font.setPixelSize(14);
    painter.setFont(font);
    painter.setPen(QColor(190, 195, 203));
    painter.drawText(rect().adjusted(0, 0, 0, -20), Qt::AlignHCenter | Qt::AlignBottom,
                     QStringLiteral("Esc to cancel"));
  }

 private:
  bool isTranslucent_;
  int secondsLeft_ = 0;
};

CountdownWindow::CountdownWindow(std::shared_ptr<NativeWindows> native)
    : native_(std::move(native)) {}
CountdownWindow::~CountdownWindow() = default;

void CountdownWindow::show(int secondsLeft) {
  reply_.renew();
  // Made anew for each countdown, for a compositor may have come or gone.
  if (panel_ == nullptr) panel_ = std::make_unique<Panel>(*native_);
  panel_->count(secondsLeft);
}

void CountdownWindow::hide(std::function<void()> hidden) {
  reply_.renew();
  auto answer = reply_.guard(std::move(hidden));
  if (std::exchange(panel_, nullptr) == nullptr) return QTimer::singleShot(0, std::move(answer));
  native_->whenShown(std::move(answer));
}

}  // namespace vantorel
