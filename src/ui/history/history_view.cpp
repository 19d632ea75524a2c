#include "ui/history/history_view.hpp"

#include <QAccessible>
#include <QHelpEvent>
#include <QScrollBar>
#include <QToolTip>
#include <algorithm>
#include <array>
#include <utility>

#include "ui/history/captures_accessible.hpp"
#include "ui/history/tile_painting.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

using SelectMode = HistorySelection::Mode;

constexpr std::array tileWidths{136, 184, 264};
constexpr int previewPause = 15;  // ms: what flies by is not asked for

int captionHeight() {
  return HistoryView::captionGap + QFontMetrics(tokens::bodyFont()).height() +
         QFontMetrics(tokens::smallFont()).height() + 6;
}

}  // namespace

HistoryView::HistoryView(std::shared_ptr<HistoryModel> model, QWidget* parent)
    : QAbstractScrollArea(parent), model_(std::move(model)), pictures_(model_->previews()) {
  installCapturesAccessibility();
  setObjectName(QStringLiteral("captures"));
  hide();
  setFrameShape(QFrame::NoFrame);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setFocusPolicy(Qt::StrongFocus);
  setAccessibleName(QStringLiteral("Captures"));
  viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
  viewport()->setMouseTracking(true);
  verticalScrollBar()->setSingleStep(60);
  pictures_.onCome = [this](const EntryPointer& entry) {
    if (const auto place = model_->listing().placeOf(entry->id)) updatePicture(*place);
  };
}

HistoryView::~HistoryView() = default;

void HistoryView::setMode(Mode mode) {
  if (mode == mode_) return;
  const std::size_t kept = model_->selection().focus().value_or(
      layout_.placesBetween(verticalScrollBar()->value(), verticalScrollBar()->value()).first);
  mode_ = mode;
  arrange();
  if (kept < model_->listing().size()) scrollTo(kept);
}

void HistoryView::stepTileSize(int steps) {
  const int before = tileStep_;
  tileStep_ = std::clamp(tileStep_ + steps, 0, static_cast<int>(tileWidths.size()) - 1);
  if (tileStep_ != before) arrange();
}

int HistoryView::columnsHeight() const {
  return mode_ == Mode::list ? tokens::controlHeight(tokens::tool, tokens::smallFont()) : 0;
}

/// With room for the line of its text that a search has found.
int HistoryView::listRowHeight() {
  const int both = QFontMetrics(tokens::bodyFont()).height() +
                   QFontMetrics(tokens::smallFont()).height() + 2 * tokens::space4;
  return std::max(tokens::controlHeight(tokens::listRow), both);
}

void HistoryView::arrange() {
  const bool isNarrow = viewport()->width() < narrowWidth;
  HistoryLayout::Measures measures{
      .width = viewport()->width(),
      .margin = isNarrow ? tokens::space16 : tokens::space24,
      .isMirrored = layoutDirection() == Qt::RightToLeft,
      .gap = tokens::space16,
      .leastTile = tileWidths.at(static_cast<std::size_t>(tileStep_)),
      .captionHeight = captionHeight(),
      .headerHeight = tokens::controlHeight(headerHeight, tokens::strongFont()),
      .listRow = mode_ == Mode::list ? listRowHeight() : 0};
  layout_.arrange(model_->listing(), measures);
  pictures_.setShape(layout_.pictureSize(),
                     layout_.isList() ? tokens::keyCapRadius : tokens::tileRadius,
                     devicePixelRatioF());
  const int room = viewport()->height() - columnsHeight();
  verticalScrollBar()->setPageStep(std::max(1, room));
  verticalScrollBar()->setRange(0, std::max(0, layout_.height() - room));
  viewport()->update();
  wantPreviewsSoon();
}

void HistoryView::modelChanged(const HistoryModelChange& change) {
  if (change.reach) pictures_.forgetMissing();
  if (change.listing) {
    arrange();
  } else if (change.selection) {
    viewport()->update();
  }
  if (change.listing || change.selection) tellFocus();
}

void HistoryView::tellFocus() {
  const auto focus = model_->selection().focus();
  if (!focus || !hasFocus() || !QAccessible::isActive()) return;
  QAccessibleEvent event(this, QAccessible::Focus);
  event.setChild(static_cast<int>(*focus));
  QAccessible::updateAccessibility(&event);
}

QPoint HistoryView::contentPoint(const QPoint& inViewport) const {
  return inViewport + QPoint(0, verticalScrollBar()->value() - columnsHeight());
}

QRect HistoryView::areaOf(std::size_t place) const {
  return layout_.tile(place).translated(0, columnsHeight() - verticalScrollBar()->value());
}

std::optional<std::size_t> HistoryView::placeAt(const QPoint& inViewport) const {
  if (isOnColumns(inViewport)) return std::nullopt;
  return layout_.placeAt(contentPoint(inViewport));
}

bool HistoryView::isOnColumns(const QPoint& inViewport) const {
  return inViewport.y() < columnsHeight();
}

ListColumns HistoryView::columns() const { return {viewport()->width(), layoutDirection()}; }

std::optional<HistorySort::By> HistoryView::sortAt(const QPoint& inViewport) const {
  if (!isOnColumns(inViewport)) return std::nullopt;
  const ListColumns columns = this->columns();
  for (const ListColumns::Column& column : columns.all()) {
    const bool isIn = inViewport.x() >= column.left && inViewport.x() < column.left + column.width;
    if (isIn) return sortOf(column.what);
  }
  return std::nullopt;
}

