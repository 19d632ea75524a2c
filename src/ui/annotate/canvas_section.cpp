#include "ui/annotate/canvas_section.hpp"

#include <QHBoxLayout>
#include <QPainter>
#include <QStyle>
#include <utility>

#include "ui/annotate/canvas_size_sheet.hpp"
#include "ui/annotate/color_popover.hpp"
#include "ui/annotate/ink_swatches.hpp"
#include "ui/annotate/inspector_form.hpp"
#include "ui/annotate/small_button.hpp"
#include "ui/kit/accessible_role.hpp"
#include "ui/kit/application_font.hpp"
#include "ui/kit/box_painting.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/role_label.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {

/// A patch of the color and how it is written.
class CanvasSection::ColorButton : public QAbstractButton {
 public:
  explicit ColorButton(QWidget* parent) : QAbstractButton(parent) {
    setAccessibleRole(*this, QAccessible::ButtonMenu);
    setAccessibleName(QStringLiteral("Canvas color"));
    setToolTip(QStringLiteral("Canvas color"));
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
  }

  [[nodiscard]] QSize sizeHint() const override {
    return {tokens::space24 + tokens::space8 + fontMetrics().horizontalAdvance(text()) + 8,
            tokens::controlHeight(tokens::smallControl, font())};
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    const PaletteRoles roles = rolesOf(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRect all =
        QStyle::visualRect(layoutDirection(), rect(), {0, 0, sizeHint().width(), height()});
    if (underMouse() || isDown()) {
      paintBox(painter, all, tokens::buttonRadius, isDown() ? roles.press : roles.hover, Qt::NoPen);
    }
    const auto placed = [&](const QRect& area) {
      return QStyle::visualRect(layoutDirection(), rect(), area);
    };
    paintInk(painter, placed({2, (height() - 20) / 2, 20, 20}), QColor(text()), palette());
    painter.setPen(roles.text);
    painter.drawText(placed({30, 0, width() - 30, height()}),
                     Qt::AlignVCenter | (isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft), text());
    if (hasKeyboardFocus(*this)) {
      paintFocusRing(painter, QRectF(all).adjusted(3, 3, -3, -3), tokens::buttonRadius - 2,
                     roles.focus);
    }
  }
};

CanvasSection::CanvasSection(InspectedEditor editor, QWidget* parent)
    : InspectorSection(QStringLiteral("canvas"), false, parent),
      editor_(std::move(editor)),
      form_(new InspectorForm(this)) {
  setTitle(QStringLiteral("Canvas"));
  addContent(form_);
  auto* const sizeRow = new QWidget(form_);
  setAccessibleRole(*sizeRow, QAccessible::Grouping);
  auto* const row = new QHBoxLayout(sizeRow);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(tokens::space8);
  auto* const size = new RoleLabel({}, &PaletteRoles::text, tokens::smallFont, sizeRow);
  size->setMostLines(2);
  size_ = size;
  row->addWidget(size_, 1);
  auto* const change = new SmallButton(QStringLiteral("Change…"), sizeRow);
  change->setAccessibleDescription(QStringLiteral("Canvas size"));
  connect(change, &QAbstractButton::clicked, this,
          [this] { CanvasSizeSheet::open(editor_, window()); });
  row->addWidget(change);
  form_->addRow(QStringLiteral("Size"), sizeRow);
  color_ = new ColorButton(form_);
  connect(color_, &QAbstractButton::clicked, this, [this] {
    ColorPopover::open(editor_.model, "Canvas Color", color_, color_->text(),
                       [this](const std::string& color) { editor_.model->setCanvasColor(color); });
  });
  form_->addRow(QStringLiteral("Color"), color_);
}

void CanvasSection::refresh() {
  const CanvasSize size = editor_.model->canvasSize();
  const QString words = QStringLiteral("%1 × %2 px").arg(size.width).arg(size.height);
  size_->setText(words);
  setFoldedWords(words);
  color_->setText(QString::fromStdString(editor_.model->state().canvas->backdropHex));
  color_->setAccessibleDescription(inkName(color_->text()));
  color_->update();
}

}  // namespace vantorel
