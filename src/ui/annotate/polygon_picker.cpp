#include "ui/annotate/polygon_picker.hpp"

#include <QButtonGroup>
#include <QGridLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QRadioButton>
#include <algorithm>

#include "editor/shape_geometry.hpp"
#include "editor/shown_style.hpp"
#include "ui/annotate/segment_pictures.hpp"
#include "ui/kit/application_font.hpp"
#include "ui/kit/box_painting.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int polygonColumns = 4;

class PolygonCell : public QRadioButton {
 public:
  PolygonCell(PolygonForm form, QWidget* parent)
      : QRadioButton(QString::fromStdString(polygonName(form)), parent),
        picture_(polygonPicture(form)) {
    setAttribute(Qt::WA_Hover);
    setAccessibleName(text());
    setFollowingFont(*this, tokens::smallFont);
  }

  std::function<void()> onPicked;
  std::function<void(QKeyEvent& key)> onKept;  // Return on the one that is set

  [[nodiscard]] QSize sizeHint() const override {
    const int line = fontMetrics().height();
    return {std::max(72, fontMetrics().horizontalAdvance(text()) + tokens::space16),
            tokens::space32 + line + tokens::space12};
  }
  [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

 protected:
  [[nodiscard]] bool hitButton(const QPoint& at) const override { return rect().contains(at); }

  void mouseReleaseEvent(QMouseEvent* event) override {
    const bool isHit = isDown();
    QRadioButton::mouseReleaseEvent(event);
    if (isHit) onPicked();
  }

  void keyPressEvent(QKeyEvent* event) override {
    switch (event->key()) {
      case Qt::Key_Return:
      case Qt::Key_Enter: return onKept ? onKept(*event) : onPicked();
      case Qt::Key_Space: return onPicked();
      default: QRadioButton::keyPressEvent(event);
    }
  }

  void paintEvent(QPaintEvent*) override {
    const PaletteRoles roles = rolesOf(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (isChecked() || underMouse() || isDown()) {
      paintBox(painter, rect(), tokens::buttonRadius,
               isChecked() ? roles.selection
               : isDown()  ? roles.press
                           : roles.hover,
               Qt::NoPen);
    }
    picture_(painter, QRectF(0, tokens::space4, width(), tokens::space32),
             isChecked() ? roles.accentText : roles.text);
    painter.setPen(roles.text);
    painter.setFont(font());
    painter.drawText(QRect(0, tokens::space32 + 2, width(), height() - tokens::space32 - 2),
                     Qt::AlignCenter, text());
    if (hasKeyboardFocus(*this)) {
      paintFocusRing(painter, QRectF(rect()).adjusted(3, 3, -3, -3), tokens::buttonRadius - 2,
                     roles.focus);
    }
  }

 private:
  SegmentedControl::Picture picture_;
};

}  // namespace

void PolygonPicker::open(EditorModel& model, QWidget* anchor, const QWidget* strip) {
  auto* const picker = new PolygonPicker(model, anchor);
  picker->Popover::open(strip);
}

PolygonPicker::PolygonPicker(EditorModel& model, QWidget* anchor)
    : Popover(QStringLiteral("Polygon"), anchor) {
  auto* const grid = new QGridLayout(this);
  grid->setContentsMargins(0, 0, 0, 0);
  grid->setSpacing(tokens::space4);
  auto* const group = new QButtonGroup(this);
  const ShownStyle shown = shownStyle(model);
  const bool isKnown = shown.sides.isThere && !shown.sides.isMixed && !shown.starInset.isMixed;
  PolygonCell* first = nullptr;
  int index = 0;
  for (const auto& preset : enumNames<PolygonPreset>) {
    const PolygonForm form = polygonForm(preset.value);
    auto* const cell = new PolygonCell(form, this);
    group->addButton(cell, index);
    grid->addWidget(cell, index / polygonColumns, index % polygonColumns);
    ++index;
    const bool isCurrent = isKnown && form == PolygonForm{shown.sides.value, shown.starInset.value};
    if (isCurrent) {
      cell->setChecked(true);
      cell->onKept = [this](QKeyEvent& key) { leaveTo(key); };
    }
    if (first == nullptr || isCurrent) first = cell;
    cell->onPicked = [this, &model, form] {
      model.changeStyle([&](ToolStyle& style) {
        style.sides = form.sides;
        style.starInset = form.starInset;
      });
      close();
    };
  }
  first->setFocus();
}

}  // namespace vantorel
