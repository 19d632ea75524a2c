#include "ui/card/card_painting.hpp"

#include <QGuiApplication>
#include <QPaintDevice>
#include <QStyle>
#include <algorithm>
#include <optional>

#include "ui/card/card_layout.hpp"
#include "ui/kit/icons.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int undoRing = 20;
constexpr double failedOpacity = 0.6;

/// Where it is when lines run from right to left.
QRect visual(const QRect& panel, const QRect& area) {
  return QStyle::visualRect(QGuiApplication::layoutDirection(), panel, area);
}

/// Where a line begins. The words themselves are written from left to right on every desktop.
Qt::Alignment atBegin() {
  return QStyle::visualAlignment(QGuiApplication::layoutDirection(), Qt::AlignLeft);
}

/// Of what is undone.
int undoWordsWidth(const QRect& panel) {
  const int width =
      QFontMetrics(tokens::strongFont()).horizontalAdvance(QStringLiteral("Undo")) + 24;
  return panel.width() - 12 - undoRing - 8 - width - 14 - 4;
}

/// A dark capsule with a symbol and a few words.
void paintCapsule(QPainter& painter, const QRect& panel, QPoint at, std::optional<IconName> symbol,
                  const QString& words, int most) {
  const FloatingColors& colors = floatingColors();
  const QFont font = tokens::smallFont();
  const QFontMetrics metrics(font);
  const int iconRoom = symbol ? rowIconSize : 0;
  const QString shown = metrics.elidedText(words, Qt::ElideRight, most - iconRoom - 24);
  const int height = std::max(26, metrics.height() + 8);
  const QRect area =
      visual(panel, QRect(at, QSize(metrics.horizontalAdvance(shown) + iconRoom + 20, height)));
  painter.setPen(Qt::NoPen);
  painter.setBrush(colors.panel);
  painter.drawRoundedRect(area, height / 2.0, height / 2.0);
  if (symbol) {
    painter.drawPixmap(
        visual(area, QRect(area.left() + 7, area.top() + (height - 14) / 2, 14, 14)).topLeft(),
        iconPixmap(*symbol, {14, 14}, painter.device()->devicePixelRatioF(), colors.text));
  }
  painter.setPen(colors.text);
  painter.setFont(font);
  painter.drawText(visual(area, area.adjusted(8 + iconRoom, 0, -8, 0)),
                   Qt::AlignVCenter | atBegin(), shown);
}

}  // namespace

void paintCardPicture(QPainter& painter, const QRect& panel, const Card& card,
                      const QImage& picture) {
  if (picture.isNull()) return;
  QRectF area = panel;
  if (!card_layout::fills(picture.size())) {
    // Never larger than it is.
    const QSize most = picture.size().boundedTo(panel.size());
    area = QRectF(QPointF(), QSizeF(picture.size().scaled(most, Qt::KeepAspectRatio)));
    area.moveCenter(QRectF(panel).center());
  }
  if (card.state == Card::State::failed) painter.setOpacity(failedOpacity);
  painter.drawImage(area, picture);
  painter.setOpacity(1);
}

void paintCardBadge(QPainter& painter, const QRect& panel, const Card& card, bool hasActions) {
  if (card.badge.empty()) return;
  const bool isLength = !card.isWarning && !card.isTold;
  const std::optional<IconName> symbol = card.isWarning ? std::optional(IconName::warning)
                                         : isLength     ? std::optional(IconName::play)
                                                        : std::optional(IconName::check);
  if (isLength && hasActions) return;
  const int most = panel.width() - 16 - (hasActions ? cardCloseSide + 8 : 0);
  const QPoint at(panel.left() + 8,
                  isLength ? panel.bottom() + 1 - 8 -
                                 std::max(26, QFontMetrics(tokens::smallFont()).height() + 8)
                           : panel.top() + 8);
  paintCapsule(painter, panel, at, symbol, QString::fromStdString(card.badge), most);
}

void paintCardSentence(QPainter& painter, const QRect& panel, const QString& sentence) {
  const FloatingColors& colors = floatingColors();
  const QFont font = tokens::smallFont();
  const QFontMetrics metrics(font);
  const QRect room = panel.adjusted(36, 8, -10, -8);
  QRect words = metrics.boundingRect(room, Qt::TextWordWrap, sentence);
  words.setHeight(std::min(words.height(), panel.height() - 16));
  const QRect ground(panel.left(), panel.bottom() + 1 - words.height() - 16, panel.width(),
                     words.height() + 16);
  painter.fillRect(ground, colors.panel);
  painter.drawPixmap(
      visual(ground,
             QRect(ground.left() + 10, ground.top() + 8 + (metrics.height() - 16) / 2, 16, 16))
          .topLeft(),
      iconPixmap(IconName::warning, {16, 16}, painter.device()->devicePixelRatioF(), colors.text));
  painter.setFont(font);
  painter.setPen(colors.text);
  painter.drawText(visual(ground, ground.adjusted(36, 8, -10, -8)), Qt::TextWordWrap | atBegin(),
                   sentence);
}

