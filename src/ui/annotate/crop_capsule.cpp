#include "ui/annotate/crop_capsule.hpp"

#include <QEvent>
#include <QHBoxLayout>
#include <QIntValidator>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <algorithm>
#include <cmath>
#include <utility>

#include "app/annotate_model.hpp"
#include "editor/crop_frame.hpp"
#include "ui/kit/accessible_role.hpp"
#include "ui/kit/desktop_palette.hpp"
#include "ui/kit/floating_bar.hpp"
#include "ui/kit/role_label.hpp"
#include "ui/kit/segmented_control.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int handleReach = 12;  // px from the frame in which its handles are taken
constexpr int capsuleGap = 12;   // px from the frame and the edges

/// Dark on every desktop, as the bar is that they stand on.
QPalette capsulePalette() {
  QPalette palette = desktopPalette(true);
  palette.setColor(QPalette::Window, floatingColors().opaquePanel);
  return palette;
}

}  // namespace

CropCapsule::CropCapsule(InspectedEditor editor, QWidget* canvas) : CropCapsule(canvas) {
  begin(std::move(editor));
}

CropCapsule::CropCapsule(std::shared_ptr<AnnotateModel> model, QWidget* canvas)
    : CropCapsule(canvas) {
  model_ = std::move(model);
  if (model_->stage() == AnnotateModel::Stage::ready) {
    begin(inspected(model_, this));
    return;
  }
  changes_ = model_->observe([this](const AnnotateModel::Change& change) {
    if (!change.stage || model_->stage() != AnnotateModel::Stage::ready) return;
    begin(inspected(model_, this));
  });
}

CropCapsule::CropCapsule(QWidget* canvas) : QWidget(canvas), rows_(new QHBoxLayout(this)) {
  setPalette(capsulePalette());
  setCursor(Qt::ArrowCursor);
  setAccessibleRole(*this, QAccessible::ToolBar);
  setAccessibleName(QStringLiteral("Crop"));
  constexpr int edge = floating_bar::shadow + tokens::space8;
  rows_->setContentsMargins(edge, edge, edge, edge);
  rows_->setSpacing(tokens::space12);

  aspect_ = new SegmentedControl({{QStringLiteral("Free"), {}, {}, {}},
                                  {QStringLiteral("Square"), {}, {}, {}},
                                  {QStringLiteral("4:3"), {}, {}, {}},
                                  {QStringLiteral("16:9"), {}, {}, {}}},
                                 this, SegmentedControl::Size::small);
  aspect_->setAccessibleName(QStringLiteral("Aspect"));
  aspect_->onChosen([this](int index) {
    chooseCropAspect(*editor_.model, enumNames<CropAspect>[static_cast<std::size_t>(index)].value);
  });
  rows_->addWidget(aspect_);

  auto* const rest = new QHBoxLayout;
  rest->setSpacing(tokens::space4);
  rows_->addLayout(rest);
  const auto addField = [&](const QString& name, bool isHeight) {
    auto* const field = new QLineEdit(this);
    field->setAccessibleName(name);
    field->setToolTip(QStringLiteral("%1 in pixels").arg(name));
    field->setAlignment(Qt::AlignCenter);
    field->setLayoutDirection(Qt::LeftToRight);
    field->setValidator(new QIntValidator(1, 99'999, field));
    field->setFixedWidth(field->fontMetrics().horizontalAdvance(QStringLiteral("00000")) + 20);
    field->installEventFilter(this);
    connect(field, &QLineEdit::editingFinished, this, [this, isHeight] { typed(isHeight); });
    rest->addWidget(field);
    return field;
  };
  width_ = addField(QStringLiteral("Width"), false);
  auto* const times =
      new RoleLabel(QStringLiteral("×"), &PaletteRoles::quiet, tokens::bodyFont, this);
  times->setWordWrap(false);
  rest->addWidget(times);
  height_ = addField(QStringLiteral("Height"), true);
  rest->addSpacing(tokens::space8);
  auto* const cancel = new QPushButton(QStringLiteral("Cancel"), this);
  cancel->setAutoDefault(false);
  cancel->setToolTip(QStringLiteral("Leave the picture as it is (Esc)"));
  connect(cancel, &QPushButton::clicked, this, [this] {
    editor_.model->setPendingCrop(std::nullopt);
    leave();
  });
  rest->addWidget(cancel);
  rest->addSpacing(tokens::space4);
  apply_ = new QPushButton(QStringLiteral("Apply"), this);
  apply_->setAutoDefault(false);
  apply_->setDefault(true);
  apply_->setToolTip(QStringLiteral("Cut the picture to the frame (Enter)"));
  connect(apply_, &QPushButton::clicked, this, [this] { leave(); });
  rest->addWidget(apply_);

  canvas->installEventFilter(this);
  hide();
}

void CropCapsule::begin(InspectedEditor editor) {
  editor_ = std::move(editor);
  changes_ = editor_.observe([this] { refresh(); });
  refresh();
}

void CropCapsule::leave() {
  // The keyboard must not stay with what goes.
  parentWidget()->setFocus(Qt::OtherFocusReason);
  // Applies what is pending.
  editor_.model->pickTool(Tool::select);
}

void CropCapsule::typed(bool isHeight) {
  const QLineEdit* const field = isHeight ? height_ : width_;
  if (!field->isModified()) return;
  const double width = width_->text().toDouble();
  const double height = height_->text().toDouble();
  const bool isWhole = (isHeight ? height : width) >= 1;
  // Without a frame, the side that was not typed is the canvas's.
  const CanvasSize canvas = editor_.model->canvasSize();
  if (isWhole) {
    setCropSize(*editor_.model, width >= 1 ? width : canvas.width,
                height >= 1 ? height : canvas.height, isHeight);
  }
  width_->setModified(false);
  height_->setModified(false);
  refresh();
}

void CropCapsule::refresh() {
  const EditorModel& model = *editor_.model;
  if (model.tool() != Tool::crop) return hide();
  aspect_->setCurrent(static_cast<int>(model.cropAspect()));
  const auto& pending = model.pendingCrop();
  const auto write = [&](QLineEdit* field, double length) {
    if (field->isModified()) return;
    const QString text = pending ? QString::number(std::lround(length)) : QString();
    if (field->text() != text) field->setText(text);
  };
  write(width_, pending ? pending->w : 0);
  write(height_, pending ? pending->h : 0);
  apply_->setEnabled(pending.has_value());
  place();
  if (isHidden()) {
    show();
    raise();
  }
}

void CropCapsule::setFrame(const QRect& frame) {
  if (frame_ == frame) return;
  frame_ = frame;
  if (isVisible()) place();
}

void CropCapsule::place() {
  const QWidget& canvas = *parentWidget();
  rows_->setDirection(QBoxLayout::LeftToRight);
  constexpr int shadow = floating_bar::shadow;
  if (rows_->sizeHint().width() - 2 * shadow > canvas.width() - 2 * tokens::space8) {
    rows_->setDirection(QBoxLayout::TopToBottom);
  }
  const QSize size = rows_->sizeHint();
  const QSize panel = size - QSize(2 * shadow, 2 * shadow);
  const int middle = frame_.isEmpty() ? canvas.width() / 2 : frame_.center().x();
  const int lowest = canvas.height() - capsuleGap - panel.height();
  int y = frame_.isEmpty() ? lowest : frame_.bottom() + 1 + handleReach + capsuleGap;
  // Above the frame where there is no room below, else within it.
  const int above = frame_.top() - handleReach - capsuleGap - panel.height();
  if (y > lowest && above >= capsuleGap) {
    y = above;
  }
  y = std::clamp(y, capsuleGap, std::max(capsuleGap, lowest));
  const int x =
      std::clamp(middle - panel.width() / 2, tokens::space8,
                 std::max(tokens::space8, canvas.width() - tokens::space8 - panel.width()));
  setGeometry(x - shadow, y - shadow, size.width(), size.height());
}

void CropCapsule::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  constexpr int shadow = floating_bar::shadow;
  floating_bar::paint(painter, QRectF(rect()).adjusted(shadow, shadow, -shadow, -shadow));
}

void CropCapsule::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  place();
}

