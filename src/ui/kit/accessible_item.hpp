#pragma once

#include <QAccessible>
#include <map>

namespace vantorel {

/// A part of a widget that paints its parts itself, as screen readers see it. Lives on the main
/// thread, and no longer than the interface of the whole.
class AccessibleItem : public QAccessibleInterface {
 public:
  explicit AccessibleItem(QAccessibleInterface& whole) : whole_(whole) {}

  [[nodiscard]] QObject* object() const override { return nullptr; }
  [[nodiscard]] QWindow* window() const override { return whole_.window(); }
  [[nodiscard]] QAccessibleInterface* parent() const override { return &whole_; }
  [[nodiscard]] QAccessibleInterface* child(int) const override { return nullptr; }
  [[nodiscard]] QAccessibleInterface* childAt(int, int) const override { return nullptr; }
  [[nodiscard]] int childCount() const override { return 0; }
  [[nodiscard]] int indexOfChild(const QAccessibleInterface*) const override { return -1; }
  void setText(QAccessible::Text, const QString&) override {}

 private:
  QAccessibleInterface& whole_;
};

/// One that can be pressed, and nothing else.
class PressableItem : public AccessibleItem, public QAccessibleActionInterface {
 public:
  using AccessibleItem::AccessibleItem;

  void* interface_cast(QAccessible::InterfaceType type) override {
    return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this)
                                                : nullptr;
  }
  [[nodiscard]] QStringList actionNames() const override { return {pressAction()}; }
  void doAction(const QString& name) override {
    if (isValid() && name == pressAction()) press();
  }
  [[nodiscard]] QStringList keyBindingsForAction(const QString&) const override { return {}; }

 protected:
  virtual void press() = 0;
};

/// The parts of a widget, each made once; the toolkit's registry has them.
template <class Key>
class AccessibleItems {
 public:
  AccessibleItems() = default;
  ~AccessibleItems() {
    for (const auto& [key, id] : ids_) QAccessible::deleteAccessibleInterface(id);
  }
  AccessibleItems(const AccessibleItems&) = delete;
  AccessibleItems& operator=(const AccessibleItems&) = delete;

  template <class Make>
  [[nodiscard]] QAccessibleInterface* of(const Key& key, const Make& make) {
    if (const auto found = ids_.find(key); found != ids_.end()) {
      return QAccessible::accessibleInterface(found->second);
    }
    QAccessibleInterface* const item = make();
    ids_.emplace(key, QAccessible::registerAccessibleInterface(item));
    return item;
  }

 private:
  std::map<Key, QAccessible::Id> ids_;
};

/// Has the toolkit ask `factory`; once is enough for each `mark`.
void installAccessibleFactory(const char* mark, QAccessible::InterfaceFactory factory);

}  // namespace vantorel
