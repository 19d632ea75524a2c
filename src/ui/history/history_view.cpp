#include "ui/history/history_view.hpp"

#include <QAccessible>
#include <QApplication>
#include <QDrag>
#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QScrollBar>
#include <QToolTip>
#include <QUrl>
#include <algorithm>
#include <array>
#include <utility>

#include "base/size_text.hpp"
#include "library/entry_title.hpp"
#include "ui/history/capture_mime_data.hpp"
#include "ui/history/captures_accessible.hpp"
#include "ui/history/name_field.hpp"
#include "ui/history/tile_painting.hpp"
#include "ui/kit/icons.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"
#include "ui/kit/vantorel_style.hpp"

namespace vantorel {
namespace {

using SelectMode = HistorySelection::Mode;
using Step = HistorySelection::Step;

constexpr std::array tileWidths{136, 184, 264};
constexpr int narrowWidth = 720;  // px, of the view: smaller margins
constexpr int headerHeight = 44;
constexpr int captionGap = 8;
constexpr int ringGap = 4;
constexpr int previewPause = 15;     // ms: what flies by is not asked for
constexpr int bandScrollPause = 30;  // ms
constexpr int dragSide = 160;

/// What is dragged out is shown no larger than this.
QPixmap dragPixmap(const QPixmap& tile) {
  return tile.isNull()
             ? QPixmap()
             : tile.scaled(dragSide, dragSide, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

int captionHeight() {
  return captionGap + QFontMetrics(tokens::bodyFont()).height() +
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
    if (const auto place = model_->listing().placeOf(entry->id)) updateTile(*place);
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

void HistoryView::arrange() {
  const bool isNarrow = viewport()->width() < narrowWidth;
  HistoryLayout::Measures measures{
      .width = viewport()->width(),
      .margin = isNarrow ? tokens::space16 : tokens::space24,
      .gap = tokens::space16,
      .leastTile = tileWidths.at(static_cast<std::size_t>(tileStep_)),
      .captionHeight = captionHeight(),
      .headerHeight = tokens::controlHeight(headerHeight, tokens::strongFont()),
      .listRow = mode_ == Mode::list ? tokens::controlHeight(tokens::listRow) : 0};
  layout_.arrange(model_->listing(), measures);
  pictures_.setShape(layout_.pictureSize(),
                     layout_.isList() ? tokens::keyCapRadius : tokens::tileRadius,
                     devicePixelRatioF());
  const int room = viewport()->height() - columnsHeight();
  verticalScrollBar()->setPageStep(std::max(1, room));
  verticalScrollBar()->setRange(0, std::max(0, layout_.height() - room));
  viewport()->update();
  previewTimer_.start(previewPause, this);
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
  return layout_.placeAt(contentPoint(inViewport));
}

void HistoryView::updateTile(std::size_t place) {
  viewport()->update(areaOf(place).adjusted(-8, -8, 8, 8));
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

// Painting.

void HistoryView::paintEvent(QPaintEvent* event) {
  QPainter painter(viewport());
  // Scrolling leaves a strip above and one below. Through both of them together everything would
  // be clipped line by line.
  for (const QRect& strip : event->region()) {
    painter.setClipRect(strip);
    paintStrip(painter, strip);
  }
}

void HistoryView::paintStrip(QPainter& painter, const QRect& strip) const {
  const PaletteRoles roles = rolesOf(palette());
  painter.fillRect(strip, roles.base);
  painter.setRenderHint(QPainter::Antialiasing);
  if (layout_.sectionCount() == 0) return;
  const int offset = verticalScrollBar()->value() - columnsHeight();
  const QRect dirty = strip.translated(0, offset);
  painter.translate(0, -offset);
  const std::size_t last = layout_.sectionAt(dirty.bottom());
  for (std::size_t section = layout_.sectionAt(dirty.top()); section <= last; ++section) {
    const QRect area = layout_.header(section);
    if (area.intersects(dirty)) paintHeader(painter, section, area);
  }
  const auto [begin, end] = layout_.placesBetween(dirty.top() - 8, dirty.bottom() + 8);
  for (std::size_t place = begin; place < end; ++place) {
    if (!layout_.tile(place).adjusted(-8, -8, 8, 8).intersects(dirty)) continue;
    if (layout_.isList()) {
      paintRow(painter, place);
    } else {
      paintTile(painter, place);
    }
  }
  if (isBand_ && !band_.isEmpty()) {
    QColor fill = roles.focus;
    fill.setAlphaF(0.14F);
    paintBox(painter, QRectF(band_), 2, fill, QPen(roles.focus));
  }
  painter.translate(0, offset);
  paintStickyHeader(painter);
  if (layout_.isList()) paintColumns(painter);
}

/// The header of the day that is being looked at stays at the top.
void HistoryView::paintStickyHeader(QPainter& painter) const {
  const int top = verticalScrollBar()->value();
  const std::size_t section = layout_.sectionAt(top);
  QRect sticky = layout_.header(section);
  if (sticky.isEmpty() || sticky.top() >= top) return;
  int y = columnsHeight();
  if (section + 1 < layout_.sectionCount()) {
    const QRect next = layout_.header(section + 1);
    if (!next.isEmpty()) y = std::min(y, next.top() - top + columnsHeight() - sticky.height());
  }
  sticky.moveTop(y);
  painter.fillRect(sticky, rolesOf(palette()).base);
  paintHeader(painter, section, sticky);
}

void HistoryView::paintHeader(QPainter& painter, std::size_t section, const QRect& area) const {
  const HistoryListing::Section& day = model_->listing().sections()[section];
  const bool isClose = layout_.isList() || viewport()->width() < narrowWidth;
  const int margin = isClose ? tokens::space16 : tokens::space24;
  paintDayHeader(painter, area.adjusted(margin, 0, -margin, 0), QString::fromStdString(day.title),
                 QString::fromStdString(day.detail), rolesOf(palette()), layoutDirection());
}

void HistoryView::paintPicture(QPainter& painter, const ScreenshotEntry& entry, const QRect& area,
                               bool isSmall) const {
  const TilePictures::Tile* const tile = pictures_.find(entry);
  paintCapture(painter, area,
               {.entry = entry,
                .pixmap = tile != nullptr ? tile->pixmap : QPixmap(),
                .reach = model_->reachOf(entry),
                .isSmall = isSmall},
               rolesOf(palette()));
}

void HistoryView::paintTile(QPainter& painter, std::size_t place) const {
  const PaletteRoles roles = rolesOf(palette());
  const ScreenshotEntry& entry = *model_->listing().at(place);
  const QRect tile = layout_.tile(place);
  const bool isSelected = model_->selection().contains(entry.id);
  const QRectF ring = QRectF(tile).adjusted(-ringGap, -ringGap, ringGap, ringGap - 1);
  if (isSelected) {
    paintBox(painter, ring, tokens::tileRadius + 2, roles.selection, QPen(roles.accentFill, 2));
  }
  if (isFocusShown_ && hasFocus() && model_->selection().focus() == place) {
    paintFocusRing(painter, ring.adjusted(-2, -2, 2, 2), tokens::tileRadius + 4, roles.focus);
  }
  const QRect picture(tile.topLeft(), layout_.pictureSize());
  paintPicture(painter, entry, picture, false);
  if (isSelected) paintCheck(painter, picture.topLeft() + QPoint(18, 18), roles);

  const QFontMetrics title(tokens::bodyFont());
  const QFontMetrics small(tokens::smallFont());
  const QRect caption(tile.left() + 2, picture.bottom() + captionGap, tile.width() - 4,
                      title.height());
  painter.setFont(tokens::bodyFont());
  painter.setPen(roles.text);
  painter.drawText(
      caption, Qt::AlignVCenter | Qt::AlignLeading,
      title.elidedText(QString::fromStdString(titleOf(entry)), Qt::ElideMiddle, caption.width()));
  QString below = QString::fromStdString(model_->listing().timeOf(place));
  if (entry.sourceApp) below += " · " + QString::fromStdString(entry.sourceApp->name);
  const QRect second(caption.left(), caption.bottom() + 2, caption.width(), small.height());
  painter.setFont(tokens::smallFont());
  painter.setPen(roles.quiet);
  painter.drawText(second, Qt::AlignVCenter | Qt::AlignLeading,
                   small.elidedText(below, Qt::ElideRight, second.width()));
}

void HistoryView::paintRow(QPainter& painter, std::size_t place) const {
  const PaletteRoles roles = rolesOf(palette());
  const ScreenshotEntry& entry = *model_->listing().at(place);
  const QRect row = layout_.tile(place);
  if (model_->selection().contains(entry.id)) painter.fillRect(row, roles.selection);
  painter.fillRect(QRect(row.left(), row.bottom(), row.width(), 1), roles.line);
  if (isFocusShown_ && hasFocus() && model_->selection().focus() == place) {
    paintFocusRing(painter, QRectF(row).adjusted(3, 3, -3, -3), tokens::buttonRadius, roles.focus);
  }
  const ListColumns columns(row.width());
  const QRect picture(
      QPoint(columns.picture(), row.top() + (row.height() - layout_.pictureSize().height()) / 2),
      layout_.pictureSize());
  paintPicture(painter, entry, picture, true);
  painter.setFont(tokens::bodyFont());
  const QFontMetrics metrics(tokens::bodyFont());
  for (const ListColumns::Column& column : columns.all()) {
    painter.setPen(column.what == ListColumns::What::title ? roles.text : roles.quiet);
    const QString text = listText(column.what, entry, *model_, place);
    const QRect area(column.left, row.top(), column.width, row.height());
    painter.drawText(
        area, Qt::AlignVCenter | Qt::AlignLeading,
        metrics.elidedText(
            text, column.what == ListColumns::What::title ? Qt::ElideMiddle : Qt::ElideRight,
            column.width));
  }
}

void HistoryView::paintColumns(QPainter& painter) const {
  const PaletteRoles roles = rolesOf(palette());
  const QRect bar(0, 0, viewport()->width(), columnsHeight());
  painter.fillRect(bar, roles.base);
  painter.fillRect(QRect(bar.left(), bar.bottom(), bar.width(), 1), roles.line);
  painter.setFont(tokens::smallFont());
  painter.setPen(roles.quiet);
  const ListColumns columns(bar.width());
  for (const ListColumns::Column& column : columns.all()) {
    painter.drawText(QRect(column.left, 0, column.width, bar.height()),
                     Qt::AlignVCenter | Qt::AlignLeading, nameOf(column.what));
  }
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
      event->type() == QEvent::PaletteChange) {
    arrange();
  }
}

void HistoryView::scrollContentsBy(int, int dy) {
  viewport()->scroll(0, dy);
  const int header = tokens::controlHeight(headerHeight, tokens::strongFont());
  viewport()->update(0, 0, viewport()->width(), columnsHeight() + header + std::abs(dy));
  if (!previewTimer_.isActive()) previewTimer_.start(previewPause, this);
  if (verticalScrollBar()->isSliderDown()) {
    const auto& sections = model_->listing().sections();
    if (sections.empty()) return;
    const std::string& month = sections[layout_.sectionAt(verticalScrollBar()->value())].month;
    const QPoint at = viewport()->mapToGlobal(
        QPoint(viewport()->width() - 140, viewport()->mapFromGlobal(QCursor::pos()).y() - 24));
    QToolTip::showText(at, QString::fromStdString(month), this);
  }
}

bool HistoryView::viewportEvent(QEvent* event) {
  if (event->type() == QEvent::ToolTip) {
    const auto* const help = static_cast<QHelpEvent*>(event);
    const auto place = layout_.placeAt(contentPoint(help->pos()));
    if (!place) {
      QToolTip::hideText();
      return true;
    }
    const ScreenshotEntry& entry = *model_->listing().at(*place);
    QToolTip::showText(help->globalPos(),
                       QString::fromStdString(toolTipOf(entry, model_->reachOf(entry))), this,
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

// Keys.

std::size_t HistoryView::navigationRows() const {
  return static_cast<std::size_t>(std::max(1, viewport()->height() / layout_.rowHeight()));
}

void HistoryView::step(Step step, Qt::KeyboardModifiers modifiers) {
  SelectMode mode = SelectMode::replace;
  if (modifiers.testFlag(Qt::ControlModifier)) mode = SelectMode::moveOnly;
  if (modifiers.testFlag(Qt::ShiftModifier)) mode = SelectMode::extend;
  isFocusShown_ = true;
  if (layoutDirection() == Qt::RightToLeft) {
    if (step == Step::left) {
      step = Step::right;
    } else if (step == Step::right) {
      step = Step::left;
    }
  }
  model_->select([&](HistorySelection& selection) {
    selection.step(
        step,
        {.columns = static_cast<std::size_t>(layout_.columns()), .rowsPerPage = navigationRows()},
        mode);
  });
  if (const auto focus = model_->selection().focus()) scrollTo(*focus);
}

void HistoryView::keyPressEvent(QKeyEvent* event) {
  const Qt::KeyboardModifiers modifiers = event->modifiers();
  switch (event->key()) {
    case Qt::Key_Left: return step(Step::left, modifiers);
    case Qt::Key_Right: return step(Step::right, modifiers);
    case Qt::Key_Up: return step(Step::up, modifiers);
    case Qt::Key_Down: return step(Step::down, modifiers);
    case Qt::Key_PageUp: return step(Step::pageUp, modifiers);
    case Qt::Key_PageDown: return step(Step::pageDown, modifiers);
    case Qt::Key_Home: return step(Step::home, modifiers);
    case Qt::Key_End: return step(Step::end, modifiers);
    case Qt::Key_Space:
      if (modifiers.testFlag(Qt::ControlModifier)) {
        isFocusShown_ = true;
        model_->select([](HistorySelection& selection) { selection.toggleFocused(); });
      } else if (onPreview) {
        onPreview();
      }
      return;
    case Qt::Key_Return:
    case Qt::Key_Enter:
      if (onOpen) onOpen();
      return;
    case Qt::Key_Escape:
      if (!model_->selection().isEmpty()) {
        model_->select([](HistorySelection& selection) { selection.clear(); });
        return;
      }
      break;
    default: break;
  }
  const bool isPlain = !(modifiers & ~(Qt::ShiftModifier | Qt::KeypadModifier));
  if (isPlain && !event->text().isEmpty() && event->text().front().isLetterOrNumber() && onTyped) {
    return onTyped(event->text());
  }
  QAbstractScrollArea::keyPressEvent(event);
}

void HistoryView::focusInEvent(QFocusEvent* event) {
  const Qt::FocusReason reason = event->reason();
  if (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason ||
      reason == Qt::ShortcutFocusReason) {
    isFocusShown_ = true;
    if (!model_->selection().focus() && !model_->listing().isEmpty()) {
      model_->select([](HistorySelection& selection) { selection.click(0, SelectMode::moveOnly); });
    }
  }
  QAbstractScrollArea::focusInEvent(event);
  viewport()->update();
  tellFocus();
}

void HistoryView::focusOutEvent(QFocusEvent* event) {
  QAbstractScrollArea::focusOutEvent(event);
  viewport()->update();
}

// The mouse.

void HistoryView::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  isFocusShown_ = false;
  pressed_ = event->pos();
  const QPoint at = contentPoint(event->pos());
  pressedPlace_ = layout_.placeAt(at);
  const Qt::KeyboardModifiers modifiers = event->modifiers();
  if (!pressedPlace_) {
    isBand_ = true;
    bandFrom_ = at;
    band_ = {};
    model_->select([&](HistorySelection& selection) {
      selection.beginBand(modifiers.testFlag(Qt::ControlModifier) ||
                          modifiers.testFlag(Qt::ShiftModifier));
    });
    return;
  }
  const bool isSelected = model_->selection().contains(model_->listing().at(*pressedPlace_)->id);
  SelectMode mode = SelectMode::replace;
  if (modifiers.testFlag(Qt::ControlModifier)) mode = SelectMode::toggle;
  if (modifiers.testFlag(Qt::ShiftModifier)) mode = SelectMode::extend;
  if (mode == SelectMode::replace) readForDrag(model_->listing().at(*pressedPlace_));
  // What is selected may be about to be dragged, all of it.
  if (mode == SelectMode::replace && isSelected) return;
  pressedPlace_ = mode == SelectMode::replace ? pressedPlace_ : std::nullopt;
  model_->select([&](HistorySelection& selection) { selection.click(*layout_.placeAt(at), mode); });
}

void HistoryView::moveBand() {
  const QPoint to = contentPoint(viewport()->mapFromGlobal(QCursor::pos()));
  const QRect before = band_;
  band_ = QRect(bandFrom_, to).normalized();
  std::vector<std::size_t> places = layout_.placesIn(band_);
  viewport()->update((before | band_)
                         .adjusted(-8, -8, 8, 8)
                         .translated(0, columnsHeight() - verticalScrollBar()->value()));
  model_->select([&](HistorySelection& selection) { selection.setBand(places); });
}

void HistoryView::mouseMoveEvent(QMouseEvent* event) {
  if (!event->buttons().testFlag(Qt::LeftButton) || !pressed_) return;
  if (isBand_) {
    moveBand();
    const bool isBeyond = !viewport()->rect().contains(event->pos());
    dragScroll_ = isBeyond ? std::optional(event->pos()) : std::nullopt;
    if (isBeyond && !scrollTimer_.isActive()) scrollTimer_.start(bandScrollPause, this);
    return;
  }
  if (!pressedPlace_) return;
  if ((event->pos() - *pressed_).manhattanLength() < QApplication::startDragDistance()) return;
  startDrag();
  pressed_.reset();
}

void HistoryView::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  dragScroll_.reset();
  if (std::exchange(isBand_, false)) {
    viewport()->update();
  } else if (pressed_ && pressedPlace_ && event->modifiers() == Qt::NoModifier) {
    model_->select([this](HistorySelection& selection) {
      selection.click(*pressedPlace_, SelectMode::replace);
    });
  }
  pressed_.reset();
  pressedPlace_.reset();
}

void HistoryView::mouseDoubleClickEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  if (layout_.placeAt(contentPoint(event->pos())) && onOpen) onOpen();
}

void HistoryView::contextMenuEvent(QContextMenuEvent* event) {
  QPoint at = event->globalPos();
  if (event->reason() == QContextMenuEvent::Keyboard) {
    const auto focus = model_->selection().focus();
    if (!focus) return;
    scrollTo(*focus);
    at = viewport()->mapToGlobal(areaOf(*focus).center());
  } else if (const auto place = layout_.placeAt(contentPoint(event->pos()))) {
    model_->select([&](HistorySelection& selection) { selection.take(*place); });
  } else {
    return;
  }
  if (onMenu) onMenu(at);
}

void HistoryView::wheelEvent(QWheelEvent* event) {
  if (event->modifiers().testFlag(Qt::ControlModifier)) {
    return stepTileSize(event->angleDelta().y() > 0 ? 1 : -1);
  }
  QAbstractScrollArea::wheelEvent(event);
}

/// A drag must have what it offers when it begins: nothing is read while the other program waits.
void HistoryView::readForDrag(const EntryPointer& entry) {
  dragged_.reset();
  draggedPNG_.clear();
  if (entry->medium != CaptureMedium::image) return;
  model_->actions().readPNG(entry, [weak = std::weak_ptr(alive_), this, entry](std::string png) {
    if (weak.expired() || !pressed_) return;
    dragged_ = entry;
    draggedPNG_ = std::move(png);
  });
}

void HistoryView::startDrag() {
  const EntryList entries = model_->selection().entries();
  if (entries.empty()) return;
  if (model_->refuses(HistoryAction::dragOut)) return;
  auto* const drag = new QDrag(this);
  const bool hasPNG = entries.size() == 1 && dragged_ == entries.front();
  drag->setMimeData(makeCaptureMimeData(entries, hasPNG ? draggedPNG_ : "").release());
  if (const TilePictures::Tile* const tile = pictures_.find(*entries.front())) {
    drag->setPixmap(dragPixmap(tile->pixmap));
    drag->setHotSpot({dragSide / 2, dragSide / 4});
  }
  drag->exec(Qt::CopyAction);
}

// Renaming.

void HistoryView::rename(std::size_t place) {
  scrollTo(place);
  const EntryPointer entry = model_->listing().at(place);
  delete editor_;
  const QRect tile = areaOf(place);
  const int height = tokens::controlHeight(tokens::smallControl);
  QRect area(tile.left() - 2, tile.top() + layout_.pictureSize().height() + 4, tile.width() + 4,
             height);
  if (layout_.isList()) {
    const ListColumns columns(tile.width());
    const ListColumns::Column title = columns.all().front();
    area = {title.left - 8, tile.center().y() - height / 2, title.width + 8, height};
  }
  auto* const editor = new NameField(QString::fromStdString(titleOf(*entry)),
                                     QStringLiteral("Title"), area, viewport());
  editor_ = editor;
  connect(editor, &QObject::destroyed, this, [this, editor] {
    if (editor_ == editor) editor_ = nullptr;
  });
  editor->onDone = [this, entry](const std::optional<QString>& name) {
    if (name && name->toStdString() != titleOf(*entry)) {
      model_->actions().rename(entry, name->toStdString());
    }
  };
}

}  // namespace vantorel