void paintCardScrim(QPainter& painter, const QRect& panel, const CardLabel& label) {
  const FloatingColors& colors = floatingColors();
  const int height = std::min(panel.height(), 96);
  QLinearGradient scrim(0, panel.bottom() + 1 - height, 0, panel.bottom() + 1);
  scrim.setColorAt(0, QColor(10, 11, 13, 0));
  scrim.setColorAt(0.5, QColor(10, 11, 13, 200));
  scrim.setColorAt(1, QColor(10, 11, 13, 235));
  painter.fillRect(QRect(panel.left(), panel.bottom() + 1 - height, panel.width(), height), scrim);
  QString words = label.words;
  const QString& key = label.key;
  if (words.isEmpty()) return;
  const QFont font = tokens::smallFont();
  const QFontMetrics metrics(font);
  const int keyRoom = key.isEmpty() ? 0 : metrics.horizontalAdvance(key) + 18;
  words = metrics.elidedText(words, Qt::ElideRight, panel.width() - 24 - keyRoom);
  const int line = std::max(26, metrics.height() + 8);
  QRect area(0, label.bottom - line, metrics.horizontalAdvance(words) + keyRoom + 16, line);
  area.moveLeft(std::clamp(label.center - area.width() / 2, panel.left() + 6,
                           std::max(panel.left() + 6, panel.right() - 6 - area.width())));
  painter.setPen(Qt::NoPen);
  painter.setBrush(colors.panel);
  painter.drawRoundedRect(area, tokens::tileRadius, tokens::tileRadius);
  painter.setFont(font);
  painter.setPen(colors.text);
  painter.drawText(visual(area, area.adjusted(8, 0, 0, 0)), Qt::AlignVCenter | atBegin(), words);
  if (key.isEmpty()) return;
  const QRect cap =
      visual(area, QRect(area.right() - keyRoom + 4, area.top() + 4, keyRoom - 8, line - 8));
  painter.setPen(Qt::NoPen);
  painter.setBrush(colors.key);
  painter.drawRoundedRect(cap, tokens::keyCapRadius, tokens::keyCapRadius);
  painter.setPen(colors.text);
  painter.drawText(cap, Qt::AlignCenter, key);
}

void paintCardBusy(QPainter& painter, const QRect& panel, qint64 elapsed) {
  if (elapsed < tokens::busyDelay) return;
  const double width = panel.width() * 0.35;
  const double way = panel.width() + width;
  const bool moves = tokens::motion(cardTickTime) != 0;
  const double part = moves ? double(elapsed % 1200) / 1200 : 0.5;
  painter.fillRect(QRectF(panel.left() - width + way * part, panel.bottom() - 1.0, width, 2),
                   floatingColors().accent);
}

int cardUndoHeight(const Card& card, int width) {
  const QFontMetrics metrics(tokens::bodyFont());
  const QRect room(0, 0, undoWordsWidth({0, 0, width, 1}), 1000);
  const int words =
      metrics.boundingRect(room, Qt::TextWordWrap, QString::fromStdString(card.sentence)).height();
  return std::max(card_layout::undoHeight, words + 12);
}

QRect cardUndoButton(const QRect& panel) {
  const int width =
      QFontMetrics(tokens::strongFont()).horizontalAdvance(QStringLiteral("Undo")) + 24;
  return visual(panel, QRect(panel.right() + 1 - 12 - undoRing - 8 - width, panel.top() + 6, width,
                             panel.height() - 12));
}

void paintCardUndo(QPainter& painter, const QRect& panel, const Card& card,
                   const CardUndoState& state) {
  const FloatingColors& colors = floatingColors();
  painter.setFont(tokens::bodyFont());
  painter.setPen(colors.text);
  const QRect button = cardUndoButton(panel);
  const QRect words =
      visual(panel, QRect(panel.left() + 14, panel.top(), undoWordsWidth(panel), panel.height()));
  painter.drawText(words, Qt::AlignVCenter | atBegin() | Qt::TextWordWrap,
                   QString::fromStdString(card.sentence));
  if (state.isPointed || state.hasKeyboard) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(state.isPointed ? colors.press : colors.hover);
    painter.drawRoundedRect(button, tokens::buttonRadius, tokens::buttonRadius);
  }
  painter.setFont(tokens::strongFont());
  painter.setPen(colors.accent);
  painter.drawText(button, Qt::AlignCenter, QStringLiteral("Undo"));
  const QRectF ring = visual(panel, QRect(panel.right() + 1 - 12 - undoRing,
                                          panel.center().y() - undoRing / 2, undoRing, undoRing));
  if (tokens::motion(cardTickTime) == 0) {
    painter.setFont(tokens::smallFont());
    painter.setPen(colors.quiet);
    painter.drawText(ring, Qt::AlignCenter, QString::number(qRound(state.left * 8)));
    return;
  }
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(colors.key, 2));
  painter.drawEllipse(ring.adjusted(2, 2, -2, -2));
  painter.setPen(QPen(colors.accent, 2, Qt::SolidLine, Qt::RoundCap));
  painter.drawArc(ring.adjusted(2, 2, -2, -2), 90 * 16, static_cast<int>(state.left * 360 * 16));
}

}  // namespace vantorel
