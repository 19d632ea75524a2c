#include "ui/annotate/layer_list.hpp"

#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QPointer>
#include <QScrollArea>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "editor/layer_layout.hpp"
#include "ui/annotate/shown_name.hpp"
#include "ui/annotate/tab_order.hpp"
#include "ui/kit/accessible_role.hpp"
#include "ui/kit/name_field.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int listEdge = 10;  // rows reach over what they hold
constexpr QSize pictureAsked(108, 72);

bool isAmong(const std::vector<std::string>& ids, const std::string& id) {
  return std::ranges::find(ids, id) != ids.end();
}

QString pictureKey(const LayerSpec& layer) {
  if (!layer.path) return QStringLiteral("capture");
  return QString::fromStdString(*layer.path) + QStringLiteral("#%1").arg(layer.frameIndex);
}

}  // namespace

/// Where a dragged row would go.
class LayerList::InsertionLine : public QWidget {
 public:
  explicit InsertionLine(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    hide();
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(rolesOf(palette()).focus);
    const QRectF line(0, height() / 2.0 - 1, width(), 2);
    painter.drawRect(line);
    const double start = isRightToLeft() ? width() - 3.0 : 3.0;
    painter.drawEllipse(QPointF(start, height() / 2.0), 3, 3);
  }
};

LayerList::LayerList(InspectedEditor editor, QWidget* parent)
    : QWidget(parent),
      editor_(std::move(editor)),
      column_(new QVBoxLayout(this)),
      insertion_(new InsertionLine(this)) {
  setAccessibleRole(*this, QAccessible::List);
  setAccessibleName(QStringLiteral("Layers"));
  column_->setContentsMargins(listEdge, 0, listEdge, 0);
  column_->setSpacing(0);
}

std::vector<LayerLine> LayerList::lines() const {
  std::vector<LayerLine> lines;
  const std::vector<LayerSpec>& layers = *model().state().layers;
  const std::vector<std::string> missing = editor_.missingLayers();
  const std::vector<std::string> oversized = editor_.oversizedLayers();
  const LayerSpec* const selected = model().selectedLayer();
  const LayerSpec plain = newCaptureLayer(model().captureSize());
  if (layers.empty()) {
    lines.push_back({.id = {}, .name = shownLayerName(editor_, plain), .fault = {}});
  }
  for (auto layer = layers.rbegin(); layer != layers.rend(); ++layer) {
    LayerLine line;
    line.id = layer->id;
    line.name = shownLayerName(editor_, *layer);
    if (isAmong(oversized, layer->id)) {
      line.fault = QStringLiteral("Too large to build");
    } else if (isAmong(missing, layer->id)) {
      line.fault = QStringLiteral("Missing");
    }
    line.isVisible = layer->visible;
    line.isLocked = layer->locked;
    line.isSelected = selected != nullptr && selected->id == layer->id;
    lines.push_back(std::move(line));
  }
  return lines;
}

void LayerList::refresh() {
  const std::vector<LayerLine> shown = lines();
  const bool isSameOrder =
      shown.size() == rows_.size() &&
      std::ranges::equal(shown, rows_, [](const LayerLine& line, LayerRow* row) {
        return line.id == row->line().id;
      });
  if (!isSameOrder) cancelDrag();
  // The keyboard stays with its layer.
  std::optional<std::string> focused;
  for (LayerRow* const row : rows_) {
    if (row->hasFocus()) focused = row->line().id;
  }
  while (rows_.size() < shown.size()) {
    auto* const row = new LayerRow(this);
    connectRow(row);
    column_->addWidget(row);
    // In the place where it is seen, not behind all that was made before.
    setTabOrder(rows_.empty() ? focusBefore(*this) : rows_.back(), row);
    rows_.push_back(row);
  }
  while (rows_.size() > shown.size()) {
    rows_.back()->hide();
    rows_.back()->deleteLater();
    rows_.pop_back();
  }
  const LayerSpec plain = newCaptureLayer(model().captureSize());
  for (std::size_t i = 0; i < shown.size(); ++i) {
    LayerRow* const row = rows_[i];
    if (row->line() != shown[i] || row->accessibleName().isEmpty()) row->show(shown[i]);
    const LayerSpec* const layer =
        shown[i].id.empty() ? &plain : model().state().findLayer(shown[i].id);
    if (layer != nullptr) askForPicture(*layer, row);
    if (focused && *focused == shown[i].id && !row->hasFocus()) row->setFocus();
  }
  setMinimumHeight(column_->sizeHint().height());
}

void LayerList::askForPicture(const LayerSpec& layer, LayerRow* row) {
  const QString key = pictureKey(layer);
  row->setPicture(pictures_.value(key));
  if (asked_.contains(key)) return;
  asked_.insert(key);
  editor_.thumbnail(layer, pictureAsked, [list = QPointer(this), key](const QImage& picture) {
    if (!list || picture.isNull()) return;
    list->pictures_.insert(key, QPixmap::fromImage(picture));
    list->refresh();
  });
}

