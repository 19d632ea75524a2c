#include "ui/annotate/canvas_section.hpp"

#include <QHBoxLayout>
#include <QPainter>
#include <QStyle>
#include <algorithm>
#include <utility>

#include "editor/canvas_size.hpp"
#include "ui/annotate/canvas_size_sheet.hpp"
#include "ui/annotate/color_popover.hpp"
#include "ui/annotate/ink_swatches.hpp"
#include "ui/annotate/inspector_form.hpp"
#include "ui/annotate/shown_name.hpp"
#include "ui/annotate/small_button.hpp"
#include "ui/kit/accessible_role.hpp"
#include "ui/kit/application_font.hpp"
#include "ui/kit/box_painting.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/role_label.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

/// In this order in every direction of writing. What no picture can have came from elsewhere.
QString sizeWords(CanvasSize size) {
  if (!isPossibleSize(size.width, size.height)) return QStringLiteral("Too large");
  const QString words = QStringLiteral("%1 × %2 px")
                            .arg(QString::number(size.width, 'f', 0))
                            .arg(QString::number(size.height, 'f', 0));
  return leftToRight(words);
}

}  // namespace

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

/// The size with the button beside it, or below where both have no room.
class CanvasSection::SizeRow : public QWidget {
 public:
  SizeRow(QWidget* size, QWidget* button, QWidget* parent)
      : QWidget(parent), row_(new QHBoxLayout(this)), size_(size), button_(button) {
    setAccessibleRole(*this, QAccessible::Grouping);
    row_->setContentsMargins(0, 0, 0, 0);
    row_->setSpacing(tokens::space8);
    row_->addWidget(size_, 1);
    row_->addWidget(button_);
    QSizePolicy policy(QSizePolicy::Minimum, QSizePolicy::Fixed);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
  }

  [[nodiscard]] QSize sizeHint() const override {
    const QSize size = size_->sizeHint();
    const QSize button = button_->sizeHint();
    return {size.width() + tokens::space8 + button.width(),
            std::max(size.height(), button.height())};
  }
  [[nodiscard]] int heightForWidth(int width) const override {
    if (width >= sizeHint().width()) return sizeHint().height();
    return size_->heightForWidth(width) + tokens::space8 + button_->sizeHint().height();
  }

 protected:
  void resizeEvent(QResizeEvent* event) override {
    QWidget::resizeEvent(event);
    const bool isRow = width() >= sizeHint().width();
    row_->setDirection(isRow ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);
    row_->setAlignment(button_, isRow ? Qt::Alignment() : Qt::Alignment(Qt::AlignLeading));
  }

 private:
  QBoxLayout* row_;
  QWidget* size_;
  QWidget* button_;
};

CanvasSection::CanvasSection(InspectedEditor editor, QWidget* parent)
    : InspectorSection(QStringLiteral("canvas"), false, parent),
      editor_(std::move(editor)),
      form_(new InspectorForm(this)) {
  setTitle(QStringLiteral("Canvas"));
  addContent(form_);
  size_ = new RoleLabel({}, &PaletteRoles::text, tokens::smallFont, this);
  size_->setWordWrap(false);
  auto* const change = new SmallButton(QStringLiteral("Change…"), this);
  change->setAccessibleDescription(QStringLiteral("Canvas size"));
  connect(change, &QAbstractButton::clicked, this,
          [this] { CanvasSizeSheet::open(editor_, window()); });
  form_->addRow(QStringLiteral("Size"), new SizeRow(size_, change, form_));
  color_ = new ColorButton(form_);
  connect(color_, &QAbstractButton::clicked, this, [this] {
    ColorPopover::open(editor_.model, "Canvas Color", color_, color_->text(),
                       [this](const std::string& color) { editor_.model->setCanvasColor(color); });
  });
  form_->addRow(QStringLiteral("Color"), color_);
}

void CanvasSection::refresh() {
  const CanvasSize size = editor_.model->canvasSize();
  const QString words = sizeWords(size);
  size_->setText(words);
  setFoldedWords(words);
  color_->setText(QString::fromStdString(editor_.model->state().canvas->backdropHex));
  color_->setAccessibleDescription(inkName(color_->text()));
  color_->update();
}

}  // namespace vantorel
