#include "ui/card/card_drawer.hpp"

#include <QPainter>
#include <QStyle>
#include <algorithm>
#include <iterator>
#include <utility>

#include "ui/card/card_layout.hpp"
#include "ui/kit/accessible_role.hpp"
#include "ui/kit/icons.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int drawerPadding = 10;
constexpr int formatCellHeight = 44;
constexpr int drawerRowHeight = 36;

}  // namespace

/// A format, or a row with a symbol.
class DrawerCell : public QAbstractButton {
 public:
  DrawerCell(std::optional<IconName> symbol, QWidget* parent)
      : QAbstractButton(parent), symbol_(symbol) {
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::NoFocus);
    setAccessibleRole(*this, symbol ? QAccessible::PushButton : QAccessible::RadioButton);
    setCheckable(!symbol);
  }

  void show(const QString& label, const QString& note, const QString& obstacle, bool isOn) {
    label_ = label;
    note_ = note;
    isPossible_ = obstacle.isEmpty();
    isOn_ = isOn;
    setChecked(isOn);
    setAccessibleName(note.isEmpty() ? label : label + QStringLiteral(", ") + note);
    setToolTip(obstacle);
    setEnabled(true);  // what is off tells why, which takes the pointer's attention
    update();
  }

  void setCurrent(bool isCurrent) {
    if (isCurrent != isCurrent_) setAccessibleCurrent(*this, isCurrent);
    isCurrent_ = isCurrent;
    update();
  }
  [[nodiscard]] bool isPossible() const { return isPossible_; }

  /// Of a row that is so wide.
  [[nodiscard]] int rowHeight(int width) const {
    if (!isParted(width)) return tokens::controlHeight(drawerRowHeight, tokens::bodyFont());
    return QFontMetrics(tokens::bodyFont()).height() + QFontMetrics(tokens::smallFont()).height() +
           12;
  }

  [[nodiscard]] int wantedWidth() const {
    return std::max(QFontMetrics(tokens::bodyFont()).horizontalAdvance(label_),
                    QFontMetrics(tokens::smallFont()).horizontalAdvance(note_)) +
           8;
  }

 protected:
  void nextCheckState() override {}  // a capture has the format that it has
  void paintEvent(QPaintEvent*) override {
    const FloatingColors& colors = floatingColors();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setLayoutDirection(Qt::LeftToRight);
    if (!isPossible_) painter.setOpacity(tokens::offOpacity);
    QColor ground = symbol_ ? QColor(255, 255, 255, 14) : QColor(255, 255, 255, 22);
    if (isPossible_ && underMouse()) ground = isDown() ? colors.press : QColor(255, 255, 255, 38);
    painter.setPen(Qt::NoPen);
    if (isOn_) {
      QColor fill = colors.accent;
      fill.setAlpha(50);
      painter.setPen(QPen(colors.accent, 2));
      painter.setBrush(fill);
      painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), tokens::tileRadius,
                              tokens::tileRadius);
    } else if (isPossible_ || !symbol_) {
      painter.setBrush(ground);
      painter.drawRoundedRect(rect(), tokens::tileRadius, tokens::tileRadius);
    }
    const QFontMetrics noteMetrics(tokens::smallFont());
    if (symbol_) {
      const auto visual = [this](const QRect& area) {
        return QStyle::visualRect(layoutDirection(), rect(), area);
      };
      const auto aligned = [this](Qt::Alignment side) {
        return QStyle::visualAlignment(layoutDirection(), side);
      };
      const QRect symbol = visual(QRect(10, (height() - 16) / 2, 16, 16));
      painter.drawPixmap(symbol.topLeft(),
                         iconPixmap(*symbol_, {16, 16}, devicePixelRatioF(), colors.text));
      painter.setPen(colors.text);
      painter.setFont(tokens::bodyFont());
      QRect words = rect().adjusted(36, 0, -10, 0);
      const bool parted = isParted(width());
      if (parted) words.adjust(0, 6, 0, -6);
      painter.drawText(visual(words),
                       aligned(Qt::AlignLeft) | (parted ? Qt::AlignTop : Qt::AlignVCenter),
                       painter.fontMetrics().elidedText(label_, Qt::ElideRight, words.width()));
      painter.setPen(colors.quiet);
      painter.setFont(tokens::smallFont());
      painter.drawText(visual(words),
                       parted ? aligned(Qt::AlignLeft) | Qt::AlignBottom
                              : aligned(Qt::AlignRight) | Qt::AlignVCenter,
                       noteMetrics.elidedText(note_, Qt::ElideRight, words.width()));
    } else {
      const int top =
          (height() - QFontMetrics(tokens::bodyFont()).height() - noteMetrics.height()) / 2;
      QRect line(0, top, width(), QFontMetrics(tokens::bodyFont()).height());
      painter.setPen(colors.text);
      painter.setFont(tokens::bodyFont());
      painter.drawText(line, Qt::AlignCenter, label_);
      line = QRect(0, line.bottom() + 1, width(), noteMetrics.height());
      painter.setPen(colors.quiet);
      painter.setFont(tokens::smallFont());
      painter.drawText(line, Qt::AlignCenter, note_);
    }
    if (!isCurrent_) return;
    painter.setOpacity(1);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(Qt::white, 2));
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), tokens::tileRadius,
                            tokens::tileRadius);
  }

 private:
  /// Whether label and note need a line each.
  [[nodiscard]] bool isParted(int width) const {
    return 46 + 12 + QFontMetrics(tokens::bodyFont()).horizontalAdvance(label_) +
               QFontMetrics(tokens::smallFont()).horizontalAdvance(note_) >
           width;
  }

  std::optional<IconName> symbol_;
  QString label_;
  QString note_;
  bool isPossible_ = true;
  bool isOn_ = false;
  bool isCurrent_ = false;
};