std::size_t LayerList::indexOf(const LayerRow* row) const {
  return static_cast<std::size_t>(std::ranges::find(rows_, row) - rows_.begin());
}

void LayerList::connectRow(LayerRow* row) {
  connect(row, &QAbstractButton::clicked, this, [this, row] {
    if (row->line().id.empty()) return row->setChecked(false);
    row->setChecked(true);
    model().selectLayer(row->line().id);
  });
  connect(row, &QAbstractButton::pressed, this, [this] { isHeld_ = underMouse(); });
  row->onVisible = [this, row] {
    const bool isVisible = !row->line().isVisible;
    change(*row, isVisible ? "Show Layer" : "Hide Layer",
           [&](const std::string& id) { model().setLayerVisible(id, isVisible); });
  };
  row->onLocked = [this, row] {
    const bool isLocked = !row->line().isLocked;
    change(*row, isLocked ? "Lock Layer" : "Unlock Layer",
           [&](const std::string& id) { model().setLayerLocked(id, isLocked); });
  };
  row->onRename = [this, row] { rename(row); };
  row->onMenu = [this, row](const QPoint& at) { openMenu(row, at); };
  row->onKey = [this, row](int key, Qt::KeyboardModifiers modifiers) {
    return keyPressed(row, key, modifiers);
  };
  row->onDragged = [this, row](const QPoint& at) { drag(row, at); };
  row->onDropped = [this] { drop(); };
}

void LayerList::change(const LayerRow& row, const std::string& step,
                       const std::function<void(const std::string& id)>& change) {
  const std::string id = row.line().id;
  if (!id.empty()) return change(id);
  LayerSpec capture = newCaptureLayer(model().captureSize());
  const std::string captureID = capture.id;
  model().beginStep(step);
  model().edit(step, [&](EditorSnapshot& state) {
    if (state.layers->empty()) state.setLayers({std::move(capture)});
  });
  change(captureID);
  model().endStep();
}

void LayerList::focusRow(std::size_t index) {
  if (index >= rows_.size()) return;
  rows_[index]->setFocus(Qt::TabFocusReason);
  if (const std::string id = rows_[index]->line().id; !id.empty()) model().selectLayer(id);
}

bool LayerList::keyPressed(LayerRow* row, int key, Qt::KeyboardModifiers modifiers) {
  letGo();
  const std::size_t index = indexOf(row);
  const bool hasAlt = modifiers.testFlag(Qt::AltModifier);
  if (!hasAlt && (modifiers & ~Qt::KeypadModifier) != 0) return false;
  switch (key) {
    case Qt::Key_Up:
      if (hasAlt) {
        step(*row, -1);
      } else if (index > 0) {
        focusRow(index - 1);
      }
      return true;
    case Qt::Key_Down:
      if (hasAlt) {
        step(*row, 1);
      } else {
        focusRow(index + 1);
      }
      return true;
    case Qt::Key_Home: focusRow(0); return true;
    case Qt::Key_End: focusRow(rows_.size() - 1); return true;
    case Qt::Key_F2: rename(row); return true;
    case Qt::Key_Delete:
    case Qt::Key_Backspace:
      if (const std::string id = row->line().id; !id.empty()) model().deleteLayer(id);
      return true;
    case Qt::Key_Return:
    case Qt::Key_Enter: row->click(); return true;
    case Qt::Key_Escape:
      if (!drag_) return false;
      cancelDrag();
      return true;
    default: return false;
  }
}

void LayerList::moveTo(const std::string& id, std::size_t row) {
  const std::size_t last = rows_.size() - 1;
  model().moveLayerTo(id, last - std::min(row, last));
}

void LayerList::step(const LayerRow& row, int rowsDown) {
  const auto index = static_cast<std::ptrdiff_t>(indexOf(&row)) + rowsDown;
  if (row.line().id.empty() || index < 0 || index >= std::ssize(rows_)) return;
  moveTo(std::string(row.line().id), static_cast<std::size_t>(index));
}

void LayerList::rename(LayerRow* row) {
  const QString before = row->line().name;
  const std::string id = row->line().id;
  auto* const field =
      new NameField(before, QStringLiteral("Name of the layer"), row->nameArea(), row);
  field->onDone = [this, before, row = QPointer(row), id](std::optional<QString> name) {
    const QString kept = name ? shownName(name->toStdString(), {}) : QString();
    if (kept.isEmpty() || kept == before) return;
    if (!id.empty()) {
      model().renameLayer(id, kept.toStdString());
    } else if (row) {
      change(*row, "Rename Layer",
             [&](const std::string& made) { model().renameLayer(made, kept.toStdString()); });
    }
  };
}

void LayerList::addArrangements(QMenu& menu) {
  const auto add = [&](const char* words, CombineLayout layout) {
    connect(menu.addAction(QString::fromUtf8(words)), &QAction::triggered, this,
            [this, layout] { model().arrangeLayers(layout); });
  };
  add("Grid", CombineLayout::grid);
  add("Stacked", CombineLayout::stacked);
  add("Side by Side", CombineLayout::sideBySide);
}