void HistoryView::updatePicture(std::size_t place) {
  QRect area = areaOf(place);
  if (!layout_.isList()) area.setHeight(layout_.pictureSize().height());
  viewport()->update(area);
}

void HistoryView::scrollTo(std::size_t place) {
  const QRect tile = layout_.tile(place);
  const int top = tile.top() - tokens::controlHeight(headerHeight, tokens::strongFont()) - 4;
  const int room = viewport()->height() - columnsHeight();
  QScrollBar* const bar = verticalScrollBar();
  if (top < bar->value()) {
    bar->setValue(top);
  } else if (tile.bottom() + tokens::space16 > bar->value() + room) {
    bar->setValue(std::min(top, tile.bottom() + tokens::space16 - room));
  }
}

void HistoryView::choose(std::size_t place) {
  model_->select(
      [place](HistorySelection& selection) { selection.click(place, SelectMode::replace); });
  scrollTo(place);
}

/// Not before the window has been painted: making previews would hold it up.
void HistoryView::wantPreviewsSoon() {
  if (isPainted_) previewTimer_.start(previewPause, this);
}

void HistoryView::wantPreviews() {
  const int top = verticalScrollBar()->value();
  const int room = viewport()->height();
  const auto [begin, end] = layout_.placesBetween(top, top + room);
  // What is seen comes first, then the next screen.
  const auto after = layout_.placesBetween(top + room, top + 2 * room);
  EntryList wanted;
  for (std::size_t place = begin; place < std::max(end, after.second); ++place) {
    const EntryPointer& entry = model_->listing().at(place);
    if (entry->medium == CaptureMedium::image && !model_->isOutOfReach(*entry)) {
      wanted.push_back(entry);
    }
  }
  pictures_.want(wanted);
}

void HistoryView::resizeEvent(QResizeEvent* event) {
  const int kept = verticalScrollBar()->value();
  const std::size_t first = layout_.placesBetween(kept, kept).first;
  QAbstractScrollArea::resizeEvent(event);
  const bool isOtherWidth = event->size().width() != event->oldSize().width();
  arrange();
  // What was at the top stays there.
  if (isOtherWidth && kept > 0 && first < model_->listing().size()) {
    verticalScrollBar()->setValue(layout_.tile(first).top() - headerHeight);
  }
}

void HistoryView::changeEvent(QEvent* event) {
  QAbstractScrollArea::changeEvent(event);
  if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange ||
      event->type() == QEvent::PaletteChange || event->type() == QEvent::LayoutDirectionChange) {
    arrange();
  }
}

void HistoryView::scrollContentsBy(int, int dy) {
  viewport()->scroll(0, dy);
  const int header = tokens::controlHeight(headerHeight, tokens::strongFont());
  // The header that stays was moved with the rest.
  viewport()->update(0, 0, viewport()->width(), columnsHeight() + header + std::max(0, dy));
  if (!previewTimer_.isActive()) wantPreviewsSoon();
  if (verticalScrollBar()->isSliderDown()) {
    const auto& sections = model_->listing().sections();
    if (sections.empty()) return;
    const QString month =
        QString::fromStdString(sections[layout_.sectionAt(verticalScrollBar()->value())].month);
    if (month.isEmpty()) return;
    // Beside the bar.
    const int width = QFontMetrics(QToolTip::font()).horizontalAdvance(month) + tokens::space48;
    const int x = layoutDirection() == Qt::RightToLeft ? 0 : viewport()->width() - width;
    const int y = viewport()->mapFromGlobal(QCursor::pos()).y() - tokens::space24;
    QToolTip::showText(viewport()->mapToGlobal(QPoint(x, y)), month, this);
  }
}

bool HistoryView::viewportEvent(QEvent* event) {
  if (event->type() == QEvent::ToolTip) {
    const auto* const help = static_cast<QHelpEvent*>(event);
    if (const auto by = sortAt(help->pos())) {
      QToolTip::showText(help->globalPos(), "Sort by " + labelOf(*by), this);
      return true;
    }
    const auto place = placeAt(help->pos());
    if (!place) {
      QToolTip::hideText();
      return true;
    }
    const ScreenshotEntry& entry = *model_->listing().at(*place);
    QToolTip::showText(
        help->globalPos(),
        QString::fromStdString(toolTipOf(entry, model_->reachOf(entry), isUnreadable(entry))), this,
        areaOf(*place));
    return true;
  }
  return QAbstractScrollArea::viewportEvent(event);
}

void HistoryView::timerEvent(QTimerEvent* event) {
  if (event->timerId() == previewTimer_.timerId()) {
    previewTimer_.stop();
    wantPreviews();
  } else if (event->timerId() == scrollTimer_.timerId()) {
    if (!dragScroll_) return scrollTimer_.stop();
    const int y = dragScroll_->y();
    const int beyond = y < 0 ? y : std::max(0, y - viewport()->height());
    verticalScrollBar()->setValue(verticalScrollBar()->value() + beyond);
    moveBand();
  } else {
    QAbstractScrollArea::timerEvent(event);
  }
}

}  // namespace vantorel