/// Through its shadow handles can be taken, which are the canvas's.
void CropCapsule::takeOrLeave(QMouseEvent& event) {
  constexpr int shadow = floating_bar::shadow;
  const QRect panel = rect().adjusted(shadow, shadow, -shadow, -shadow);
  if (event.type() == QEvent::MouseButtonPress || event.type() == QEvent::MouseButtonDblClick) {
    isPressTaken_ = panel.contains(event.position().toPoint());
  }
  event.setAccepted(isPressTaken_);
}

void CropCapsule::mousePressEvent(QMouseEvent* event) { takeOrLeave(*event); }
void CropCapsule::mouseDoubleClickEvent(QMouseEvent* event) { takeOrLeave(*event); }
void CropCapsule::mouseMoveEvent(QMouseEvent* event) { takeOrLeave(*event); }
void CropCapsule::mouseReleaseEvent(QMouseEvent* event) { takeOrLeave(*event); }

void CropCapsule::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape) {
    editor_.model->setPendingCrop(std::nullopt);
    return leave();
  }
  QWidget::keyPressEvent(event);
}

bool CropCapsule::eventFilter(QObject* watched, QEvent* event) {
  if (watched == parentWidget()) {
    if (event->type() == QEvent::Resize && isVisible()) place();
    return false;
  }
  auto* const field = qobject_cast<QLineEdit*>(watched);
  if (field == nullptr || event->type() != QEvent::KeyPress) return false;
  switch (static_cast<QKeyEvent*>(event)->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
      // First the size, then the cut.
      if (field->isModified()) {
        typed(field == height_);
        field->selectAll();
      } else if (apply_->isEnabled()) {
        leave();
      }
      return true;
    case Qt::Key_Escape:
      if (!field->isModified()) return false;
      field->setModified(false);
      refresh();
      parentWidget()->setFocus(Qt::OtherFocusReason);
      return true;
    default: return false;
  }
}

}  // namespace vantorel