CardDrawer::CardDrawer(CardStack& stack, std::uint64_t number,
                       std::shared_ptr<NativeWindows> native, std::function<void(bool)> pointed,
                       std::function<void()> closed)
    : FloatingSurface(std::move(native), QStringLiteral("Vantorel card actions")),
      stack_(stack),
      number_(number),
      pointed_(std::move(pointed)),
      closed_(std::move(closed)),
      compress_(new DrawerCell(IconName::compress, this)),
      redact_(new DrawerCell(IconName::redact, this)),
      copyText_(new DrawerCell(IconName::textClip, this)) {
  connect(compress_, &QAbstractButton::clicked, this, [this] { stack_.compress(number_); });
  connect(redact_, &QAbstractButton::clicked, this, [this] { stack_.redact(number_); });
  connect(copyText_, &QAbstractButton::clicked, this, [this] { stack_.copyText(number_); });
  stack_.openRows(number_);
  refresh();
}

CardDrawer::~CardDrawer() { stack_.closeRows(); }

void CardDrawer::refresh() {
  const Card* const card = stack_.find(number_);
  rows_ = card != nullptr ? stack_.rows(*card) : CardRows{};
  while (formats_.size() < rows_.formats.size()) {
    auto* const cell = new DrawerCell(std::nullopt, this);
    const std::size_t index = formats_.size();
    connect(cell, &QAbstractButton::clicked, this, [this, index] {
      if (index < rows_.formats.size()) stack_.convert(number_, rows_.formats[index].format);
    });
    formats_.push_back(cell);
  }
  for (std::size_t i = 0; i < formats_.size(); ++i) {
    const bool isShown = i < rows_.formats.size();
    formats_[i]->setVisible(isShown);
    if (!isShown) continue;
    const CardFormat& format = rows_.formats[i];
    formats_[i]->show(QString::fromStdString(format.label), QString::fromStdString(format.size),
                      QString::fromStdString(format.obstacle), format.isCurrent);
  }
  const auto fill = [](DrawerCell& cell, const std::optional<CardRow>& row) {
    cell.setVisible(row.has_value());
    if (!row) return;
    cell.show(QString::fromStdString(row->label), QString::fromStdString(row->note),
              QString::fromStdString(row->obstacle), false);
  };
  fill(*compress_, rows_.compress);
  fill(*redact_, rows_.redact);
  fill(*copyText_, rows_.copyText);
  layOut();
}

std::vector<DrawerCell*> CardDrawer::shownRows() const {
  std::vector<DrawerCell*> rows;
  if (rows_.compress) rows.push_back(compress_);
  if (rows_.redact) rows.push_back(redact_);
  if (rows_.copyText) rows.push_back(copyText_);
  return rows;
}

int CardDrawer::columns() const {
  if (rows_.formats.empty()) return 0;
  const int room = card_layout::drawerWidth - 2 * drawerPadding;
  int widest = 0;
  for (std::size_t i = 0; i < rows_.formats.size(); ++i) {
    widest = std::max(widest, formats_[i]->wantedWidth());
  }
  return widest <= (room - 3 * 4) / 4 ? 4 : 2;
}

int CardDrawer::cellHeight() const {
  return std::max(formatCellHeight, QFontMetrics(tokens::bodyFont()).height() +
                                        QFontMetrics(tokens::smallFont()).height() + 8);
}

