#include "ui/annotate/tool_rail.hpp"

#include <QButtonGroup>
#include <QPainter>
#include <QStyle>
#include <QToolButton>

#include "editor/tool_spec.hpp"
#include "ui/kit/accessible_role.hpp"
#include "ui/kit/icons.hpp"
#include "ui/kit/palette_roles.hpp"
#include "ui/kit/tokens.hpp"

namespace vantorel {
namespace {

constexpr int railWidth = tokens::space48;
constexpr int doubleWidth = 84;
constexpr int pitch = tokens::tool + 2;
constexpr int tightPitch = tokens::tool;
constexpr int separatorRoom = 12;
constexpr int railMargin = tokens::space8;

IconName iconOfTool(Tool tool) {
  switch (tool) {
    case Tool::select: return IconName::select;
    case Tool::crop: return IconName::crop;
    case Tool::pen: return IconName::pen;
    case Tool::highlighter: return IconName::highlighter;
    case Tool::arrow: return IconName::arrow;
    case Tool::rect: return IconName::rect;
    case Tool::ellipse: return IconName::ellipse;
    case Tool::polygon: return IconName::polygon;
    case Tool::text: return IconName::text;
    case Tool::redact: return IconName::redact;
    case Tool::highlightArea: return IconName::highlightArea;
    case Tool::counter: return IconName::counter;
    case Tool::emoji: return IconName::emoji;
    case Tool::measure: return IconName::measure;
    case Tool::eyedropper: return IconName::eyedropper;
    case Tool::selectText: return IconName::selectText;
  }
  return IconName::select;
}

/// After these a group ends: what there is, strokes and forms, covers, stamps, readers.
bool endsGroup(Tool tool) {
  return tool == Tool::crop || tool == Tool::text || tool == Tool::highlightArea ||
         tool == Tool::measure;
}

constexpr int groupEnds = 4;

}  // namespace

ToolRail::ToolRail(QWidget* parent) : QWidget(parent), group_(new QButtonGroup(this)) {
  setAccessibleRole(*this, QAccessible::ToolBar);
  setAccessibleName(QStringLiteral("Tools"));
  setObjectName(QStringLiteral("tools"));
  for (const ToolSpec& spec : toolSpecs()) {
    auto* const button = new QToolButton(this);
    const QString label =
        QString::fromUtf8(spec.label.data(), static_cast<qsizetype>(spec.label.size()));
    const QString key =
        QString::fromUtf8(spec.key.data(), static_cast<qsizetype>(spec.key.size())).toUpper();
    setAccessibleRole(*button, QAccessible::RadioButton);
    button->setAutoRaise(true);
    button->setCheckable(true);
    button->setIcon(icon(iconOfTool(spec.tool)));
    button->setIconSize(QSize(barIconSize, barIconSize));
    button->setAccessibleName(label);
    button->setToolTip(label + " (" + key + ")");
    // A click leaves the keyboard with the canvas.
    button->setFocusPolicy(Qt::TabFocus);
    group_->addButton(button, static_cast<int>(spec.tool));
    buttons_.push_back(button);
  }
  connect(group_, &QButtonGroup::idClicked, this, [this](int tool) {
    if (onPicked) onPicked(static_cast<Tool>(tool));
  });
  arrange();
}

void ToolRail::show(Tool tool) { buttonOf(tool)->setChecked(true); }

QToolButton* ToolRail::buttonOf(Tool tool) const {
  return qobject_cast<QToolButton*>(group_->button(static_cast<int>(tool)));
}

/// One column stands in a window 720 px high.
ToolRail::Layout ToolRail::layoutFor(int height) {
  const int tools = static_cast<int>(toolSpecs().size());
  const auto needed = [&](int step, int separator) {
    return tools * step + groupEnds * separator + 2 * railMargin;
  };
  if (height >= needed(pitch, separatorRoom)) return Layout::roomy;
  return height >= needed(tightPitch, separatorRoom - 1) ? Layout::tight : Layout::twoColumns;
}

int ToolRail::widthFor(int height) {
  return layoutFor(height) == Layout::twoColumns ? doubleWidth : railWidth;
}

void ToolRail::setRoom(int height) {
  const Layout layout = layoutFor(height);
  if (layout_ == layout) return;
  layout_ = layout;
  arrange();
  updateGeometry();
}

QSize ToolRail::sizeHint() const {
  return {layout_ == Layout::twoColumns ? doubleWidth : railWidth, 0};
}

void ToolRail::arrange() {
  separators_.clear();
  const bool isDouble = layout_ == Layout::twoColumns;
  const int step = layout_ == Layout::tight ? tightPitch : pitch;
  const int separator = layout_ == Layout::tight ? separatorRoom - 1 : separatorRoom;
  int top = railMargin;
  int column = 0;
  for (QToolButton* const button : buttons_) {
    const Tool tool = static_cast<Tool>(group_->id(button));
    const int left = (isDouble ? 5 : 6) + column * (tokens::tool + 2);
    button->setGeometry(QStyle::visualRect(layoutDirection(), rect(),
                                           QRect(left, top, tokens::tool, tokens::tool)));
    if (isDouble) {
      column = 1 - column;
      if (column == 0) top += step;
      continue;
    }
    top += step;
    if (!endsGroup(tool)) continue;
    separators_.push_back(top + (separator - 2) / 2);
    top += separator;
  }
  update();
}

void ToolRail::resizeEvent(QResizeEvent*) { arrange(); }

void ToolRail::paintEvent(QPaintEvent*) {
  const PaletteRoles roles = rolesOf(palette());
  QPainter painter(this);
  painter.fillRect(rect(), roles.window);
  const bool isMirrored = layoutDirection() == Qt::RightToLeft;
  painter.fillRect(isMirrored ? 0 : width() - 1, 0, 1, height(), roles.line);
  for (const int top : separators_) {
    painter.fillRect(tokens::space12, top, width() - 2 * tokens::space12, 1, roles.line);
  }
}

}  // namespace vantorel
