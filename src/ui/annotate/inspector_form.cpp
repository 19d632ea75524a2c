#include "ui/annotate/inspector_form.hpp"

#include <QEvent>
#include <QStyle>
#include <algorithm>

#include "ui/kit/role_label.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int formSide = tokens::space16;
constexpr int formRowGap = 10;
constexpr int usualLabelWidth = 64;
constexpr double widestLabel = 0.4;  // of the row

int heightAt(const QWidget& field, int width) {
  const bool depends = field.hasHeightForWidth() || field.sizePolicy().hasHeightForWidth();
  return depends ? field.heightForWidth(width) : field.sizeHint().height();
}

}  // namespace

InspectorForm::InspectorForm(QWidget* parent) : QWidget(parent) {
  setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void InspectorForm::addRow(const QString& label, QWidget* field, int outset) {
  auto* const words = new RoleLabel(label, &PaletteRoles::quiet, tokens::smallFont, this);
  words->setWordWrap(false);
  field->setParent(this);
  if (field->accessibleName().isEmpty()) field->setAccessibleName(label);
  rows_.push_back({words, label, field, outset});
}

void InspectorForm::addWide(QWidget* field, int outset) {
  field->setParent(this);
  rows_.push_back({nullptr, {}, field, outset});
}

InspectorForm::Row* InspectorForm::rowOf(const QWidget* field) {
  const auto found = std::ranges::find(rows_, field, &Row::field);
  return found == rows_.end() ? nullptr : &*found;
}

void InspectorForm::setRowVisible(QWidget* field, bool isVisible) {
  Row* const row = rowOf(field);
  if (row == nullptr || row->isVisible == isVisible) return;
  row->isVisible = isVisible;
  field->setVisible(isVisible);
  if (row->label != nullptr) row->label->setVisible(isVisible);
  layOut();
}

void InspectorForm::setRowMixed(QWidget* field, bool isMixed) {
  const Row* const row = rowOf(field);
  if (row == nullptr || row->label == nullptr) return;
  const QString words = isMixed ? row->words + QStringLiteral(" –") : row->words;
  if (row->label->text() == words) return;
  row->label->setText(words);
  row->field->setAccessibleDescription(isMixed ? QStringLiteral("Mixed") : QString());
  layOut();
}

void InspectorForm::setRowOff(QWidget* field, const QString& reason) {
  const Row* const row = rowOf(field);
  if (row == nullptr) return;
  field->setEnabled(reason.isEmpty());
  field->setToolTip(reason);
  if (row->label == nullptr) return;
  row->label->setEnabled(reason.isEmpty());
  row->label->setToolTip(reason);
}

bool InspectorForm::isEmpty() const { return std::ranges::none_of(rows_, &Row::isVisible); }

int InspectorForm::labelWidth() const {
  int widest = usualLabelWidth;
  for (const Row& row : rows_) {
    if (row.isVisible && row.label != nullptr) {
      widest = std::max(widest, row.label->sizeHint().width());
    }
  }
  return widest;
}

void InspectorForm::layOut() {
  const int label = labelWidth();
  const int whole = width() - 2 * formSide;
  const bool isStacked = label > whole * widestLabel;
  const auto put = [&](QWidget* widget, const QRect& area) {
    widget->setGeometry(QStyle::visualRect(layoutDirection(), {0, 0, width(), 0}, area));
  };
  int y = 0;
  for (const Row& row : rows_) {
    if (!row.isVisible) continue;
    if (y > 0) y += formRowGap;
    const bool isBeside = row.label != nullptr && !isStacked;
    int start = isBeside ? label + tokens::space8 : 0;
    if (isBeside && row.field->sizePolicy().horizontalPolicy() == QSizePolicy::Minimum) {
      const int own = row.label->sizeHint().width() + tokens::space8;
      start = std::clamp(whole - row.field->sizeHint().width(), own, start);
    }
    if (row.label != nullptr && isStacked) {
      const int height = row.label->sizeHint().height();
      put(row.label, {formSide, y, whole, height});
      y += height + tokens::space4;
    }
    const int room = whole - start + 2 * row.outset;
    const int height = heightAt(*row.field, room);
    const int line = std::max(height, isBeside ? row.label->sizeHint().height() : 0);
    if (isBeside) put(row.label, {formSide, y, label, line});
    put(row.field, {formSide + start - row.outset, y + (line - height) / 2, room, height});
    y += line;
  }
  if (y != minimumHeight() || y != maximumHeight()) setFixedHeight(y);
}

void InspectorForm::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  layOut();
}

bool InspectorForm::event(QEvent* event) {
  const bool done = QWidget::event(event);
  switch (event->type()) {
    case QEvent::LayoutRequest:
    case QEvent::LayoutDirectionChange:
    case QEvent::ApplicationFontChange: layOut(); break;
    default: break;
  }
  return done;
}

}  // namespace vantorel
