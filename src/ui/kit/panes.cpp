#include "ui/kit/panes.hpp"

#include <QAbstractButton>
#include <QApplication>
#include <QButtonGroup>
#include <QWidget>
#include <algorithm>
#include <cstddef>
#include <vector>

namespace vantorel {
namespace {

/// What the keyboard comes to first; of a choice, what is chosen. Null when nothing takes it.
QWidget* entranceOf(QWidget& pane) {
  if (pane.focusPolicy() != Qt::NoFocus) return &pane;
  for (QWidget* const inside : pane.findChildren<QWidget*>()) {
    if (!inside->isVisible() || !inside->isEnabled()) continue;
    if ((inside->focusPolicy() & Qt::TabFocus) == 0) continue;
    const auto* const button = qobject_cast<QAbstractButton*>(inside);
    QButtonGroup* const group = button != nullptr ? button->group() : nullptr;
    const bool isChoice = group != nullptr && group->exclusive();
    return isChoice && group->checkedButton() != nullptr ? group->checkedButton() : inside;
  }
  return nullptr;
}

}  // namespace

void focusNextPane(std::initializer_list<QWidget*> list, const QWidget* usual, bool isBack) {
  const std::vector<QWidget*> panes(list);
  const QWidget* const focus = QApplication::focusWidget();
  const auto holds = [&](const QWidget* pane) {
    return focus != nullptr ? pane == focus || pane->isAncestorOf(focus) : pane == usual;
  };
  auto now = std::ranges::find_if(panes, holds);
  if (now == panes.end()) now = std::ranges::find(panes, usual);
  auto at = static_cast<std::size_t>(now - panes.begin()) % panes.size();
  for (std::size_t tries = 0; tries < panes.size(); ++tries) {
    at = (at + (isBack ? panes.size() - 1 : 1)) % panes.size();
    if (!panes[at]->isVisible()) continue;
    if (QWidget* const entrance = entranceOf(*panes[at])) {
      // The toolkit shows the focus that Tab has brought, or a shortcut.
      return entrance->setFocus(Qt::ShortcutFocusReason);
    }
  }
}

}  // namespace vantorel
