#include "ui/history/history_search_field.hpp"

#include <QEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QStyle>
#include <algorithm>

#include "ui/history/filter_chip.hpp"
#include "ui/kit/field_buttons.hpp"
#include "ui/kit/icons.hpp"
#include "ui/kit/key_caps.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int symbolLeft = 10;
constexpr int symbolRoom = symbolLeft + rowIconSize + tokens::space4;
constexpr int leastChip = 40;
constexpr double mostOfWidth = 0.72;  // for chips: words have room too
constexpr int capFrom = 340;          // px of width

}  // namespace

HistorySearchField::HistorySearchField(QWidget* parent) : QLineEdit(parent) {
  setPlaceholderText(QStringLiteral("Search text, titles, files, applications and dates"));
  setAccessibleName(QStringLiteral("Search"));
  setToolTip(
      QStringLiteral("Search (Ctrl+F)\nAll words have to be found, in the text on the picture or "
                     "in its title, file,\n"
                     "application or date. A phrase stands in quotes. @screenshot, @recording, "
                     "@gif and @text are a\n"
                     "kind, @ and a name is the application."));
  addClearButton(*this);
  arrange();
}

void HistorySearchField::show(const HistoryQuery& query) {
  if (const QString words = QString::fromStdString(query.text); words != text()) {
    // Whoever listens to what is typed is told nothing; the field's own button follows its text.
    isShowing_ = true;
    setText(words);
    isShowing_ = false;
  }
  std::vector<Chip> wanted;
  for (const HistoryFilter filter : query.filters()) {
    wanted.push_back({filter, QString::fromStdString(query.label(filter)), nullptr});
  }
  const auto isSame = [](const Chip& one, const Chip& other) {
    return one.filter == other.filter && one.label == other.label;
  };
  if (std::ranges::equal(wanted, chips_, isSame)) return;
  const bool hadFocus =
      std::ranges::any_of(chips_, [](const Chip& chip) { return chip.button->hasFocus(); });
  if (hadFocus) setFocus(Qt::OtherFocusReason);
  for (const Chip& chip : chips_) {
    chip.button->hide();
    chip.button->deleteLater();  // it may be what was clicked
  }
  chips_ = std::move(wanted);
  for (Chip& chip : chips_) {
    chip.button = new FilterChip(chip.label, this);
    connect(chip.button, &QAbstractButton::clicked, this,
            [this, filter = chip.filter] { remove(filter); });
    chip.button->show();
  }
  arrange();
}

void HistorySearchField::remove(HistoryFilter filter) {
  if (onRemoved) onRemoved(filter);
}

void HistorySearchField::arrange() {
  int wanted = 0;
  for (const Chip& chip : chips_) wanted += chip.button->sizeHint().width();
  const int gaps = static_cast<int>(chips_.size()) * tokens::space4;
  const int room = static_cast<int>(width() * mostOfWidth) - gaps;
  int left = symbolRoom;
  for (const Chip& chip : chips_) {
    const QSize full = chip.button->sizeHint();
    const int share =
        wanted <= room ? full.width() : std::max(leastChip, full.width() * room / wanted);
    const QSize size(std::min(full.width(), share), full.height());
    chip.button->setGeometry(QStyle::visualRect(
        layoutDirection(), rect(), QRect(QPoint(left, (height() - size.height()) / 2), size)));
    left += size.width() + tokens::space4;
  }
  if (layoutDirection() == Qt::RightToLeft) {
    setTextMargins(0, 0, left, 0);
  } else {
    setTextMargins(left, 0, 0, 0);
  }
}

void HistorySearchField::keyPressEvent(QKeyEvent* event) {
  const bool isBefore = cursorPosition() == 0 && !hasSelectedText();
  if (event->key() == Qt::Key_Backspace && isBefore && !chips_.empty()) {
    return remove(chips_.back().filter);
  }
  QLineEdit::keyPressEvent(event);
}

void HistorySearchField::paintEvent(QPaintEvent* event) {
  QLineEdit::paintEvent(event);
  const PaletteRoles roles = rolesOf(palette());
  QPainter painter(this);
  const QRect symbol =
      QStyle::visualRect(layoutDirection(), rect(),
                         {symbolLeft, (height() - rowIconSize) / 2, rowIconSize, rowIconSize});
  painter.drawPixmap(symbol.topLeft(),
                     iconPixmap(IconName::search, symbol.size(), devicePixelRatioF(), roles.quiet));
  static const KeyCapNames caps{"Ctrl", "F"};
  const int capsWidth = keyCapsWidth(caps);
  // Words of the other direction begin where the caps would be.
  const bool isIdle = text().isEmpty() && !hasFocus() && chips_.empty() &&
                      placeholderText().isRightToLeft() == isRightToLeft();
  const int words = fontMetrics().horizontalAdvance(placeholderText());
  if (!isIdle || width() < std::max(capFrom, symbolRoom + words + capsWidth + tokens::space24)) {
    return;
  }
  painter.setRenderHint(QPainter::Antialiasing);
  paintKeyCaps(painter,
               QStyle::visualRect(layoutDirection(), rect(),
                                  {width() - capsWidth - tokens::space8, 0, capsWidth, height()}),
               caps, *this);
}

void HistorySearchField::resizeEvent(QResizeEvent* event) {
  QLineEdit::resizeEvent(event);
  arrange();
}

void HistorySearchField::changeEvent(QEvent* event) {
  QLineEdit::changeEvent(event);
  if (event->type() == QEvent::LayoutDirectionChange || event->type() == QEvent::FontChange) {
    arrange();
  }
}

}  // namespace vantorel