void LayerList::openMenu(LayerRow* row, const QPoint& global) {
  const LayerLine line = row->line();
  auto* const menu = new QMenu(this);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  menu->setToolTipsVisible(true);
  const auto add = [&](const char* words, const char* key, std::function<void()> action) {
    QString text = QString::fromUtf8(words);
    if (key[0] != 0) text += u'\t' + QString::fromUtf8(key);
    auto* const item = menu->addAction(text);
    connect(item, &QAction::triggered, this,
            [row = QPointer(row), id = line.id, action = std::move(action)] {
              // The rows may have moved on meanwhile.
              if (row && row->line().id == id) action();
            });
    return item;
  };
  add("Rename", "F2", [this, row] { rename(row); });
  const LayerSpec* const layer = model().state().findLayer(line.id);
  const bool isOwnFile = layer != nullptr && layer->path;
  if (isOwnFile) {
    add("Duplicate", "", [this, id = line.id] {
      model().selectLayer(id);
      model().duplicate();
    });
  }
  add(line.isVisible ? "Hide Layer" : "Show Layer", "", [row] { row->onVisible(); });
  add(line.isLocked ? "Unlock Layer" : "Lock Layer", "", [row] { row->onLocked(); });
  menu->addSeparator();
  const std::size_t index = indexOf(row);
  const std::size_t last = rows_.size() - 1;
  const bool isTop = index == 0;
  const bool isBottom = index == last;
  add("Bring Forward", "Alt+Up", [this, row] { step(*row, -1); })->setEnabled(!isTop);
  add("Send Backward", "Alt+Down", [this, row] { step(*row, 1); })->setEnabled(!isBottom);
  add("Bring to Front", "", [this, id = line.id] { moveTo(id, 0); })->setEnabled(!isTop);
  add("Send to Back", "", [this, id = line.id, last] { moveTo(id, last); })->setEnabled(!isBottom);
  menu->addSeparator();
  auto* const arrange = menu->addMenu(QStringLiteral("Arrange"));
  arrange->setEnabled(rows_.size() > 1);
  addArrangements(*arrange);
  menu->addSeparator();
  auto* const remove =
      add("Remove Layer", "Del", [this, id = line.id] { model().deleteLayer(id); });
  if (!isOwnFile) {
    remove->setEnabled(false);
    remove->setToolTip(QStringLiteral("The capture can be hidden, not removed"));
  }
  menu->popup(global);
}

void LayerList::drag(const LayerRow* row, const QPoint& global) {
  if (row->line().id.empty()) return;
  if (!drag_) {
    drag_ = Drag{row->line().id, indexOf(row)};
    setFocus(Qt::MouseFocusReason);
    grabKeyboard();
  } else if (drag_->id != row->line().id) {
    return;
  }
  const int y = mapFromGlobal(global).y();
  std::size_t gap = 0;
  while (gap < rows_.size() && y > rows_[gap]->geometry().center().y()) ++gap;
  drag_->gap = gap;
  const int line =
      gap < rows_.size() ? rows_[gap]->geometry().top() : rows_.back()->geometry().bottom() + 1;
  insertion_->setGeometry(listEdge, line - 4, width() - 2 * listEdge, 8);
  insertion_->show();
  insertion_->raise();
  for (QWidget* around = parentWidget(); around != nullptr; around = around->parentWidget()) {
    auto* const area = qobject_cast<QScrollArea*>(around);
    if (area == nullptr || area->widget() == nullptr) continue;
    const QPoint at = area->widget()->mapFromGlobal(global);
    area->ensureVisible(at.x(), at.y(), 0, tokens::space32);
    break;
  }
}

void LayerList::drop() {
  if (!drag_) return;
  const Drag drag = *drag_;
  cancelDrag();
  std::size_t from = 0;
  while (from < rows_.size() && rows_[from]->line().id != drag.id) ++from;
  if (from == rows_.size()) return;
  const std::size_t to = drag.gap > from ? drag.gap - 1 : drag.gap;
  rows_[from]->setFocus(Qt::MouseFocusReason);
  if (to != from) moveTo(drag.id, to);
}

void LayerList::cancelDrag() {
  if (!drag_) return;
  drag_.reset();
  releaseKeyboard();
  insertion_->hide();
}

void LayerList::letGo() {
  if (!std::exchange(isHeld_, false)) return;
  if (onLetGo) onLetGo();
}

void LayerList::leaveEvent(QEvent* event) {
  QWidget::leaveEvent(event);
  letGo();
}

void LayerList::hideEvent(QHideEvent* event) {
  QWidget::hideEvent(event);
  letGo();
}

void LayerList::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape && drag_) return cancelDrag();
  QWidget::keyPressEvent(event);
}

}  // namespace vantorel
