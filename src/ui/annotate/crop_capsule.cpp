#include "ui/annotate/crop_capsule.hpp"

#include <QEvent>
#include <QHBoxLayout>
#include <QIntValidator>
#include <QKeyEvent>
#include <QLineEdit>
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
constexpr int frameStart = 24;   // px on both sides of the picture's edge in which a frame is begun

/// What the capsule leaves to the canvas: the handles, or, without a frame, the picture's edges
/// above and below.
QRegion keptFree(const QRect& frame, const QRect& picture) {
  QRegion free;
  if (frame.isEmpty()) {
    for (const int y : {picture.top(), picture.bottom() + 1}) {
      free += QRect(picture.left(), y - frameStart, picture.width(), 2 * frameStart);
    }
    return free;
  }
  const QPoint middle = frame.center();
  for (const int x : {frame.left(), middle.x(), frame.right()}) {
    for (const int y : {frame.top(), middle.y(), frame.bottom()}) {
      if (QPoint(x, y) == middle) continue;
      free += QRect(x - handleReach, y - handleReach, 2 * handleReach + 1, 2 * handleReach + 1);
    }
  }
  return free;
}

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
  whenReady(model_, this, changes_, [this](InspectedEditor editor) { begin(std::move(editor)); });
}

/// What is seen of the capsule below its controls. The handles under its shadow are the canvas's.
class CropCapsule::Ground : public QWidget {
 public:
  explicit Ground(QWidget* canvas) : QWidget(canvas) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    hide();
  }

  void layUnder(const QRect& panel) {
    constexpr int shadow = floating_bar::shadow;
    setGeometry(panel.adjusted(-shadow, -shadow, shadow, shadow));
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    constexpr int shadow = floating_bar::shadow;
    floating_bar::paint(painter, QRectF(rect()).adjusted(shadow, shadow, -shadow, -shadow));
  }
};

CropCapsule::CropCapsule(QWidget* canvas)
    : QWidget(canvas), ground_(new Ground(canvas)), rows_(new QHBoxLayout(this)) {
  setPalette(capsulePalette());
  setCursor(Qt::ArrowCursor);
  setAccessibleRole(*this, QAccessible::ToolBar);
  setAccessibleName(QStringLiteral("Crop"));
  constexpr int edge = tokens::space8;
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

  // Width before height in every direction of writing.
  auto* const size = new QWidget(this);
  size->setLayoutDirection(Qt::LeftToRight);
  auto* const sides = new QHBoxLayout(size);
  sides->setContentsMargins(0, 0, 0, 0);
  sides->setSpacing(tokens::space4);
  auto* const rest = new QHBoxLayout;
  rest->setSpacing(tokens::space4);
  rows_->addLayout(rest);
  const auto addField = [&](const QString& name, bool isHeight) {
    auto* const field = new QLineEdit(size);
    field->setAccessibleName(name);
    field->setToolTip(QStringLiteral("%1 in pixels").arg(name));
    field->setAlignment(Qt::AlignCenter);
    field->setLayoutDirection(Qt::LeftToRight);
    field->setValidator(new QIntValidator(1, 99'999, field));
    field->setFixedWidth(field->fontMetrics().horizontalAdvance(QStringLiteral("00000")) + 20);
    field->installEventFilter(this);
    connect(field, &QLineEdit::editingFinished, this, [this, isHeight] { typed(isHeight); });
    sides->addWidget(field);
    return field;
  };
  width_ = addField(QStringLiteral("Width"), false);
  auto* const times =
      new RoleLabel(QStringLiteral("×"), &PaletteRoles::quiet, tokens::bodyFont, this);
  times->setWordWrap(false);
  sides->addWidget(times);
  height_ = addField(QStringLiteral("Height"), true);
  rest->addWidget(size);
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
    // What is framed when nothing is.
    const QString text = QString::number(length, 'f', 0);
    field->setPlaceholderText(pending ? QString() : text);
    const QString written = pending ? text : QString();
    if (field->text() != written) field->setText(written);
  };
  const CanvasSize canvas = model.canvasSize();
  write(width_, pending ? pending->w : canvas.width);
  write(height_, pending ? pending->h : canvas.height);
  apply_->setEnabled(pending.has_value());
  apply_->setToolTip(pending ? QStringLiteral("Cut the picture to the frame (Return)")
                             : QStringLiteral("Drag a frame first"));
  place();
  if (isHidden()) {
    ground_->raise();
    raise();
    show();
  }
}

void CropCapsule::setFrame(const QRect& frame, const QRect& picture) {
  if (frame_ == frame && picture_ == picture) return;
  frame_ = frame;
  picture_ = picture;
  if (isVisible()) place();
}

void CropCapsule::place() {
  const QWidget& canvas = *parentWidget();
  rows_->setDirection(QBoxLayout::LeftToRight);
  if (rows_->sizeHint().width() > canvas.width() - 2 * tokens::space8) {
    rows_->setDirection(QBoxLayout::TopToBottom);
  }
  const QSize panel = rows_->sizeHint();
  const QRect framed = frame_.isEmpty() ? picture_ : frame_;
  const int middle = frame_.isEmpty() ? canvas.width() / 2 : frame_.center().x();
  const int x =
      std::clamp(middle - panel.width() / 2, tokens::space8,
                 std::max(tokens::space8, canvas.width() - tokens::space8 - panel.width()));
  const int highest = capsuleGap;
  const int lowest = std::max(highest, canvas.height() - capsuleGap - panel.height());
  const int distance = (frame_.isEmpty() ? frameStart : handleReach) + capsuleGap;
  const QRegion free = keptFree(frame_, picture_);
  // Below what is framed; else above it, within it, or wherever nothing is in its way.
  int y = lowest;
  for (const int wanted : {framed.bottom() + 1 + distance, framed.top() - distance - panel.height(),
                           framed.bottom() + 1 - distance - panel.height(), framed.top() + distance,
                           lowest, highest, framed.center().y() + distance}) {
    const bool isInView = wanted >= highest && wanted <= lowest;
    if (!isInView || free.intersects(QRect(QPoint(x, wanted), panel))) continue;
    y = wanted;
    break;
  }
  setGeometry({QPoint(x, y), panel});
  ground_->layUnder(geometry());
}

void CropCapsule::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  place();
  ground_->show();
}

void CropCapsule::hideEvent(QHideEvent* event) {
  QWidget::hideEvent(event);
  ground_->hide();
}

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
