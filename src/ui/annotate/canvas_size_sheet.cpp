#include "ui/annotate/canvas_size_sheet.hpp"

#include <QAccessible>
#include <QButtonGroup>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>
#include <algorithm>
#include <array>
#include <utility>

#include "ui/kit/accessible_role.hpp"
#include "ui/kit/box_painting.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/role_label.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int sheetWidth = 360;
constexpr int anchorSide = 36;
constexpr std::array anchorNames{"Top left", "Top",         "Top right", "Left",        "Middle",
                                 "Right",    "Bottom left", "Bottom",    "Bottom right"};

class AnchorCell : public QRadioButton {
 public:
  AnchorCell(const QString& name, QWidget* parent) : QRadioButton(parent) {
    setAccessibleName(name);
    setToolTip(name);
    setFixedSize(anchorSide, anchorSide);
    setAttribute(Qt::WA_Hover);
  }

 protected:
  [[nodiscard]] bool hitButton(const QPoint& at) const override { return rect().contains(at); }

  void paintEvent(QPaintEvent*) override {
    const PaletteRoles roles = rolesOf(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF area = QRectF(rect()).adjusted(2, 2, -2, -2);
    paintBox(painter, area, tokens::keyCapRadius,
             isChecked()    ? roles.selection
             : underMouse() ? roles.hover
                            : QColor(Qt::transparent),
             QPen(isChecked() ? roles.focus : roles.fieldBorder));
    painter.setPen(Qt::NoPen);
    painter.setBrush(isChecked() ? roles.accentText : roles.switchOff);
    const double half = isChecked() ? 6 : 2.5;
    painter.drawRoundedRect(QRectF(area.center() - QPointF(half, half), QSizeF(2 * half, 2 * half)),
                            2, 2);
    if (hasKeyboardFocus(*this)) {
      paintFocusRing(painter, area.adjusted(2, 2, -2, -2), tokens::keyCapRadius, roles.focus);
    }
  }
};

}  // namespace

/// Where the content stays. A picture of the canvas, so it is never mirrored.
class CanvasSizeSheet::AnchorGrid : public QWidget {
 public:
  explicit AnchorGrid(QWidget* parent) : QWidget(parent), group_(new QButtonGroup(this)) {
    setLayoutDirection(Qt::LeftToRight);
    setAccessibleRole(*this, QAccessible::Grouping);
    setAccessibleName(QStringLiteral("The content stays at"));
    auto* const grid = new QGridLayout(this);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setSpacing(0);
    for (int i = 0; i < static_cast<int>(anchorNames.size()); ++i) {
      auto* const cell =
          new AnchorCell(QString::fromLatin1(anchorNames[static_cast<std::size_t>(i)]), this);
      group_->addButton(cell, i);
      grid->addWidget(cell, i / 3, i % 3);
    }
    group_->button(static_cast<int>(CanvasAnchor::topLeft))->setChecked(true);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  }
  [[nodiscard]] CanvasAnchor current() const {
    return static_cast<CanvasAnchor>(group_->checkedId());
  }

 private:
  QButtonGroup* group_;
};

void CanvasSizeSheet::open(InspectedEditor editor, QWidget* window) {
  auto* const sheet = new CanvasSizeSheet(std::move(editor), window);
  sheet->setAttribute(Qt::WA_DeleteOnClose);
  sheet->QDialog::open();
}

