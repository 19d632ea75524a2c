#include "ui/kit/accessible_role.hpp"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAccessibleWidget>
#include <QComboBox>
#include <QVariant>
#include <QWidget>

#include "ui/kit/accessible_item.hpp"

namespace vantorel {
namespace {

constexpr const char* roleProperty = "vantorelAccessibleRole";
constexpr const char* currentProperty = "vantorelAccessibleCurrent";
constexpr const char* expandedProperty = "vantorelAccessibleExpanded";

/// A button keeps its press and what it says of itself, whatever else it is.
class WidgetWithRole : public QAccessibleWidget {
 public:
  using QAccessibleWidget::QAccessibleWidget;

  [[nodiscard]] QAccessible::State state() const override {
    QAccessible::State state = QAccessibleWidget::state();
    // Whoever hands the focus on has none.
    if (widget()->focusProxy() != nullptr) state.focused = false;
    if (const QVariant current = widget()->property(currentProperty); current.isValid()) {
      state.focusable = true;
      state.focused = current.toBool();
    }
    if (const QVariant expanded = widget()->property(expandedProperty); expanded.isValid()) {
      state.expandable = true;
      state.expanded = expanded.toBool();
      state.collapsed = !state.expanded;
    }
    const QAbstractButton* const button = this->button();
    if (button == nullptr || !button->isCheckable()) return state;
    if (role() == QAccessible::ListItem) {
      state.selectable = true;
      state.selected = button->isChecked();
    } else {
      state.checkable = true;
      state.checked = button->isChecked();
    }
    return state;
  }
  [[nodiscard]] QStringList actionNames() const override {
    QStringList names = QAccessibleWidget::actionNames();
    const bool isPressed = button() != nullptr && role() != QAccessible::StaticText;
    if (isPressed) names.prepend(pressAction());
    return names;
  }
  void doAction(const QString& name) override {
    if (name == pressAction() && button() != nullptr && button()->isEnabled()) {
      button()->click();
    } else {
      QAccessibleWidget::doAction(name);
    }
  }

 private:
  [[nodiscard]] QAbstractButton* button() const { return qobject_cast<QAbstractButton*>(widget()); }
};

/// The toolkit names a choice by its value.
class NamedChoice : public QAccessibleWidget {
 public:
  explicit NamedChoice(QComboBox* box) : QAccessibleWidget(box, QAccessible::ComboBox) {}

  [[nodiscard]] int childCount() const override { return 1; }
  [[nodiscard]] QAccessibleInterface* child(int index) const override {
    return index == 0 ? QAccessible::queryAccessibleInterface(box().view()) : nullptr;
  }
  [[nodiscard]] int indexOfChild(const QAccessibleInterface* child) const override {
    return child != nullptr && child->object() == box().view() ? 0 : -1;
  }
  [[nodiscard]] QString text(QAccessible::Text what) const override {
    return what == QAccessible::Value ? box().currentText() : QAccessibleWidget::text(what);
  }
  [[nodiscard]] QAccessible::State state() const override {
    QAccessible::State state = QAccessibleWidget::state();
    state.hasPopup = true;
    state.expandable = true;
    state.expanded = box().view()->isVisible();
    state.collapsed = !state.expanded;
    return state;
  }
  [[nodiscard]] QStringList actionNames() const override {
    return {showMenuAction(), pressAction()};
  }
  void doAction(const QString& name) override {
    if (name != showMenuAction() && name != pressAction()) return;
    if (box().view()->isVisible()) {
      box().hidePopup();
    } else {
      box().showPopup();
    }
  }

 private:
  [[nodiscard]] QComboBox& box() const { return *static_cast<QComboBox*>(widget()); }
};

QAccessibleInterface* makeWithRole(const QString&, QObject* object) {
  auto* const widget = qobject_cast<QWidget*>(object);
  if (widget == nullptr) return nullptr;
  const QVariant property = widget->property(roleProperty);
  if (!property.isValid()) return nullptr;
  const auto role = static_cast<QAccessible::Role>(property.toInt());
  auto* const box = qobject_cast<QComboBox*>(widget);
  if (box != nullptr && role == QAccessible::ComboBox) return new NamedChoice(box);
  return new WidgetWithRole(widget, role);
}

}  // namespace

void setAccessibleRole(QWidget& widget, QAccessible::Role role) {
  widget.setProperty(roleProperty, static_cast<int>(role));
  installAccessibleFactory("vantorelAccessibleRoles", makeWithRole);
}

void setAccessibleCurrent(QWidget& widget, bool isCurrent) {
  widget.setProperty(currentProperty, isCurrent);
  if (!isCurrent) return;
  QAccessibleEvent event(&widget, QAccessible::Focus);
  QAccessible::updateAccessibility(&event);
}

void setAccessibleExpanded(QWidget& widget, bool isExpanded) {
  const QVariant before = widget.property(expandedProperty);
  widget.setProperty(expandedProperty, isExpanded);
  if (!before.isValid() || before.toBool() == isExpanded) return;
  QAccessible::State changed;
  changed.expanded = true;
  changed.collapsed = true;
  QAccessibleStateChangeEvent event(&widget, changed);
  QAccessible::updateAccessibility(&event);
}

}  // namespace vantorel