int CardDrawer::rowHeight(const DrawerCell& row) {
  return row.rowHeight(card_layout::drawerWidth - 2 * drawerPadding);
}

int CardDrawer::labelHeight() const { return QFontMetrics(tokens::smallFont()).height() + 6; }

QSize CardDrawer::panelSize() const {
  int height = 2 * drawerPadding;
  if (!rows_.formats.empty()) {
    const int lines = static_cast<int>(rows_.formats.size() + columns() - 1) / columns();
    height += labelHeight() + lines * cellHeight() + (lines - 1) * 4;
  }
  for (const DrawerCell* const row : shownRows()) {
    height += rowHeight(*row) + (height > 2 * drawerPadding ? 8 : 0);
  }
  return {card_layout::drawerWidth, height};
}

void CardDrawer::layOut() {
  const QRect panel =
      panelRect().adjusted(drawerPadding, drawerPadding, -drawerPadding, -drawerPadding);
  int y = panel.top();
  const int across = columns();
  if (across > 0) {
    y += labelHeight();
    const int width = (panel.width() - (across - 1) * 4) / across;
    for (std::size_t i = 0; i < rows_.formats.size(); ++i) {
      const int column = static_cast<int>(i) % across;
      const int line = static_cast<int>(i) / across;
      formats_[i]->setGeometry(
          QStyle::visualRect(layoutDirection(), panel,
                             QRect(panel.left() + column * (width + 4),
                                   y + line * (cellHeight() + 4), width, cellHeight())));
    }
    const int lines = static_cast<int>(rows_.formats.size() + across - 1) / across;
    y += lines * cellHeight() + (lines - 1) * 4 + 8;
  }
  for (DrawerCell* const row : shownRows()) {
    row->setGeometry(panel.left(), y, panel.width(), rowHeight(*row));
    y += rowHeight(*row) + 8;
  }
}

void CardDrawer::setKeyboard(bool hasKeyboard) {
  current_ = hasKeyboard ? 0 : -1;
  press(0);
}

bool CardDrawer::press(int key) {
  std::vector<DrawerCell*> cells(formats_.begin(), formats_.begin() + std::ssize(rows_.formats));
  std::ranges::copy(shownRows(), std::back_inserter(cells));
  const int count = static_cast<int>(cells.size());
  if (current_ >= count) current_ = count - 1;
  bool isTaken = current_ >= 0;
  const int formats = static_cast<int>(rows_.formats.size());
  const bool isOnFormat = current_ < formats;
  if (current_ >= 0) {
    switch (key) {
      case Qt::Key_Right: current_ = std::min(current_ + 1, count - 1); break;
      case Qt::Key_Left: current_ = std::max(current_ - 1, 0); break;
      case Qt::Key_Down: current_ = std::min(isOnFormat ? formats : current_ + 1, count - 1); break;
      case Qt::Key_Up: current_ = current_ <= formats ? 0 : current_ - 1; break;
      case Qt::Key_Tab: current_ = (current_ + 1) % count; break;
      case Qt::Key_Return:
      case Qt::Key_Enter:
      case Qt::Key_Space:
        if (cells[static_cast<std::size_t>(current_)]->isPossible()) {
          cells[static_cast<std::size_t>(current_)]->click();
        }
        break;
      case Qt::Key_Escape:
      case Qt::Key_F: closed_(); return true;  // it is gone
      default: isTaken = false;
    }
  }
  for (int i = 0; i < count; ++i) {
    cells[static_cast<std::size_t>(i)]->setCurrent(i == current_);
  }
  return isTaken;
}

void CardDrawer::paintEvent(QPaintEvent* event) {
  FloatingSurface::paintEvent(event);
  if (rows_.formats.empty()) return;
  QPainter painter(this);
  painter.setFont(tokens::smallFont());
  painter.setPen(floatingColors().text);
  const QRect panel =
      panelRect().adjusted(drawerPadding + 2, drawerPadding - 2, -drawerPadding - 2, 0);
  painter.drawText(QRect(panel.left(), panel.top(), panel.width(), labelHeight()),
                   Qt::AlignVCenter | Qt::AlignLeading, QStringLiteral("Format"));
}

void CardDrawer::resizeEvent(QResizeEvent* event) {
  FloatingSurface::resizeEvent(event);
  layOut();
}

void CardDrawer::enterEvent(QEnterEvent*) { pointed_(true); }

void CardDrawer::leaveEvent(QEvent*) { pointed_(false); }

}  // namespace vantorel
