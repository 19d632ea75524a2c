#include "ui/history/undo_bar.hpp"

#include <QAccessible>
#include <QPainter>
#include <QPushButton>
#include <QStyle>
#include <algorithm>
#include <cmath>
#include <utility>

#include "library/pending_undo.hpp"
#include "ui/kit/application_font.hpp"
#include "ui/kit/box_painting.hpp"
#include "ui/kit/floating_bar.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

using floating_bar::shadow;

constexpr int usualHeight = 44;
constexpr int ringFrames = 100;  // ms

/// Light on the dark bar.
class UndoButton : public QPushButton {
 public:
  explicit UndoButton(QWidget* parent) : QPushButton(QStringLiteral("Undo"), parent) {
    setFollowingFont(*this, tokens::strongFont);
    setAttribute(Qt::WA_Hover);
  }
  [[nodiscard]] QSize sizeHint() const override {
    return {fontMetrics().horizontalAdvance(text()) + tokens::space24,
            tokens::controlHeight(tokens::smallControl)};
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    const FloatingColors& colors = floatingColors();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor fill = colors.key;
    if (isDown() || underMouse()) fill = fill.lighter(isDown() ? 130 : 115);
    paintBox(painter, rect(), tokens::buttonRadius, fill, Qt::NoPen);
    painter.setPen(QColor(0x9c, 0xcb, 0xff));
    painter.drawText(rect(), Qt::AlignCenter, text());
    if (hasKeyboardFocus(*this)) {
      paintFocusRing(painter, QRectF(rect()).adjusted(2, 2, -2, -2), tokens::buttonRadius - 1,
                     Qt::white);
    }
  }
};

/// Round a number of a large font too.
int ringSide() { return std::max(22, QFontMetrics(tokens::smallFont()).height() + 4); }

}  // namespace

UndoBar::UndoBar(std::shared_ptr<HistoryModel> model, QWidget* parent)
    : QWidget(parent), model_(std::move(model)), undo_(new UndoButton(this)) {
  setObjectName(QStringLiteral("undo"));
  undo_->setToolTip(QStringLiteral("Restore from the Trash (Ctrl+Z)"));
  connect(undo_, &QPushButton::clicked, this, [this] { model_->undo(); });
  hide();
}

void UndoBar::refresh() {
  const auto undo = model_->pendingUndo();
  if (!undo) {
    timer_.stop();
    return entrance_.leave();
  }
  show();
  entrance_.enter();
  const QString text = QString::fromStdString(undo->text);
  if (text != text_ || accessibleName() != text) {
    text_ = text;
    setAccessibleName(text);
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
  }
  place();
  raise();
  timer_.start(ringFrames, this);
  update();
}

int UndoBar::barHeight() { return tokens::controlHeight(usualHeight); }

void UndoBar::setBottom(int bottom) {
  bottom_ = bottom;
  place();
}

void UndoBar::place() {
  const QSize button = undo_->sizeHint();
  const int ring = ringSide();
  const int height = barHeight();
  const int beside =
      tokens::space16 + tokens::space16 + button.width() + tokens::space12 + ring + tokens::space12;
  // A long name is elided.
  const int room = parentWidget()->width() - 2 * tokens::space8 - beside;
  textWidth_ = std::clamp(QFontMetrics(tokens::bodyFont()).horizontalAdvance(text_) + 2, 0,
                          std::max(0, room));
  const int width = beside + textWidth_;
  const int x = (parentWidget()->width() - width) / 2 - shadow;
  if (entrance_.isAway()) hide();
  // It comes from the edge below.
  const int way = parentWidget()->height() - bottom_ + height;
  const int y = bottom_ - height + static_cast<int>(std::lround(way * (1 - entrance_.part())));
  setGeometry(x, y - shadow, width + 2 * shadow, height + 2 * shadow);
  undo_->setGeometry(
      placed({shadow + tokens::space16 + textWidth_ + tokens::space16,
              shadow + (height - button.height()) / 2, button.width(), button.height()}));
}

QRect UndoBar::placed(const QRect& area) const {
  return QStyle::visualRect(layoutDirection(), rect(), area);
}

QRectF UndoBar::panel() const { return QRectF(rect()).adjusted(shadow, shadow, -shadow, -shadow); }

void UndoBar::paintEvent(QPaintEvent*) {
  const FloatingColors& colors = floatingColors();
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  floating_bar::paint(painter, panel());
  painter.setFont(tokens::bodyFont());
  painter.setPen(colors.text);
  painter.setLayoutDirection(layoutDirection());
  painter.drawText(placed({shadow + tokens::space16, shadow, textWidth_, height() - 2 * shadow}),
                   Qt::AlignVCenter | Qt::AlignLeading,
                   QFontMetrics(tokens::bodyFont()).elidedText(text_, Qt::ElideMiddle, textWidth_));
  const auto undo = model_->pendingUndo();
  if (!undo) return;
  const double part = std::clamp(
      std::chrono::duration<double>(undo->left) / std::chrono::duration<double>(undoWindow), 0.0,
      1.0);
  const int seconds =
      static_cast<int>(std::ceil(std::chrono::duration<double>(undo->left).count()));
  const int ring = ringSide();
  const QRectF circle(
      placed({width() - shadow - tokens::space12 - ring, (height() - ring) / 2, ring, ring}));
  painter.setBrush(Qt::NoBrush);
  // Without animations the number alone counts.
  if (tokens::motion(1) > 0) {
    painter.setPen(QPen(colors.key, 2));
    painter.drawEllipse(circle.adjusted(1, 1, -1, -1));
    painter.setPen(QPen(colors.accent, 2, Qt::SolidLine, Qt::RoundCap));
    painter.drawArc(circle.adjusted(1, 1, -1, -1), 90 * 16, static_cast<int>(part * 360 * 16));
  }
  painter.setFont(tokens::smallFont());
  painter.setPen(colors.quiet);
  painter.drawText(circle, Qt::AlignCenter, QString::number(std::max(0, seconds)));
}

void UndoBar::timerEvent(QTimerEvent*) {
  if (!isVisible()) return timer_.stop();
  update();
}

}  // namespace vantorel