CanvasSizeSheet::CanvasSizeSheet(InspectedEditor editor, QWidget* window)
    : QDialog(window),
      editor_(std::move(editor)),
      width_(new QLineEdit(this)),
      height_(new QLineEdit(this)),
      anchors_(new AnchorGrid(this)),
      sentence_(new RoleLabel({}, &PaletteRoles::quiet, tokens::smallFont, this)),
      change_(new QPushButton(QStringLiteral("Change"), this)) {
  setWindowTitle(QStringLiteral("Canvas Size"));
  setWindowModality(Qt::WindowModal);
  auto* const column = new QVBoxLayout(this);
  column->setContentsMargins(tokens::space16, tokens::space16, tokens::space16, tokens::space16);
  column->setSpacing(tokens::space16);
  auto* const row = new QHBoxLayout;
  row->setSpacing(tokens::space24);
  column->addLayout(row);
  auto* const fields = new QGridLayout;
  fields->setHorizontalSpacing(tokens::space8);
  fields->setVerticalSpacing(tokens::space8);
  row->addLayout(fields, 1);
  const CanvasSize size = editor_.model->canvasSize();
  const auto addField = [&](int line, QLineEdit* field, const QString& name, double pixels) {
    auto* const label = new RoleLabel(name, &PaletteRoles::text, tokens::bodyFont, this);
    label->setWordWrap(false);
    label->setBuddy(field);
    auto* const unit =
        new RoleLabel(QStringLiteral("px"), &PaletteRoles::quiet, tokens::smallFont, this);
    unit->setWordWrap(false);
    field->setAccessibleName(name);
    field->setLayoutDirection(Qt::LeftToRight);
    field->setMaxLength(12);
    field->setMinimumWidth(field->fontMetrics().horizontalAdvance(QStringLiteral("00000")) + 24);
    field->setText(QString::number(pixels, 'f', 0));
    fields->addWidget(label, line, 0);
    fields->addWidget(field, line, 1);
    fields->addWidget(unit, line, 2);
    connect(field, &QLineEdit::textChanged, this, [this] { judge(); });
  };
  addField(0, width_, QStringLiteral("Width"), size.width);
  addField(1, height_, QStringLiteral("Height"), size.height);
  fields->setColumnStretch(1, 1);
  fields->setRowStretch(2, 1);
  row->addWidget(anchors_, 0, Qt::AlignTop);
  // Two lines from the start: the buttons stay where they are.
  sentence_->setMinimumHeight(2 * QFontMetrics(tokens::smallFont()).lineSpacing());
  sentence_->setAlignment(Qt::AlignLeading | Qt::AlignTop);
  column->addWidget(sentence_);
  auto* const buttons = new QHBoxLayout;
  buttons->setSpacing(tokens::space8);
  column->addLayout(buttons);
  buttons->addStretch(1);
  auto* const cancel = new QPushButton(QStringLiteral("Cancel"), this);
  cancel->setAutoDefault(false);
  change_->setDefault(true);
  buttons->addWidget(cancel);
  buttons->addWidget(change_);
  connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
  connect(change_, &QPushButton::clicked, this, [this] { apply(); });
  setTabOrder(width_, height_);
  setTabOrder(height_, anchors_);
  setTabOrder(cancel, change_);
  setFixedWidth(std::max(sheetWidth, minimumSizeHint().width()));
  changes_ = editor_.observe([this] { judge(); });
  judge();
  width_->selectAll();
  width_->setFocus();
}

CanvasAnchor CanvasSizeSheet::chosenAnchor() const { return anchors_->current(); }

void CanvasSizeSheet::judge() {
  const auto size = checkedCanvasSize(width_->text().toStdString(), height_->text().toStdString(),
                                      editor_.model->canvasSize());
  change_->setEnabled(size.has_value());
  const QString words = size ? QString() : QString::fromStdString(sentence(size.error()));
  change_->setToolTip(words);
  if (sentence_->text() == words) return;
  const bool isFault = !size && size.error() != CanvasSizeFault::unchanged;
  sentence_->setRole(isFault ? &PaletteRoles::danger : &PaletteRoles::quiet);
  sentence_->setText(words);
  sentence_->setAccessibleName(words);
  if (words.isEmpty()) return;
  QAccessibleEvent alert(sentence_, QAccessible::Alert);
  QAccessible::updateAccessibility(&alert);
}

void CanvasSizeSheet::apply() {
  const std::string width = width_->text().toStdString();
  const std::string height = height_->text().toStdString();
  if (editor_.model->resizeCanvas(width, height, chosenAnchor())) accept();
}

void CanvasSizeSheet::paintEvent(QPaintEvent*) {
  QPainter(this).fillRect(rect(), rolesOf(palette()).window);
}

void openCanvasSizeSheet(const std::shared_ptr<AnnotateModel>& model, QWidget* window) {
  CanvasSizeSheet::open(inspected(model, window), window);
}

}  // namespace vantorel
