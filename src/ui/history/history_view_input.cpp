// What the keyboard and the mouse do in `HistoryView`.

#include <QApplication>
#include <QDrag>
#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QScrollBar>
#include <algorithm>
#include <utility>

#include "library/entry_title.hpp"
#include "ui/history/capture_mime_data.hpp"
#include "ui/history/history_view.hpp"
#include "ui/history/tile_painting.hpp"
#include "ui/kit/box_painting.hpp"
#include "ui/kit/name_field.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

using SelectMode = HistorySelection::Mode;
using Step = HistorySelection::Step;

constexpr int bandScrollPause = 30;  // ms
constexpr int dragSide = 80;
constexpr QPoint besidePointer(-14, -12);  // what is below the pointer must be seen

/// What is dragged, small, with how many they are.
QPixmap dragPixmap(const QPixmap& tile, std::size_t count) {
  if (tile.isNull()) return {};
  const double ratio = tile.devicePixelRatio();
  const int side = static_cast<int>(dragSide * ratio);
  QPixmap small = tile.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation);
  if (count < 2) return small;
  const QString text = QString::number(count);
  QFont font = tokens::smallFont();
  font.setWeight(QFont::DemiBold);
  const QFontMetrics metrics(font);
  const int height = metrics.height() + 4;
  const int width = std::max(height, metrics.horizontalAdvance(text) + 12);
  const QSizeF picture = small.deviceIndependentSize();
  // The number stands over the corner.
  QPixmap both(((picture + QSizeF(width, height) / 2) * ratio).toSize());
  both.setDevicePixelRatio(ratio);
  both.fill(Qt::transparent);
  QPainter painter(&both);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.drawPixmap(QPointF(0, height / 2.0), small);
  const QRectF badge(picture.width() - width / 2.0, 0, width, height);
  paintBox(painter, badge, height / 2.0, floatingColors().opaquePanel,
           QPen(floatingColors().innerLine));
  painter.setFont(font);
  painter.setPen(floatingColors().text);
  painter.drawText(badge, Qt::AlignCenter, text);
  return both;
}

}  // namespace

// The keyboard.

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
      if (model_->notice() && model_->notice()->isOfAction()) return model_->dismissNotice();
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
  if (isOnColumns(event->pos())) {
    pressedSort_ = sortAt(event->pos());
    return;
  }
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
  if (const auto by = std::exchange(pressedSort_, std::nullopt)) {
    if (sortAt(event->pos()) == by) model_->sortBy(*by);
    return;
  }
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
  if (placeAt(event->pos()) && onOpen) onOpen();
}

QPoint HistoryView::menuPlace() {
  const auto focus = model_->selection().focus();
  if (!focus) return viewport()->mapToGlobal(viewport()->rect().center());
  scrollTo(*focus);
  return viewport()->mapToGlobal(areaOf(*focus).center());
}

void HistoryView::contextMenuEvent(QContextMenuEvent* event) {
  QPoint at = event->globalPos();
  if (event->reason() == QContextMenuEvent::Keyboard) {
    if (!model_->selection().focus()) return;
    at = menuPlace();
  } else if (const auto place = placeAt(event->pos())) {
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
  const EntryList leave = model_->actions().share(HistoryAction::dragOut, entries).entries;
  auto* const drag = new QDrag(this);
  const bool hasPNG = entries.size() == 1 && !leave.empty() && dragged_ == entries.front();
  drag->setMimeData(makeCaptureMimeData(entries, leave, hasPNG ? draggedPNG_ : "").release());
  if (const TilePictures::Tile* const tile = pictures_.find(*entries.front())) {
    drag->setPixmap(dragPixmap(tile->pixmap, entries.size()));
    drag->setHotSpot(besidePointer);
  }
  const bool isTaken = drag->exec(Qt::CopyAction) != Qt::IgnoreAction;
  // A collection takes all of them.
  if (drag->target() != nullptr || (!isTaken && !leave.empty())) return;
  model_->sayLeftOut(HistoryAction::dragOut);
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
    const ListColumns columns = this->columns();
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
